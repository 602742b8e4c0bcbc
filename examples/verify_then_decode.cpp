// SPDX-License-Identifier: Apache-2.0
//
// Decodes a packet from somebody else: checks the bytes within limits, then decodes them:
//
//   verify_then_decode < PACKET
//
// The exit code is 3 if the packet is refused. Standard error has the reason and the offset.
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

  AMFProtocol protocol;  // a new object for each packet
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
  } catch (const std::bad_alloc&) {  // the tree needs memory: the only error after the check
    std::fputs("verify_then_decode: out of memory\n", stderr);
    return 1;
  }
}
