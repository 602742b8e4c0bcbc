// SPDX-License-Identifier: Apache-2.0
#include "tool/check.h"
#include "tool/command.h"
#include "tool/decode.h"
#include "tool/dump_command.h"
#include "tool/identify_command.h"
#include "tool/roundtrip.h"

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {decodeCommand(), checkCommand(), identifyCommand(),
                                             dumpCommand(), roundtripCommand()};
  return table;
}
