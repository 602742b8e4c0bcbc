// SPDX-License-Identifier: Apache-2.0
//
// Turns a captured call into JavaScript for a load test: a function that returns the call as a new
// object. It has one statement for each value, where a load test puts a value of its own:
//
//   load_test_script PACKET
#include <AMFGuard.h>
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
  std::ifstream in(argc == 2 ? argv[1] : "", std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  AMFProtocol protocol;
  AMFVerifyResult checked;
  if (!parseVerified(protocol, bytes.data(), bytes.size(), AMFVerifyLimits(), &checked)) {
    std::fprintf(stderr, "load_test_script: %s\n", checked.message);
    return 1;
  }
  // Without these two lines a text in the packet could end its quotes and run as code.
  escapeForViews(protocol.package);
  protocol.useTemporaries = false;

  const std::string& script = protocol.getPackageInJS(true);
  if (protocol.outputLimitReached) {
    std::fputs("load_test_script: the packet is too large for a script\n", stderr);
    return 1;
  }
  std::printf("function nextCall() {\nvar amf;%sreturn amf;\n}\n", script.c_str());
  return 0;
}
