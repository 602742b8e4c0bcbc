// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/help.h"

#include "tool/cli/about.h"
#include "tool/text/words.h"

namespace {

constexpr std::size_t kWidth = 79;
constexpr std::size_t kColumn = 23;  // column of the explanations

// "  NAME   TEXT", the text on a line of its own if the name is too long.
std::string entry(const std::string& name, const std::string& text) {
  std::string line = "  " + name;
  if (line.size() + 2 > kColumn) line += "\n";
  const std::size_t lineStart = line.rfind('\n') == std::string::npos ? 0 : line.size();
  line.resize(lineStart + kColumn, ' ');
  return line + text + "\n";
}

std::string entryOf(const OptionInfo& option, const std::string& text) {
  const OptionNames names = namesOf(option);
  const bool both = !names.shortName.empty() && !names.longName.empty();
  std::string spelling = names.shortName + (both ? ", " : "") + names.longName;
  if (!option.value.empty()) spelling += " " + option.value;
  return entry(spelling, text);
}

std::string choiceNames(const OptionInfo& option) {
  std::string names;
  for (const Choice& choice : option.choices) names += (names.empty() ? ": " : ", ") + choice.name;
  return names;
}

// The limits, and the help itself.
bool isOnlyInLongHelp(const OptionInfo& option) {
  return option.isLimit || option.isHiddenInShortHelp || option.names == "-h" ||
         option.names == "--help";
}

std::string shortOptions(const std::vector<OptionInfo>& options) {
  std::string text;
  for (const OptionInfo& option : options) {
    if (!isOnlyInLongHelp(option)) text += entryOf(option, option.help + choiceNames(option));
  }
  return text;
}

std::string longOptions(const std::vector<OptionInfo>& options, bool limits) {
  std::string text;
  for (const OptionInfo& option : options) {
    if (option.isLimit != limits) continue;
    const std::string defaultText =
        option.defaultText.empty() ? "" : " (" + option.defaultText + ")";
    text += entryOf(option, option.help + defaultText);
    for (const Choice& choice : option.choices)
      text += entry("", "  " + choice.name + ": " + choice.help);
  }
  return text;
}

std::string exampleLines(const std::vector<Example>& examples) {
  std::string text = "Examples:\n";
  for (const Example& example : examples) text += std::string("  ") + example.line + "\n";
  return text;
}

std::string explainedExamples(const std::vector<Example>& examples) {
  std::string text = "Examples:\n";
  for (const Example& example : examples) {
    text += std::string("  ") + example.line + "\n      " + example.what + "\n";
  }
  return text;
}

std::string usageOf(const Command& command) {
  return std::string("amf2json ") + command.name + " [OPTIONS] [FILE...]\n" + command.summary +
         ". No FILE or -: standard input.\n\n";
}

std::string exitCodeLines() {
  std::string text = "Exit codes; with several files, the largest of them:\n";
  for (const ExitCodeRow& row : exitCodes()) {
    const std::string number = std::to_string(row.code);
    text += std::string(4 - number.size(), ' ') + number + "  " + row.meaning + "\n";
  }
  return text;
}

}  // namespace

std::string shortHelp() {
  std::string text =
      "amf2json COMMAND [OPTIONS] [FILE...]\nShows AMF packets and checks them.\n\nCommands:\n";
  for (const Command& command : commands()) text += entry(command.name, command.summary);
  return text + "\n" + exampleLines(programExamples()) +
         "\nOptions of a command: amf2json COMMAND -h. Exit codes and more: amf2json --help.\n";
}

std::string shortHelp(const CommandPage& page) {
  return usageOf(page.command) + shortOptions(page.options) + "\n" +
         exampleLines(page.command.examples) + "\nMore, and the limits: amf2json " +
         page.command.name + " --help\n";
}

std::string longHelp() {
  std::string text = shortHelp() + "\n" + exitCodeLines() + "\n" + wordWrap(kAboutProgram, kWidth);
  for (const CommandPage& page : commandPages()) {
    text += std::string("\n") + page.command.name + ":\n" + shortOptions(page.options);
  }
  return text;
}

std::string longHelp(const CommandPage& page) {
  return usageOf(page.command) + wordWrap(page.command.details, kWidth) + "\nOptions:\n" +
         longOptions(page.options, false) +
         "\nLimits; a packet that exceeds one of them is refused:\n" +
         longOptions(page.options, true) + "\n" + explainedExamples(page.command.examples) + "\n" +
         exitCodeLines();
}

std::string versionText() {
  return "amf2json " AMF2JSON_VERSION "\nlibrary AMF2JSON " AMF2JSON_VERSION ", ABI " AMF2JSON_ABI
         "\n";
}
