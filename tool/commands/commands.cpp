// SPDX-License-Identifier: Apache-2.0
#include "tool/command.h"
#include "tool/commands/check.h"
#include "tool/commands/decode.h"
#include "tool/commands/dump_command.h"
#include "tool/commands/export_command.h"
#include "tool/commands/identify_command.h"
#include "tool/commands/import_command.h"
#include "tool/commands/roundtrip.h"
#include "tool/commands/shared_options.h"

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      decodeCommand(), checkCommand(),  identifyCommand(), dumpCommand(), roundtripCommand(),
#ifdef AMF2JSON_HAVE_WIRE
      exportCommand(), importCommand(),
#endif
  };
  return table;
}

void declareAll(const Command& command, OptionTable& table, Options& options) {
  command.declare(table, options);
  (command.shared != nullptr ? command.shared : declareShared)(table, options);
}
