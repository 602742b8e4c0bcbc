// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_files_test.cpp.
#include "tool/output/output.h"

#include <cerrno>
#include <cstdio>

#include "tool/port/platform.h"
#include "tool/problem.h"

namespace {

// A file without its name until it is complete; removed unless it was renamed.
struct Beside {
  explicit Beside(const std::string& file)
      : opened(platform::makeUniqueBeside(file, name)), isThere(opened.number >= 0) {}
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  ~Beside() {
    opened.close();
    if (isThere) std::remove(name.c_str());
  }
  std::string name;
  Descriptor opened;
  bool isThere;
};

// A file that was there is given up only for one that is on the disk.
bool complete(Beside& beside, const std::string& file, const platform::Status& old) {
  const int number = beside.opened.number;
  if (!old.exists) {
    return platform::setMode(number, platform::modeOfNewFile()) && beside.opened.close();
  }
  return platform::takeRights(number, file, old) && platform::flush(number) &&
         beside.opened.close();
}

}  // namespace

void writeTo(int descriptor, std::string_view text, const std::string& name) {
  while (!text.empty()) {
    const std::ptrdiff_t put = platform::write(descriptor, text.data(), text.size());
    if (put >= 0) {
      text.remove_prefix(static_cast<std::size_t>(put));
    } else if (errno == EPIPE) {
      throw ClosedPipe{};
    } else if (errno != EINTR) {
      throw fileProblem(name, "write");
    }
  }
}

void writeOutput(std::string_view text) {
  writeTo(platform::kOutput, text, "standard output");
}

void writeFile(const std::string& file, const Pour& pour, Existing existing, Gate& gate) {
  const auto pass = gate.enter();
  platform::Status old;
  if (existing == Existing::replace) old = platform::statusOfLink(file);
  if (old.exists && !old.isRegular) throw notReplaced(file, "not a regular file");
  Beside beside(file);
  if (!beside.isThere) throw fileProblem(file, "write");
  pour([&](std::string_view piece) { writeTo(beside.opened.number, piece, file); });
  const bool isWritten = complete(beside, file, old) &&
                         (existing == Existing::replace ? platform::rename(beside.name, file)
                                                        : platform::renameNew(beside.name, file));
  if (!isWritten) throw fileProblem(file, "write");
  beside.isThere = false;
}
