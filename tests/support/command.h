// SPDX-License-Identifier: Apache-2.0
//
// Runs a line of shell and collects what it prints.
#ifndef TESTS_SUPPORT_COMMAND_H
#define TESTS_SUPPORT_COMMAND_H

#include <cstddef>
#include <cstdio>
#include <string>

namespace support {

/// Appends the standard output to `output`. False: the exit code was not 0.
inline bool command(const std::string& line, std::string& output) {
  FILE* const pipe = popen(line.c_str(), "r");
  if (!pipe) return false;
  char buffer[4096];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
    output.append(buffer, count);
  return pclose(pipe) == 0;
}

}  // namespace support

#endif  // TESTS_SUPPORT_COMMAND_H
