// SPDX-License-Identifier: Apache-2.0
//
// What a host does with bytes from elsewhere: checks them within limits of its own, then decodes:
//
//   verify_then_decode < PACKET
//
// Exit code 3 when the packet is refused, with the reason and the place on standard error.
#include <AMFGuard.h>
#include <AMF2JSON>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <new>
#include <string>

static int receive(const std::string& bytes) {
  AMFVerifyLimits limits;  // the defaults suit a request from the network
  limits.maxPacketBytes = 65536;
  limits.maxDepth = 16;

  AMFProtocol protocol;  // a fresh one for each foreign packet
  AMFVerifyResult checked;
  const AMFPackage* const package =
      parseVerified(protocol, bytes.data(), bytes.size(), limits, &checked);
  if (package == nullptr) {
    std::fprintf(stderr, "%s: %s at byte %lu\n", describe(checked.status), checked.message,
                 static_cast<unsigned long>(checked.offset));
    return 3;
  }
  std::printf("%lu of %lu bytes, %lu nodes, %lu deep\n",
              static_cast<unsigned long>(checked.consumed),
              static_cast<unsigned long>(bytes.size()), static_cast<unsigned long>(checked.nodes),
              static_cast<unsigned long>(checked.depth));
  for (unsigned i = 0; const AMFMessage* const message = package->getMessage(i); ++i) {
    const AMFString& target = *message->targetUri;
    std::printf("for %s\n", std::string(target.data, target.length).c_str());
  }
  return 0;
}

int main() {
  std::ios::sync_with_stdio(false);
  const std::string bytes((std::istreambuf_iterator<char>(std::cin)),
                          std::istreambuf_iterator<char>());
  try {
    return receive(bytes);
  } catch (const std::bad_alloc&) {  // memory for the tree: the one error left after the check
    std::fputs("verify_then_decode: out of memory\n", stderr);
    return 1;
  }
}
