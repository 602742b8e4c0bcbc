// SPDX-License-Identifier: Apache-2.0
//
// Decodes a packet that this host made itself, and prints it as JSON:
//
//   decode_and_print PACKET
//
// `parse` receives no length and trusts what it reads. For packets from somebody else see
// verify_then_decode.cpp.
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
  std::ifstream in(argc == 2 ? argv[1] : "", std::ios::binary);
  const std::string packet((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in) {
    std::fputs("usage: decode_and_print PACKET\n", stderr);
    return 2;
  }
  AMFProtocol protocol;
  try {
    protocol.parse(packet.data());  // the tree is `protocol.package`, owned by `protocol`
    std::puts(protocol.getPackageInJSON(true).c_str());
  } catch (const AMFException& e) {  // it has no base class: catch it by name
    std::fprintf(stderr, "decode_and_print: %s\n", e.message);
    return 1;
  }
  return 0;
}
