// SPDX-License-Identifier: Apache-2.0
#include "tool/command.h"
#include "tool/decode.h"
#include "tool/roundtrip.h"

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {decodeCommand(), roundtripCommand()};
  return table;
}
