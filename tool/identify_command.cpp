// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_bytes_test.cpp.
#include "tool/identify_command.h"

#include "tool/identify.h"
#include "tool/input.h"
#include "tool/packet.h"
#include "tool/printable.h"

namespace {

constexpr const char* kDetails =
    "A line for each file, and the command that shows what is in it, where there is one:\n"
    "\n"
    "  FILE: gzip > AMF packet: version 3, 0 headers, 1 message, 54 bytes\n"
    "  next: amf2json decode --unwrap FILE\n"
    "\n"
    "Known are packets, whole or damaged; single values; shared objects and script data of FLV "
    "files;\n"
    "all of them in hexadecimal or base64 text, gzip, zlib or an HTTP message; bytes that a text "
    "decoder\n"
    "has changed; HTML, XML and JSON. A packet or value is called one when all of it can be "
    "read.\n";

FileResult identifyFile(const std::string& file, const Options& options) {
  const std::string bytes = readInput(file, wrappedLimit(options.limits.maxPacketBytes));
  const Identity identity = identify(bytes, options.limits);
  FileResult result;
  result.answer = identity.isKnown ? kDone : kNo;
  result.text = printable(file) + ": " + identity.verdict + '\n';
  const std::string command = commandFor(identity, file);
  if (!command.empty()) result.text += "next: " + command + '\n';
  return result;
}

void declare(OptionTable&, Options&) {}

}  // namespace

Command identifyCommand() {
  return {"identify",
          "Tells what files are, and how to go on with them",
          kDetails,
          {{"amf2json identify capture.bin", "what it is, and the command to run next"},
           {"amf2json identify *", "a line or two for each file"},
           {"cat capture.bin | amf2json identify", "the same for standard input"}},
          declare,
          identifyFile};
}
