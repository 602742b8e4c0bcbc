// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/option_table.h"

#include <optional>
#include <set>
#include <utility>

#include "tool/cli/command_page.h"
#include "tool/problem.h"
#include "tool/text/words.h"

namespace {

class Parser {
 public:
  Parser(const OptionTable& known, const std::vector<std::string>& given)
      : table(known), words(given) {}

  HelpWanted run();

 private:
  // An option as written in one word.
  struct Spelled {
    std::string name;
    std::optional<std::string> value;  // if it is in the same word
  };

  static Spelled spelledIn(const std::string& word);
  std::size_t indexOf(const std::string& name) const;
  void take(const Spelled& spelled);
  std::string valueOf(const Spelled& spelled, const OptionInfo& option);

  const OptionTable& table;
  const std::vector<std::string>& words;
  std::size_t next = 0;
  std::set<std::size_t> isGiven;
  std::vector<std::string> files;
};

HelpWanted Parser::run() {
  bool onlyFiles = false;
  while (next < words.size()) {
    const std::string& word = words[next++];
    if (onlyFiles || word.size() < 2 || word[0] != '-') {
      files.push_back(word);
    } else if (word == "--") {
      onlyFiles = true;
    } else if (word == "-h" || word == "--help") {
      return word == "-h" ? HelpWanted::brief : HelpWanted::full;
    } else {
      take(spelledIn(word));
    }
  }
  if (!files.empty()) table.storeFiles(std::move(files));
  return HelpWanted::none;
}

// "--name", "--name=VALUE", "-n", "-nVALUE".
Parser::Spelled Parser::spelledIn(const std::string& word) {
  const bool isLong = word[1] == '-';
  const std::size_t end = isLong ? word.find('=') : 2;
  if (end == std::string::npos || end == word.size()) return {word, std::nullopt};
  return {word.substr(0, end), word.substr(isLong ? end + 1 : end)};
}

std::size_t Parser::indexOf(const std::string& name) const {
  std::vector<std::string> known = {"--help"};
  for (std::size_t i = 0; i < table.all().size(); ++i) {
    const OptionNames names = namesOf(table.all()[i]);
    if (name == names.shortName || name == names.longName) return i;
    known.push_back(names.longName);
  }
  throw usageProblem("no option '" + name + "'" + didYouMean(name, known));
}

void Parser::take(const Spelled& spelled) {
  const std::size_t index = indexOf(spelled.name);
  const OptionInfo& option = table.all()[index];
  const std::string name = namesOf(option).longName;
  if (!option.value.empty()) {
    const std::string value = valueOf(spelled, option);
    if (!isGiven.insert(index).second && !option.isList) throw usageProblem(name + ": given twice");
    return table.store(index, value);
  }
  if (spelled.value) throw usageProblem(name + ": takes no value");
  table.store(index, "");
}

std::string Parser::valueOf(const Spelled& spelled, const OptionInfo& option) {
  if (spelled.value) return *spelled.value;
  if (next < words.size()) return words[next++];
  throw usageProblem(namesOf(option).longName + ": " + option.value + " is missing");
}

}  // namespace

HelpWanted parseOptions(const OptionTable& table, const std::vector<std::string>& words) {
  return Parser(table, words).run();
}
