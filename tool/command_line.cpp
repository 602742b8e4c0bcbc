// SPDX-License-Identifier: Apache-2.0
#include "tool/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tool/did_you_mean.h"
#include "tool/help.h"
#include "tool/manual.h"
#include "tool/platform.h"
#include "tool/quoted.h"
#include "tool/shared_options.h"

namespace {

Problem usageProblem(const std::string& message) {
  return {kUsage, "usage", message};
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands()) names.push_back(command.name);
  return names;
}

const Command& commandNamed(const std::string& name) {
  for (const Command& command : commands()) {
    if (command.name == name) return command;
  }
  const std::string problem = "no command '" + name + "'";
  if (platform::statusOf(name).exists) {
    throw usageProblem(problem + "; this is a file: amf2json decode " + shellWord(name) +
                       " shows it");
  }
  throw usageProblem(problem + didYouMean(name, commandNames()));
}

// Every spelling of every option, and those that every command has.
std::vector<std::string> spellings(const OptionTable& table) {
  std::vector<std::string> known = {"--help"};
  for (const OptionInfo& option : table.all()) {
    known.push_back(option.names.substr(option.names.find("--")));
  }
  return known;
}

Problem unknownOption(const std::string& word, const OptionTable& table) {
  return usageProblem("no option '" + word + "'" + didYouMean(word, spellings(table)));
}

void refuseUnknown(const CLI::App& app, const OptionTable& table) {
  for (const std::string& extra : app.remaining()) {
    if (extra != "--") throw unknownOption(extra.substr(0, extra.find('=')), table);
  }
}

// The program without a command: it only tells about itself.
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
  CLI::App app;
  app.set_help_flag("-h");
  app.set_help_all_flag("--help");
  app.allow_extras();
  OptionTable table(app);
  line.command->declare(table, line.options);
  declareShared(table, line.options);
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend() - 1));
    refuseUnknown(app, table);
  } catch (const CLI::CallForAllHelp&) {
    return {nullptr, {}, longHelp(pageOf(*line.command))};
  } catch (const CLI::CallForHelp&) {
    return {nullptr, {}, shortHelp(pageOf(*line.command))};
  } catch (const CLI::ParseError& e) {
    throw usageProblem(e.what());
  }
  return line;
}

bool asksForJSONErrors(const std::vector<std::string>& words) {
  if (std::find(words.begin(), words.end(), "--error-format=json") != words.end()) return true;
  const auto option = std::find(words.begin(), words.end(), "--error-format");
  return option != words.end() && option + 1 != words.end() && option[1] == "json";
}
