// SPDX-License-Identifier: Apache-2.0
//
// The documents are correct: links and named files exist, named tests exist, C++ in them compiles or
// is part of an example, every script has its row, and every error text is documented.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/sources.h"

namespace {

namespace fs = std::filesystem;
using Strings = std::set<std::string>;

using support::contents;
using support::kRoot;

std::vector<fs::path> documents() {
  std::vector<fs::path> found;
  for (const char* const folder : {".", "docs", "samples"}) {
    for (const auto& entry : fs::directory_iterator(kRoot / folder)) {
      if (entry.path().extension() == ".md") found.push_back(entry.path());
    }
  }
  return found;
}

// A document's text without its blocks of code, and those blocks.
struct Document {
  std::string prose;
  std::vector<std::string> cpp;  // the blocks between ```cpp and ```
};

Document read(const fs::path& file) {
  Document document;
  std::istringstream lines(contents(file));
  bool inside = false;
  bool isCpp = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 3, "```") == 0) {
      inside = !inside;
      isCpp = inside && line == "```cpp";
      if (isCpp) document.cpp.emplace_back();
    } else if (isCpp) {
      document.cpp.back() += line + '\n';
    } else if (!inside && line.compare(0, 4, "    ") != 0) {
      document.prose += line + '\n';
    }
  }
  return document;
}

Strings matches(const std::string& text, const char* expression, std::size_t group = 1) {
  const std::regex pattern(expression);
  Strings found;
  for (std::sregex_iterator i(text.begin(), text.end(), pattern), end; i != end; ++i) {
    found.insert((*i)[group].str());
  }
  return found;
}

// "## What is promised?" is reached as #what-is-promised.
std::string anchorOf(const std::string& heading) {
  std::string anchor;
  for (const char c : heading) {
    if (c == ' ') anchor += '-';
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_') {
      anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return anchor;
}

bool hasHeading(const fs::path& file, const std::string& anchor) {
  std::istringstream lines(contents(file));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t text = line.find_first_not_of('#');
    if (text != 0 && text != std::string::npos && line[text] == ' ' &&
        anchorOf(line.substr(text + 1)) == anchor) {
      return true;
    }
  }
  return false;
}

// Blanks and line ends make no difference.
std::string squeezed(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ' && c != '\n') out += c;
  }
  return out;
}

}  // namespace

TEST(Documents, LinksLeadSomewhere) {
  std::size_t links = 0;
  for (const fs::path& file : documents()) {
    for (const std::string& link : matches(read(file).prose, "\\]\\(([^)\\s]+)\\)")) {
      ++links;
      if (link.find("://") != std::string::npos) continue;
      const std::size_t hash = link.find('#');
      const fs::path target = hash == 0 ? file : file.parent_path() / link.substr(0, hash);
      EXPECT_TRUE(fs::exists(target)) << file << ": " << link;
      if (hash != std::string::npos && fs::exists(target)) {
        EXPECT_TRUE(hasHeading(target, link.substr(hash + 1))) << file << ": " << link;
      }
    }
  }
  EXPECT_GT(links, 30u);
}

TEST(Documents, TheFrontPageLeadsToEveryPage) {
  const Strings links = matches(read(kRoot / "docs/README.md").prose, "\\]\\(([^)#\\s]+)");
  for (const auto& entry : fs::directory_iterator(kRoot / "docs")) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".md" || name == "README.md") continue;
    EXPECT_EQ(1u, links.count(name)) << name;
  }
}

// The table of README.md: its bytes are those of the sample, and its JSON is the one that the
// page shows for `amf2json export`, which tests/tool/cookbook_test.cpp runs.
TEST(Documents, TheFrontPageShowsTheBytesOfASample) {
  const std::string page = contents(kRoot / "README.md");
  const std::regex row("\n\\| ((?:`[0-9A-F ]+`)) \\| [^|]* \\| `([^`]*)` \\|");
  std::string bytes;
  std::string json;
  for (std::sregex_iterator i(page.begin(), page.end(), row), end; i != end; ++i) {
    bytes += (*i)[1].str();
    json += (*i)[2].str();
  }
  bytes.erase(std::remove(bytes.begin(), bytes.end(), '`'), bytes.end());
  std::istringstream lines(contents(kRoot / "samples/object_members.hex"));
  std::string sample;
  for (std::string line; std::getline(lines, line);) sample += line.substr(0, line.find('#'));
  EXPECT_EQ(squeezed(sample), squeezed(bytes));
  EXPECT_NE(std::string::npos, page.find("\n" + json + "\n")) << json;
}

TEST(Documents, NamedFilesExist) {
  std::size_t named = 0;
  for (const fs::path& file : documents()) {
    const std::string prose = read(file).prose;
    for (const std::string& path :
         matches(prose,
                 "((?:bench|cmake|docs|edit|examples|fuzz|guard|include|model|packaging|"
                 "render|samples|script|tests|tool|codec)/[A-Za-z0-9_./-]*[A-Za-z0-9_/])")) {
      if (path.find("NAME") != std::string::npos) continue;  // stands for many
      ++named;
      const fs::path here = file.parent_path();
      EXPECT_TRUE(fs::exists(kRoot / path) || fs::exists(here / path)) << file << ": " << path;
    }
  }
  EXPECT_GT(named, 30u);
}

TEST(Documents, NamedTestsExist) {
  Strings defined;
  for (const auto& entry : fs::recursive_directory_iterator(kRoot / "tests")) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string source = contents(entry.path());
    const std::regex definition("TEST(?:_F|_P)?\\((\\w+),\\s*(\\w+)\\)");
    for (std::sregex_iterator i(source.begin(), source.end(), definition), end; i != end; ++i) {
      defined.insert((*i)[1].str() + "." + (*i)[2].str());
    }
  }
  std::size_t named = 0;
  for (const fs::path& file : documents()) {
    for (const std::string& name : matches(read(file).prose, "`([A-Z]\\w+\\.[A-Z]\\w+)`")) {
      if (name.find(".h") != std::string::npos) continue;
      ++named;
      EXPECT_EQ(1u, defined.count(name)) << file << ": " << name;
    }
  }
  EXPECT_GT(named, 50u);
}

TEST(Documents, CppWithIncludesCompiles) {
  std::size_t compiled = 0;
  const fs::path source = fs::temp_directory_path() / "amf2json_documents_test.cpp";
  for (const fs::path& file : documents()) {
    for (const std::string& block : read(file).cpp) {
      if (block.compare(0, 8, "#include") != 0) continue;
      ++compiled;
      std::ofstream(source) << block;
      const std::string command =
          AMF2JSON_COMPILER
          " -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only -I " +
          (kRoot / "include").string() + " " + source.string();
      EXPECT_EQ(0, std::system(command.c_str())) << file << ":\n" << block;
    }
  }
  fs::remove(source);
  EXPECT_GT(compiled, 0u);
}

TEST(Documents, OtherCppStandsInAnExample) {
  std::vector<std::string> examples;
  for (const auto& entry : fs::directory_iterator(kRoot / "examples")) {
    if (entry.path().extension() == ".cpp") examples.push_back(squeezed(contents(entry.path())));
  }
  ASSERT_EQ(8u, examples.size());
  std::vector<bool> shown(examples.size(), false);
  for (const fs::path& file : documents()) {
    for (const std::string& block : read(file).cpp) {
      if (block.compare(0, 8, "#include") == 0) continue;
      bool found = false;
      for (std::size_t i = 0; i < examples.size(); ++i) {
        if (examples[i].find(squeezed(block)) == std::string::npos) continue;
        found = shown[i] = true;
      }
      EXPECT_TRUE(found) << file << ":\n" << block;
    }
  }
  for (std::size_t i = 0; i < examples.size(); ++i) EXPECT_TRUE(shown[i]) << examples[i];
}

TEST(Documents, EveryScriptHasARowAmongTheScripts) {
  Strings present;
  for (const auto& entry : fs::directory_iterator(kRoot / "script")) {
    if (entry.path().extension() != ".sh") present.insert(entry.path().filename().string());
  }
  // Rows begin with | `script/NAME ARGUMENTS` |
  const Strings documented =
      matches(contents(kRoot / "CONTRIBUTING.md"), "\n\\| `script/([a-z0-9-]+)[^`|]*` \\|");
  EXPECT_EQ(present, documented);
}

TEST(Documents, EveryTextOfARefusalIsDocumented) {
  const std::string errors = contents(kRoot / "docs/errors.md");
  std::size_t texts = 0;
  for (const char* const list :
       {"tests/documents/provoked_texts.txt", "tests/documents/unreachable_texts.txt"}) {
    std::istringstream lines(contents(kRoot / list));
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line[0] == '#') continue;
      ++texts;
      const std::string text = line.substr(0, line.find('\t'));
      EXPECT_NE(std::string::npos, errors.find("`" + text + "`")) << text;
    }
  }
  EXPECT_GT(texts, 70u);
}

TEST(Documents, VersionsAgree) {
  const std::string version = AMF2JSON_VERSION;
  EXPECT_NE(std::string::npos, contents(kRoot / "CHANGELOG.md").find("\n## " + version + " "));
  EXPECT_EQ(0u, contents(kRoot / "packaging/debian/changelog").find("amf2json (" + version + ") "));
  EXPECT_EQ(Strings{version},
            matches(contents(kRoot / "docs/Doxyfile"), "\nPROJECT_NUMBER *= ([0-9.]+)"));
}
