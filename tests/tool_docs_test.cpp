// SPDX-License-Identifier: Apache-2.0
//
// docs/program.md keeps its word: its tables are run and compared.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

using Docs = ProgramTest;

// The cells of each row of a Markdown table with so many columns; neither titles nor rules.
std::vector<std::vector<std::string>> rowsOf(const std::string& page, std::size_t columns) {
  std::istringstream in(page);
  std::vector<std::vector<std::string>> rows;
  bool isBelowRule = false;
  for (std::string line; std::getline(in, line);) {
    const bool isRule = line.find("| ---") == 0;
    if (isBelowRule && line.find("| ") == 0) {
      std::vector<std::string> cells;
      std::istringstream row(line.substr(2));
      for (std::string cell; std::getline(row, cell, '|');) {
        const std::size_t begin = cell.find_first_not_of(' ');
        const std::size_t end = cell.find_last_not_of(' ');
        if (begin != std::string::npos) cells.push_back(cell.substr(begin, end - begin + 1));
      }
      if (cells.size() == columns) rows.push_back(cells);
    }
    isBelowRule = isRule || (isBelowRule && line.find("| ") == 0);
  }
  return rows;
}

std::string withoutTicks(const std::string& cell) {
  return cell.size() > 1 && cell.front() == '`' ? cell.substr(1, cell.size() - 2) : cell;
}

// Escape bytes as the page spells them.
std::string spelledOut(const std::string& line) {
  std::string text;
  for (const char c : line) text += c == '\033' ? "\\x1B" : std::string(1, c);
  return text;
}

TEST_F(Docs, EveryConventionIsShownByItsCommand) {
  const auto rows = rowsOf(readFile(AMF2JSON_DOCS "/program.md"), 4);
  EXPECT_GE(rows.size(), 28u);
  for (const std::vector<std::string>& row : rows) {
    const Outcome outcome = runShell(
        "export LC_ALL=C PATH=$(dirname \"$amf2json\"):$PATH; exec 2>&1; " + withoutTicks(row[1]));
    EXPECT_EQ(std::to_string(outcome.status), row[2]) << row[1] << "\n" << outcome.out;
    EXPECT_EQ(spelledOut(outcome.out.substr(0, outcome.out.find('\n'))), withoutTicks(row[3]))
        << row[1];
    runShell("rm -rf new kept texts code");
  }
}

TEST_F(Docs, ExitCodesAreThoseOfTheProgram) {
  std::string table;
  for (const std::vector<std::string>& row : rowsOf(readFile(AMF2JSON_DOCS "/program.md"), 2)) {
    table += std::string(4 - row[0].size(), ' ') + row[0] + "  " + row[1] + "\n";
  }
  const std::string help = run({"--help"}).out;
  const std::size_t begin = help.find("   0  ");
  EXPECT_EQ(help.substr(begin, help.find("\n\n", begin) + 1 - begin), table);
}

}  // namespace
