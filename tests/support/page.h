// SPDX-License-Identifier: Apache-2.0
//
// Pages of the manual: their blocks of code, the commands in them with what they print, and the
// rows of their tables. Used by tool/docs_test.cpp and tool/cookbook_test.cpp.
#ifndef TESTS_SUPPORT_PAGE_H
#define TESTS_SUPPORT_PAGE_H

#include <sstream>
#include <string>
#include <vector>

namespace support {

// The cells of each row of a Markdown table with so many columns; neither titles nor rules.
inline std::vector<std::vector<std::string>> rowsOf(const std::string& page, std::size_t columns) {
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

inline std::string withoutTicks(const std::string& cell) {
  return cell.size() > 1 && cell.front() == '`' ? cell.substr(1, cell.size() - 2) : cell;
}

// The blocks of a page that begin with ``` and this word.
inline std::vector<std::string> blocksOf(const std::string& page, const std::string& word) {
  std::vector<std::string> blocks;
  std::istringstream in(page);
  bool isInside = false, isWanted = false;
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, 3, "```") == 0) {
      isInside = !isInside;
      isWanted = isInside && line == "```" + word;
      if (isWanted) blocks.emplace_back();
    } else if (isWanted) {
      blocks.back() += line + '\n';
    }
  }
  return blocks;
}

struct Shown {
  std::string command;
  std::string output;
};

// "$ COMMAND", and the lines that it prints.
inline std::vector<Shown> commandsOf(const std::string& page) {
  std::vector<Shown> commands;
  for (const std::string& block : blocksOf(page, "")) {
    std::istringstream in(block);
    for (std::string line; std::getline(in, line);) {
      if (line.compare(0, 2, "$ ") == 0) {
        commands.push_back({line.substr(2), ""});
      } else if (!commands.empty()) {
        commands.back().output += line + '\n';
      }
    }
  }
  return commands;
}

// From "## TITLE" to the next title of that rank.
inline std::string sectionOf(const std::string& page, const std::string& title) {
  const std::size_t begin = page.find("\n## " + title + "\n");
  if (begin == std::string::npos) return "";
  return page.substr(begin + 1, page.find("\n## ", begin + 1) - begin);
}

}  // namespace support

#endif  // TESTS_SUPPORT_PAGE_H
