// SPDX-License-Identifier: Apache-2.0
//
// The texts of the refusals are interface: each text in the sources is either provoked by a named
// test (tests/documents/provoked_texts.txt: text TAB source of the test or of its table) or listed with
// the reason why no call can bring it about (tests/documents/unreachable_texts.txt: text TAB reason).
// A new text without a test fails here, and so does a listed one that the sources no longer have.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/sources.h"

namespace {

namespace fs = std::filesystem;

using support::contents;
using support::kRoot;

// ---- string literals of a C++ source

struct Literal {
  std::string text;     // adjacent literals joined, escapes of quotes and backslashes undone
  bool thrown = false;  // the argument of an AMFException
};

class LiteralScanner {
 public:
  explicit LiteralScanner(const std::string& source) : code(source) {}

  std::vector<Literal> all() {
    while (at < code.size()) step();
    return found;
  }

 private:
  void step() {
    if (code.compare(at, 2, "//") == 0) {
      skipPast("\n", at);
    } else if (code.compare(at, 2, "/*") == 0) {
      skipPast("*/", at + 2);
    } else if (code.compare(at, 8, "#include") == 0) {
      skipPast("\n", at);
    } else if (code.compare(at, 3, "R\"(") == 0) {
      const std::size_t end = code.find(")\"", at + 3);
      add(code.substr(at + 3, end - at - 3));
      at = end + 2;
    } else if (code[at] == '"') {
      add(quoted('"'));
    } else if (code[at] == '\'' && !insideNumber()) {
      quoted('\'');
      before += '\'';
    } else {
      if (!isBlank(code[at])) before += code[at];
      ++at;
    }
  }

  static bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\t'; }
  bool insideNumber() const { return at > 0 && code[at - 1] >= '0' && code[at - 1] <= '9'; }

  void skipPast(const char* mark, std::size_t from) {
    const std::size_t end = code.find(mark, from);
    at = end == std::string::npos ? code.size() : end + std::string(mark).size();
  }

  std::string quoted(char quote) {
    std::string text;
    for (++at; at < code.size() && code[at] != quote; ++at) {
      if (code[at] == '\\') ++at;
      text += code[at];
    }
    ++at;
    return text;
  }

  // `before` is the code without blanks since the last literal: empty means an adjacent literal.
  void add(const std::string& text) {
    if (before.empty() && !found.empty()) {
      found.back().text += text;
      return;
    }
    const std::string call = "AMFException(";
    const bool thrown = before.size() >= call.size() &&
                        before.compare(before.size() - call.size(), call.size(), call) == 0;
    found.push_back({text, thrown});
    before.clear();
  }

  const std::string code;
  std::size_t at = 0;
  std::string before = " ";
  std::vector<Literal> found;
};

TEST(LiteralScanner, JoinsAdjacentLiteralsAndSkipsComments) {
  const auto literals =
      LiteralScanner(
          "// \"no\"\n#include \"no.h\"\nf(\"one\" /* \"no\" */ \" two\", '\"', \"a\\\"b\");\n"
          "throw AMFException(\n    \"x(): \"\n    \"y\"); g(R\"(raw \"text\")\"); 1'000; \"z\";")
          .all();
  std::vector<std::string> texts;
  for (const Literal& literal : literals) texts.push_back(literal.text);
  EXPECT_EQ(texts, (std::vector<std::string>{"one two", "a\"b", "x(): y", "raw \"text\"", "z"}));
  EXPECT_TRUE(literals[2].thrown);
  EXPECT_FALSE(literals[0].thrown);
}

// ---- the texts in the sources

// "name(): what", "name: what", "name : what", "Class::name(): what".
bool looksLikeARefusal(const std::string& text) {
  static const std::regex form("(AMF\\w+::)?[A-Za-z]\\w*(\\(\\))? ?: .+");
  return std::regex_match(text, form);
}

void addTexts(const fs::path& file, std::map<std::string, std::string>& texts) {
  const bool onlyTexts = file.filename() == "reader_texts.h";
  for (const Literal& literal : LiteralScanner(contents(file)).all())
    if (onlyTexts || literal.thrown || looksLikeARefusal(literal.text))
      texts[literal.text] = file.filename().string();
}

// Text -> the file that has it.
std::map<std::string, std::string> sourceTexts() {
  std::map<std::string, std::string> texts;
  for (const char* directory : {"model", "codec", "render"})
    for (const auto& entry : fs::directory_iterator(kRoot / directory)) {
      const fs::path extension = entry.path().extension();
      if (extension == ".cpp" || extension == ".h") addTexts(entry.path(), texts);
    }
  return texts;
}

struct Listed {
  std::string text;
  std::string note;
};

// Lines "text TAB note"; empty lines and lines that begin with # are skipped.
std::vector<Listed> list(const char* name) {
  std::vector<Listed> lines;
  std::istringstream in(contents(kRoot / "tests/documents" / name));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    const std::size_t tab = line.find('\t');
    EXPECT_NE(tab, std::string::npos) << name << ": no tab in: " << line;
    if (tab != std::string::npos) lines.push_back({line.substr(0, tab), line.substr(tab + 1)});
  }
  EXPECT_FALSE(lines.empty()) << name;
  return lines;
}

std::set<std::string> textsOf(const std::vector<Listed>& lines) {
  std::set<std::string> texts;
  for (const Listed& line : lines) texts.insert(line.text);
  return texts;
}

const char kProvoked[] = "provoked_texts.txt";
const char kUnreachable[] = "unreachable_texts.txt";

TEST(Texts, EverySourceTextIsProvokedOrUnreachable) {
  const auto provoked = textsOf(list(kProvoked));
  const auto unreachable = textsOf(list(kUnreachable));
  const auto texts = sourceTexts();
  EXPECT_GT(texts.size(), 60u) << "the scanner sees too little";
  for (const auto& [text, file] : texts)
    EXPECT_TRUE(provoked.count(text) + unreachable.count(text) == 1)
        << file << ": in " << (provoked.count(text) == 0 ? "neither list: " : "both lists: ")
        << text;
}

TEST(Texts, EveryListedTextIsInTheSources) {
  const auto texts = sourceTexts();
  for (const char* name : {kProvoked, kUnreachable})
    for (const Listed& line : list(name))
      EXPECT_EQ(texts.count(line.text), 1u) << name << ": no such text: " << line.text;
}

TEST(Texts, TheNamedTestsHoldTheirTexts) {
  std::map<std::string, std::string> literalsOfFile;
  for (const Listed& line : list(kProvoked)) {
    std::string& all = literalsOfFile[line.note];
    if (all.empty())
      for (const Literal& literal : LiteralScanner(contents(kRoot / "tests" / line.note)).all())
        all += literal.text + "\n";
    EXPECT_NE(all.find(line.text + "\n"), std::string::npos)
        << line.note << " does not hold: " << line.text;
  }
}

TEST(Texts, UnreachableTextsHaveAReason) {
  for (const Listed& line : list(kUnreachable)) EXPECT_GT(line.note.size(), 20u) << line.text;
}

}  // namespace
