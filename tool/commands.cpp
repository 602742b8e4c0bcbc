// SPDX-License-Identifier: Apache-2.0
#include "tool/check.h"
#include "tool/command.h"
#include "tool/decode.h"
#include "tool/roundtrip.h"

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {decodeCommand(), checkCommand(), roundtripCommand()};
  return table;
}
