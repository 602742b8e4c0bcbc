// SPDX-License-Identifier: Apache-2.0
//
// Runs one fuzz target over files, and over all files of directories: what a target is linked with
// when no fuzzer drives it. Names each file first, so that the last name is the one that failed.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"

namespace {

using std::filesystem::path;

std::vector<path> filesOf(const path& place) {
  if (!std::filesystem::is_directory(place)) return {place};
  std::vector<path> files;
  for (const auto& entry : std::filesystem::directory_iterator(place)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// False: it could not be read.
bool replay(const path& file) {
  std::printf("%s\n", file.filename().string().c_str());
  std::fflush(stdout);
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const fuzz::Exact exact(bytes);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(exact.data()), exact.size());
  return true;
}

int run(int count, char** places) {
  std::size_t inputs = 0;
  for (int i = 0; i < count; ++i) {
    for (const path& file : filesOf(places[i])) {
      if (!replay(file)) return 1;
      ++inputs;
    }
  }
  std::printf("%zu inputs\n", inputs);
  return inputs == 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc - 1, argv + 1);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
