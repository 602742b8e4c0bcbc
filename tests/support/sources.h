// SPDX-License-Identifier: Apache-2.0
//
// The project's own files, for tests that read them. The build defines AMF2JSON_SOURCES.
#ifndef TESTS_SUPPORT_SOURCES_H
#define TESTS_SUPPORT_SOURCES_H

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace support {

const std::filesystem::path kRoot = AMF2JSON_SOURCES;

inline std::string contents(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  EXPECT_TRUE(in.is_open()) << file;
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

}  // namespace support

#endif
