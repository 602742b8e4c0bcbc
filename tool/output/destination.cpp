// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/files_test.cpp.
#include "tool/output/destination.h"

#include "tool/output/write.h"
#include "tool/port/platform.h"
#include "tool/problem.h"

namespace {

// Whether a name leads to standard output: /dev/stdout, /proc/self/fd/1, or the file that it was
// redirected to.
bool isStandardOutput(const platform::Status& status) {
  return status.exists && platform::isWritable(platform::kOutput) &&
         status.identity == platform::statusOf(platform::kOutput).identity;
}

}  // namespace

Destination::Destination(const Options& options) : name(options.output), opened(-1) {
  if (options.output == "-") {
    name = "standard output";
    number = platform::kOutput;
    return;
  }
  const platform::ResolvedPath place = platform::resolvePath(options.output);
  const platform::Status status = platform::statusOf(options.output);
  target = place.file;
  number = place.descriptor;
  if (number < 0 && isStandardOutput(status)) number = platform::kOutput;
  if (number >= 0) return;
  const bool isFile = !status.exists || (status.isRegular && !place.isForeignDescriptor);
  if (platform::isFolder(options.output) || (isFile && options.files.size() > 1)) {
    is = Kind::folder;
    target = options.output;
  } else if (isFile) {
    is = Kind::file;
  } else {
    target = options.output;
    if (!status.isPipe) open();
  }
}

void Destination::open() {
  opened.number = platform::openToWrite(target);
  if (opened.number < 0) throw fileProblem(name, "write");
  number = opened.number;
}

bool Destination::isTerminal() const {
  return is == Kind::stream && number >= 0 && platform::isTerminal(number);
}

void Destination::write(std::string_view text) {
  if (text.empty()) return;
  if (number < 0) open();
  writeTo(number, text, name);
}
