// SPDX-License-Identifier: Apache-2.0
//
// docs/program.md and docs/json.md are correct: their commands are run, their tables compared.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/page.h"
#include "support/program.h"

namespace {

using namespace support;

using Docs = ProgramTest;

// Escape bytes as the page spells them.
std::string spelledOut(const std::string& line) {
  std::string text;
  for (const char c : line) text += c == '\033' ? "\\x1B" : std::string(1, c);
  return text;
}

TEST_F(Docs, EveryConventionIsShownByItsCommand) {
  const auto rows = rowsOf(readFile(AMF2JSON_SOURCES "/docs/program.md"), 4);
  EXPECT_GE(rows.size(), 28u);
  const bool hasExport = run({"export", "-h"}).status == 0;
  for (const std::vector<std::string>& row : rows) {
    const std::string words = row[1] + row[3];
    const bool isExport =
        words.find(" export ") != std::string::npos || words.find(" import ") != std::string::npos;
    if (isExport && !hasExport) continue;
    const Outcome outcome = runShell(
        "export LC_ALL=C PATH=$(dirname \"$amf2json\"):$PATH; exec 2>&1; " + withoutTicks(row[1]));
    EXPECT_EQ(std::to_string(outcome.status), row[2]) << row[1] << "\n" << outcome.out;
    const std::string first = outcome.out.substr(0, outcome.out.find('\n'));
    EXPECT_EQ(spelledOut(first.substr(std::min(first.find_first_not_of(' '), first.size()))),
              withoutTicks(row[3]))
        << row[1];
    runShell("rm -rf new kept texts code");
  }
}

TEST_F(Docs, ExitCodesAreThoseOfTheProgram) {
  std::string table;
  for (const std::vector<std::string>& row :
       rowsOf(readFile(AMF2JSON_SOURCES "/docs/program.md"), 2)) {
    table += std::string(4 - row[0].size(), ' ') + row[0] + "  " + row[1] + "\n";
  }
  const std::string help = run({"--help"}).out;
  const std::size_t begin = help.find("   0  ");
  EXPECT_EQ(help.substr(begin, help.find("\n\n", begin) + 1 - begin), table);
}

// ---- docs/json.md

constexpr const char* kJSONPage = AMF2JSON_SOURCES "/docs/json.md";

// The bytes of a tree depend on the machine and the build.
std::string withoutTreeBytes(std::string text) {
  const std::string name = "\"tree_bytes\":";
  for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
    at += name.size();
    text.erase(at, text.find_first_not_of("0123456789", at) - at);
  }
  return text;
}

class JSONPage : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_EQ(runShell("cp " AMF2JSON_SAMPLES "/*.amf .").status, 0);
    page = readFile(kJSONPage);
  }

  // How many were run.
  std::size_t compareCommands(bool withJq) {
    std::size_t ran = 0;
    for (const Shown& shown : commandsOf(page)) {
      if ((shown.command.find("jq") != std::string::npos) != withJq) continue;
      const Outcome outcome =
          runShell("export LC_ALL=C PATH=$(dirname \"$amf2json\"):$PATH; " + shown.command);
      EXPECT_EQ(withoutTreeBytes(outcome.out), withoutTreeBytes(shown.output)) << shown.command;
      EXPECT_EQ(outcome.err, "") << shown.command;
      ++ran;
    }
    return ran;
  }

  std::string page;
};

TEST_F(JSONPage, CommandsPrintWhatItShows) {
  EXPECT_GE(compareCommands(false), 6u);
}

TEST_F(JSONPage, FiltersOfJqPrintWhatItShows) {
  if (runShell("command -v jq").status != 0) GTEST_SKIP() << "needs jq, which was not found";
  const std::vector<std::string> modules = blocksOf(page, "jq");
  ASSERT_EQ(modules.size(), 1u);
  writeFile("plain.jq", modules[0]);
  EXPECT_GE(compareCommands(true), 4u);
}

// Names of all members, however deep.
void collectKeys(const rapidjson::Value& value, std::set<std::string>& keys) {
  if (value.IsObject()) {
    for (const auto& member : value.GetObject()) {
      keys.insert(member.name.GetString());
      collectKeys(member.value, keys);
    }
  } else if (value.IsArray()) {
    for (const auto& inner : value.GetArray()) collectKeys(inner, keys);
  }
}

TEST_F(JSONPage, EveryKeyHasARowAndAnExample) {
  std::set<std::string> documented;
  for (const std::vector<std::string>& row : rowsOf(page, 5)) {
    documented.insert(withoutTicks(row[0]));
    const Outcome shown = run({"decode", "--compact", withoutTicks(row[4]) + ".amf"});
    EXPECT_NE(shown.out.find(withoutTicks(row[3])), std::string::npos) << row[0] << " " << row[3];
  }
  std::set<std::string> present;
  const Outcome all =
      runShell("for f in *.amf; do $amf2json decode --compact $f 2>/dev/null; done");
  std::istringstream lines(all.out);
  for (std::string line; std::getline(lines, line);) {
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(line.c_str()).HasParseError()) << line;
    collectKeys(document, present);
  }
  EXPECT_EQ(documented, present);
}

// The fields of the lines of check and identify, in the order of their tables.
TEST_F(JSONPage, EveryFieldHasARow) {
  for (const char* const command : {"check", "identify"}) {
    const std::size_t begin = page.find("\n## " + std::string(command) + "\n") + 1;
    const std::string section = page.substr(begin, page.find("\n## ", begin) - begin);
    std::string documented;
    for (const std::vector<std::string>& row : rowsOf(section, 2)) {
      if (row[0] == "`packet`") break;  // the table of kinds follows
      documented += row[0] + ", ";
    }
    std::string present;
    const Outcome shown = run({command, "--format", "json", "echo.amf"});
    rapidjson::Document line;
    ASSERT_FALSE(line.Parse(shown.out.c_str()).HasParseError()) << shown.out;
    for (const auto& field : line.GetObject()) {
      present += std::string("`") + field.name.GetString() + "`, ";
    }
    EXPECT_EQ(documented, present);
  }
}

}  // namespace
