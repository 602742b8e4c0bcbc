// SPDX-License-Identifier: Apache-2.0
#include "tool/input/input.h"

#include <AMFGuard.h>

#include <algorithm>
#include <cerrno>

#include "tool/port/platform.h"
#include "tool/problem.h"

namespace {

constexpr std::size_t kBlock = 65536;

// `size` is empty if it is not known.
Problem tooLarge(const std::string& file, const std::string& size, std::size_t limit,
                 const char* option) {
  const bool isPacket = std::string_view(option) == "--max-packet-bytes";
  Problem problem{kOverLimit, isPacket ? describe(AMFVerifyStatus::packetTooLarge) : "text limit",
                  ""};
  problem.message = overLimit(problem.status.c_str(), option, limit);
  if (!size.empty()) problem.message += " (" + size + " bytes)";
  problem.file = file;
  return problem;
}

// Starts with a buffer of `first` bytes. Reads at most one byte more than `limit`, which shows that
// the limit is exceeded.
std::string readAll(int descriptor, const std::string& file, std::size_t first, std::size_t limit,
                    const char* option) {
  const std::size_t maxBytes = limit < std::string().max_size() ? limit + 1 : limit;
  std::string bytes(std::min(first, maxBytes), '\0');
  for (std::size_t present = 0;;) {
    if (present == bytes.size()) {
      bytes.resize(present + std::min(std::max(kBlock, present), maxBytes - present));
    }
    const std::ptrdiff_t got = platform::read(descriptor, &bytes[present], bytes.size() - present);
    if (got < 0 && errno != EINTR) throw fileProblem(file, "read");
    present += static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
    if (present > limit) throw tooLarge(file, "", limit, option);
    if (got != 0) continue;
    bytes.resize(present);
    return bytes;
  }
}

std::string readOpen(int descriptor, const std::string& file, std::size_t limit,
                     const char* option) {
  const platform::Status status = platform::statusOf(descriptor);
  if (!status.isRegular || status.size == 0)
    return readAll(descriptor, file, kBlock, limit, option);
  if (status.size > limit) throw tooLarge(file, std::to_string(status.size), limit, option);
  // The additional byte shows the end of the file.
  return readAll(descriptor, file, static_cast<std::size_t>(status.size) + 1, limit, option);
}

}  // namespace

std::string readInput(const std::string& file, std::size_t limit, const char* option) {
  if (file == "-") return readOpen(platform::kInput, file, limit, option);
  const Descriptor in(platform::openToRead(file));
  if (in.number < 0) throw fileProblem(file, "read");
  return readOpen(in.number, file, limit, option);
}

// ---- Lines

void LineReader::consumeAll(const Take& take, const std::function<void()>& wait) {
  do {
    takeWhole(take);
    wait();
  } while (readMore());
  if (isCut || !buffered.empty()) takeOne(take, buffered);
}

void LineReader::takeWhole(const Take& take) {
  std::size_t begin = 0;
  for (std::size_t end; (end = buffered.find('\n', std::max(begin, searched))) != buffered.npos;
       begin = end + 1) {
    takeOne(take, std::string_view(buffered).substr(begin, end - begin));
  }
  buffered.erase(0, begin);
  if (buffered.size() > maxBytes) {
    isCut = true;
    std::string().swap(buffered);
  }
  searched = buffered.size();
}

void LineReader::takeOne(const Take& take, std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  const bool isTooLong = isCut || line.size() > maxBytes;
  isCut = false;
  take(isTooLong ? std::string_view() : line, isTooLong);
}

bool LineReader::readMore() {
  const std::size_t present = buffered.size();
  buffered.resize(present + kBlock);
  std::ptrdiff_t got = -1;
  do {
    got = platform::read(descriptor, &buffered[present], kBlock);
  } while (got < 0 && errno == EINTR);
  buffered.resize(present + static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0)));
  if (got < 0) throw fileProblem(name, "read");
  return got > 0;
}
