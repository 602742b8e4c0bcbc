// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/command_page.h"

namespace {

const OptionInfo kShortHelp = {"-h", "", "Help on one screen"};
const OptionInfo kLongHelp = {"--help", "", "All help"};

}  // namespace

CommandPage pageOf(const Command& command) {
  Options options;
  OptionTable table;
  declareAll(command, table, options);
  CommandPage page{command, table.all()};
  page.options.push_back(kShortHelp);
  page.options.push_back(kLongHelp);
  return page;
}

std::vector<CommandPage> commandPages() {
  std::vector<CommandPage> pages;
  for (const Command& command : commands()) pages.push_back(pageOf(command));
  return pages;
}

const std::vector<OptionInfo>& programOptions() {
  static const std::vector<OptionInfo> options = {
      kShortHelp, kLongHelp, {"--version", "", "Versions of program and library"}};
  return options;
}

OptionNames namesOf(const OptionInfo& option) {
  const std::size_t longAt = option.names.find("--");
  if (longAt == std::string::npos) return {option.names, ""};
  return {longAt == 0 ? "" : option.names.substr(0, longAt - 1), option.names.substr(longAt)};
}
