// SPDX-License-Identifier: Apache-2.0
#include "tool/help.h"

#include <algorithm>

namespace {

constexpr std::size_t kColumn = 25;  // where explanations begin

// "  NAME   TEXT", the text on a line of its own if the name is too long.
std::string entry(const std::string& name, const std::string& text) {
  std::string line = "  " + name;
  if (line.size() + 2 > kColumn)
    line += "\n" + std::string(kColumn, ' ');
  else
    line.resize(kColumn, ' ');
  return line + text + "\n";
}

std::string spelling(const OptionInfo& option) {
  std::string text = option.names;
  const std::size_t comma = text.find(',');
  if (comma != std::string::npos) text.insert(comma + 1, " ");
  return option.value.empty() ? text : text + " " + option.value;
}

std::string exampleLines(const std::vector<Example>& examples) {
  std::string lines;
  for (const Example& example : examples) {
    lines += std::string("  ") + example.line + "\n";
  }
  return lines;
}

std::string usageOf(const Command& command) {
  return std::string("amf2json ") + command.name + " [OPTIONS] [FILE...]\n" + command.summary +
         ".\n";
}

std::string choiceNames(const OptionInfo& option) {
  std::string names;
  for (const Choice& choice : option.choices) names += (names.empty() ? "" : ", ") + choice.name;
  return names;
}

std::string shortOptions(const OptionTable& table) {
  std::string text;
  for (const OptionInfo& option : table.all()) {
    if (option.isLimit) continue;
    text += entry(spelling(option),
                  option.choices.empty() ? option.help : option.help + ": " + choiceNames(option));
  }
  return text;
}

std::string longOptions(const OptionTable& table, bool limits) {
  std::string text;
  for (const OptionInfo& option : table.all()) {
    if (option.isLimit != limits) continue;
    const bool tellDefault = !option.byDefault.empty();
    text +=
        entry(spelling(option), option.help + (tellDefault ? " (" + option.byDefault + ")" : ""));
    for (const Choice& choice : option.choices)
      text += entry("", "  " + choice.name + ": " + choice.help);
  }
  return text;
}

std::string exitCodeLines() {
  std::string text = "Exit codes; of several files the largest counts:\n";
  for (const ExitCodeRow& row : exitCodes()) {
    const std::string number = std::to_string(row.code);
    text += std::string(4 - number.size(), ' ') + number + "  " + row.meaning + "\n";
  }
  return text;
}

std::string commandLines() {
  std::string text;
  for (const Command& command : commands()) text += entry(command.name, command.summary);
  return text;
}

}  // namespace

std::string shortHelp() {
  std::string text =
      "amf2json COMMAND [OPTIONS] [FILE...]\nShows and checks AMF packets.\n\nCommands:\n" +
      commandLines();
  text += "\nExamples:\n";
  for (const Command& command : commands())
    text += std::string("  ") + command.examples.front().line + "\n";
  return text + "\namf2json COMMAND -h tells its options; amf2json --help tells more.\n";
}

std::string shortHelp(const Command& command, const OptionTable& table) {
  return usageOf(command) + "\n" + shortOptions(table) + "\nExamples:\n" +
         exampleLines(command.examples) + "\namf2json " + command.name +
         " --help tells more, and the limits.\n";
}

std::string longHelp() {
  return shortHelp() + "\n" + exitCodeLines();
}

std::string longHelp(const Command& command, const OptionTable& table) {
  return usageOf(command) + "\n" + command.details + "\nOptions:\n" + longOptions(table, false) +
         "\nLimits:\n" + longOptions(table, true) + "\nExamples:\n" +
         exampleLines(command.examples) + "\n" + exitCodeLines();
}

std::string versionText() {
  return "amf2json " AMF2JSON_VERSION "\nlibrary AMF2JSON " AMF2JSON_VERSION ", ABI " AMF2JSON_ABI
         "\n";
}
