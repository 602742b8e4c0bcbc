// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/files_test.cpp.
#include "tool/output/write.h"

#include <cerrno>
#include <cstdio>

#include "tool/port/platform.h"
#include "tool/problem.h"

namespace {

// A temporary file; removed unless it was renamed.
struct TemporaryFile {
  explicit TemporaryFile(const std::string& file)
      : opened(platform::createTemporaryFile(file, name)), isThere(opened.number >= 0) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    opened.close();
    if (isThere) std::remove(name.c_str());
  }
  std::string name;
  Descriptor opened;
  bool isThere;
};

// An existing file is replaced only by one that is on the disk.
bool complete(TemporaryFile& temporary, const std::string& file, const platform::Status& old) {
  const int number = temporary.opened.number;
  if (!old.exists) {
    return platform::setMode(number, platform::defaultMode()) && temporary.opened.close();
  }
  return platform::copyPermissions(number, file, old) && platform::syncToDisk(number) &&
         temporary.opened.close();
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

void writeFile(const std::string& file, const PieceSource& pieces, Existing existing,
               FairSharedMutex& mutex) {
  const auto lock = mutex.lockShared();
  platform::Status old;
  if (existing == Existing::replace) old = platform::statusOfLink(file);
  if (old.exists && !old.isRegular) throw notReplacedProblem(file, "not a regular file");
  TemporaryFile temporary(file);
  if (!temporary.isThere) throw fileProblem(file, "write");
  pieces([&](std::string_view piece) { writeTo(temporary.opened.number, piece, file); });
  const bool isWritten =
      complete(temporary, file, old) &&
      (existing == Existing::replace ? platform::rename(temporary.name, file)
                                     : platform::renameNew(temporary.name, file));
  if (!isWritten) throw fileProblem(file, "write");
  temporary.isThere = false;
}
