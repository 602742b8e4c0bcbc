// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/option_table.h"

#include <charconv>

#include "tool/problem.h"
#include "tool/text/words.h"

namespace {

// Messages name "-o,--output" by its long form "--output".
std::string longName(const std::string& names) {
  return names.substr(names.find("--"));
}

}  // namespace

void OptionTable::flag(const char* names, bool& target, const char* help) {
  add({names, "", help}, [&target](const std::string&) { target = true; });
}

void OptionTable::text(const char* names, const char* value, std::string& target,
                       const char* help) {
  add({names, value, help}, [&target](const std::string& word) { target = word; });
}

void OptionTable::list(const char* names, const char* value,
                       std::function<void(const std::string&)> addValue, const char* help) {
  add({names, value, help, "", {}, false, true}, std::move(addValue));
}

std::size_t OptionTable::indexOf(const std::string& word, const std::vector<Choice>& choices,
                                 const char* names) {
  std::vector<std::string> known;
  for (const Choice& choice : choices) {
    if (choice.name == word) return known.size();
    known.push_back(choice.name);
  }
  throw usageProblem(longName(names) + ": no '" + word + "' here" + didYouMean(word, known));
}

std::uint64_t OptionTable::numberIn(const std::string& word, std::uint64_t largest,
                                    const char* names) {
  std::uint64_t number = 0;
  const char* const end = word.data() + word.size();
  const std::from_chars_result parsed = std::from_chars(word.data(), end, number);
  if (parsed.ec == std::errc() && parsed.ptr == end && number <= largest) return number;
  throw usageProblem(longName(names) + ": '" + word + "' is not a whole number from 0 to " +
                     std::to_string(largest));
}
