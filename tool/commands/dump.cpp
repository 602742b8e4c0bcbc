// SPDX-License-Identifier: Apache-2.0
//
// amf2json dump: the bytes of a packet, field by field. Tested by
// tests/tool/bytes_test.cpp.
#include "tool/commands/commands.h"

#include "tool/commands/dump_rows.h"
#include "tool/input/form.h"
#include "tool/input/packet.h"

namespace {

constexpr const char* kDetails =
    "A row for each field: offset, hexadecimal, ASCII, meaning. Each level of nesting is\n"
    "indented by one step. A value begins with the name of its member or its index in the array.\n"
    "After a value, its index in the reference table is in brackets. A reference shows where its\n"
    "target begins. Offsets and bytes are hexadecimal, other numbers decimal.\n"
    "\n"
    "A refused packet is shown up to the refused field. The bytes that were not read follow.\n";

FileResult dump(const std::string& file, const Options& options) {
  const Packet packet = readPacket(file, options);
  FileResult result;
  DumpOptions dumpOptions;
  dumpOptions.full = options.dump.full;
  dumpOptions.hiddenHead = envelopeOf(packet.form).size();
  dumpOptions.firstOffset = packet.skipped;
  dumpOptions.maxText = options.maxOutputBytes;
  dumpOptions.limits = limitsFor(packet.form, options.limits);
  dumpPacket(packet.bytes, dumpOptions, result.text);
  addVerdict(result, packet, options);
  return result;
}

void declare(OptionTable& table, Options& options) {
  table.flag("--full", options.dump.full, "Long texts and byte arrays to their end");
  declareFormOptions(table, options);
  declareOutputOptions(table, options);
}

}  // namespace

Command dumpCommand() {
  return {"dump",
          "Shows the bytes of packets, field by field",
          kDetails,
          {{"amf2json dump packet.amf", "every field with its offset"},
           {"amf2json dump --as amf3 value.bin", "a value without a packet around it"},
           {"amf2json dump --unwrap capture.txt", "a packet pasted as hexadecimal or base64"}},
          declare,
          dump,
          [](const Options&) { return ".txt"; }};
}
