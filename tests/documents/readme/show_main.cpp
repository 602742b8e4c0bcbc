// SPDX-License-Identifier: Apache-2.0
//
// The C++ of README.md, which stands in readme_example.inc, on standard input. Writes the bytes
// that come back to the file that is named. Built and run by tests/documents/readme/run.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "readme_example.inc"

int main(int argc, char** argv) {
  const std::string bytes((std::istreambuf_iterator<char>(std::cin)),
                          std::istreambuf_iterator<char>());
  std::string encoded;
  const int status = show(bytes, encoded);
  if (argc == 2) std::ofstream(argv[1], std::ios::binary) << encoded;
  return status;
}
