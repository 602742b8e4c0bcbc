// SPDX-License-Identifier: Apache-2.0
//
// Calls show() of the program in README.md, which is in readme_example.inc, with standard input.
// Writes the encoded bytes to the file that is named. Built and run by tests/documents/readme/run.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#define main mainOfReadme
#include "readme_example.inc"
#undef main

int main(int argc, char** argv) {
  const std::string bytes((std::istreambuf_iterator<char>(std::cin)),
                          std::istreambuf_iterator<char>());
  std::string encoded;
  const int status = show(bytes, encoded);
  if (argc == 2) std::ofstream(argv[1], std::ios::binary) << encoded;
  return status;
}
