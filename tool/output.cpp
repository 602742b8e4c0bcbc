// SPDX-License-Identifier: Apache-2.0
#include "tool/output.h"

#include <cerrno>

#include "tool/descriptor.h"
#include "tool/problem.h"

namespace {

void writeAll(int descriptor, std::string_view text, const std::string& file) {
  while (!text.empty()) {
    const std::ptrdiff_t put = platform::write(descriptor, text.data(), text.size());
    if (put >= 0) {
      text.remove_prefix(static_cast<std::size_t>(put));
    } else if (errno == EPIPE) {
      throw ClosedPipe{};
    } else if (errno != EINTR) {
      throw fileProblem(file, "write");
    }
  }
}

void writeInPlace(const std::string& file, std::string_view text) {
  const Descriptor out(platform::openToWrite(file));
  if (out.number < 0) throw fileProblem(file, "write");
  writeAll(out.number, text, file);
}

// A name for a file until it is complete; removed unless it was renamed.
struct Beside {
  explicit Beside(const std::string& file)
      : name(file + ".XXXXXX"), opened(platform::makeUnique(name)), isThere(opened.number >= 0) {}
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  ~Beside() {
    opened.close();
    if (isThere) platform::remove(name);
  }
  std::string name;
  Descriptor opened;
  bool isThere;
};

// A file that was there is given up only for one that is on the disk.
void replaceFile(const std::string& file, std::string_view text, const platform::Status& old,
                 Gate& gate) {
  const auto pass = gate.enter();
  // Of a link, so that the link itself stays.
  const std::string target = old.exists ? platform::targetOf(file) : file;
  Beside beside(target);
  if (!beside.isThere) throw fileProblem(file, "write");
  writeAll(beside.opened.number, text, file);
  const unsigned mode = old.exists ? old.mode : platform::modeOfNewFile();
  if (!platform::setMode(beside.opened.number, mode) ||
      (old.exists && !platform::flush(beside.opened.number)) || !beside.opened.close() ||
      !platform::rename(beside.name, target)) {
    throw fileProblem(file, "write");
  }
  beside.isThere = false;
}

}  // namespace

void writeOutput(std::string_view text) {
  writeAll(platform::kOutput, text, "standard output");
}

void writeFile(const std::string& file, std::string_view text, Gate& gate) {
  if (file == "-") return writeOutput(text);
  const platform::Status old = platform::statusOf(file);
  if (old.exists && !old.isRegular) return writeInPlace(file, text);
  replaceFile(file, text, old, gate);
}
