// SPDX-License-Identifier: Apache-2.0
#include "tool/input.h"

#include <algorithm>
#include <cerrno>

#include "tool/descriptor.h"
#include "tool/packet.h"
#include "tool/problem.h"

namespace {

// Room for one block more than what is there already, but never for more than `most` bytes.
std::size_t nextSize(std::size_t present, std::size_t most) {
  constexpr std::size_t kBlock = 65536;
  return present + std::min(std::max(kBlock, present), most - present);
}

std::string readAll(int descriptor, const std::string& file, std::size_t limit) {
  const std::size_t most = limit < std::string().max_size() ? limit + 1 : limit;
  std::string bytes;
  for (;;) {
    const std::size_t present = bytes.size();
    bytes.resize(nextSize(present, most));
    const std::ptrdiff_t got = platform::read(descriptor, &bytes[present], bytes.size() - present);
    if (got < 0 && errno != EINTR) throw fileProblem(file, "read");
    bytes.resize(present + static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0)));
    if (bytes.size() > limit) throw tooLarge(file, "", limit);
    if (got == 0) return bytes;
  }
}

std::string readOpen(int descriptor, const std::string& file, std::size_t limit) {
  const platform::Status status = platform::statusOf(descriptor);
  if (status.isRegular && status.size > limit) {
    throw tooLarge(file, std::to_string(status.size), limit);
  }
  return readAll(descriptor, file, limit);
}

}  // namespace

std::string readInput(const std::string& file, std::size_t limit) {
  if (file == "-") return readOpen(platform::kInput, file, limit);
  const Descriptor in(platform::openToRead(file));
  if (in.number < 0) throw fileProblem(file, "read");
  return readOpen(in.number, file, limit);
}
