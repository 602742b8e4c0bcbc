// SPDX-License-Identifier: Apache-2.0
//
// Reads an externalizable object whose class the library learns of from this program, shows it, and
// writes it back. Prints "ok", or what went wrong.
#include <AMF2JSON>
#include <cstdio>
#include <cstring>

namespace {

// One message with one AMF3 value: an externalizable object of class my.Class that holds null.
const char kPacket[] =
    "\0\0"
    "\0\0"
    "\0\1"
    "\0\4echo"
    "\0\2/1"
    "\0\0\0\x0D"
    "\x11\x0A\x07\x11my.Class\x01";
const std::size_t kLength = sizeof kPacket - 1;

int fail(const char* what) {
  std::printf("failed: %s\n", what);
  return 1;
}

// The refusal's text, or an empty one.
const char* parse(AMFProtocol& protocol) {
  try {
    protocol.parse(kPacket);
    return "";
  } catch (const AMFException& e) {
    return e.message;
  }
}

}  // namespace

int main() {
  AMFProtocol protocol;
  if (std::strcmp(parse(protocol), "getAMF3Object(): unsupported externalizable class type") != 0)
    return fail("the unknown class was not refused");
  cArrayClass = "my.Class";
  if (parse(protocol)[0] != '\0') return fail("the library did not see the new class name");
  if (protocol.readCursor != kPacket + kLength) return fail("the packet was not read to its end");
  if (protocol.getPackageInJSON(false).find("\"my.Class\"") == std::string::npos)
    return fail("the class name is not in the JSON text");
  const char* const written = protocol.compile(protocol.package);
  if (protocol.getResultLength() != kLength || std::memcmp(written, kPacket, kLength) != 0)
    return fail("other bytes were written than read");
  std::puts("ok");
  return 0;
}
