// SPDX-License-Identifier: Apache-2.0
#include "tool/check.h"

#include "tool/packet.h"
#include "tool/printable.h"
#include "tool/shared_options.h"
#include "tool/words.h"

namespace {

constexpr const char* kDetails =
    "One line for each file that can be read:\n"
    "\n"
    "  FILE: STATUS: HEADERS, MESSAGES, NODES, DEPTH, TREE BYTES, LEFT OVER, LIES\n"
    "\n"
    "Nothing is decoded. Of a packet that is refused the figures say how far it was read, and the\n"
    "problem is told on standard error. A length lies that is neither unknown (FFFFFFFF) nor that "
    "of\n"
    "its value; nothing here believes it, but other decoders may.\n";

std::string figures(const Packet& packet) {
  const AMFVerifyResult& checked = packet.checked;
  return words(checked.headers, "header", "headers") + ", " +
         words(checked.messages, "message", "messages") + ", " +
         words(checked.nodes, "node", "nodes") + ", depth " + std::to_string(checked.depth) + ", " +
         words(checked.treeBytes, "tree byte", "tree bytes") + ", " +
         words(packet.bytes.size() - checked.consumed, "byte left over", "bytes left over") + ", " +
         words(checked.lengthMismatches, "length that lies", "lengths that lie");
}

FileResult check(const std::string& file, const Options& options) {
  const Packet packet = readPacket(file, options);
  FileResult result;
  result.text =
      printable(file) + ": " + describe(packet.checked.status) + ": " + figures(packet) + "\n";
  if (packet.checked.lengthMismatches != 0) result.answer = kNo;
  tellVerdict(result, packet, options);
  return result;
}

void declare(OptionTable& table, Options& options) {
  declareForm(table, options);
}

}  // namespace

Command checkCommand() {
  return {"check",
          "Says what is in packets without decoding them",
          kDetails,
          {{"amf2json check packet.amf", "whether it is sound, and how large its tree gets"},
           {"amf2json check --allow-trailing *.amf", "bytes behind the last message are fine"},
           {"amf2json check --max-nodes 500 packet.amf", "a limit of your own"}},
          declare,
          check};
}
