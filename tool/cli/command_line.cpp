// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/command_line.h"

#include <algorithm>

#include "tool/cli/help.h"
#include "tool/cli/option_table.h"
#include "tool/input/identify.h"
#include "tool/input/input.h"
#include "tool/port/platform.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

// The command that shows the file; "decode" if that is not known.
std::string commandForFile(const std::string& name) {
  try {
    const AMFVerifyLimits limits;
    const std::string line =
        commandFor(identify(readInput(name, limits.maxPacketBytes), limits), name);
    if (!line.empty()) return line;
  } catch (const Problem&) {  // the suggested command will report it
  }
  return "amf2json decode " + quoteForShell(name);
}

const Command& commandNamed(const std::string& name) {
  for (const Command& command : commands()) {
    if (command.name == name) return command;
  }
  const std::string problem = "no command '" + name + "'";
  if (platform::statusOf(name).exists) {
    throw usageProblem(problem + "; this is a file: " + commandForFile(name) + " shows it");
  }
  throw usageProblem(problem + didYouMean(name, commandNames()));
}

// The program without a command only shows help and versions.
CommandLine parseProgram(const std::vector<std::string>& words) {
  const std::string word = words.empty() ? "" : words.front();
  if (word == "-h") return {nullptr, {}, shortHelp()};
  if (word == "--help") return {nullptr, {}, longHelp()};
  if (word == "--version") return {nullptr, {}, versionText()};
  if (words.empty()) throw usageProblem("a command is missing" + didYouMean("", commandNames()));
  throw usageProblem("no option '" + word + "' in front of a command" +
                     didYouMean(word, {"-h", "--help", "--version"}));
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
  if (words.size() == 2 && words.front() == "generate") {
    if (const std::string file = generated(words[1]); !file.empty()) return {nullptr, {}, file};
  }
  if (words.empty() || words.front().empty() || words.front()[0] == '-') return parseProgram(words);
  CommandLine line;
  line.command = &commandNamed(words.front());
  OptionTable table;
  declareAll(*line.command, table, line.options);
  switch (parseOptions(table, {words.begin() + 1, words.end()})) {
    case HelpWanted::brief: return {nullptr, {}, shortHelp(pageOf(*line.command))};
    case HelpWanted::full: return {nullptr, {}, longHelp(pageOf(*line.command))};
    case HelpWanted::none: break;
  }
  return line;
}

bool asksForJSONErrors(const std::vector<std::string>& words) {
  const auto end = std::find(words.begin(), words.end(), "--");  // files follow
  if (std::find(words.begin(), end, "--error-format=json") != end) return true;
  const auto option = std::find(words.begin(), end, "--error-format");
  return option != end && option + 1 != end && option[1] == "json";
}
