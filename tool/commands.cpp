// SPDX-License-Identifier: Apache-2.0
#include "tool/check.h"
#include "tool/command.h"
#include "tool/decode.h"
#include "tool/dump_command.h"
#include "tool/export_command.h"
#include "tool/identify_command.h"
#include "tool/import_command.h"
#include "tool/roundtrip.h"
#include "tool/shared_options.h"

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
