// SPDX-License-Identifier: Apache-2.0
//
// Reading packets and writing texts. Tested by tests/tool_test.cpp.
#include "tool/packet_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

// An open file, closed at the end of its scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
  int number;
};

FileFailure failure(const std::string& file, const char* action) {
  return FileFailure{file + ": cannot " + action + ": " + std::strerror(errno)};
}

std::vector<char> readAll(int descriptor, const std::string& file) {
  std::vector<char> bytes;
  char block[65536];
  for (;;) {
    const ssize_t got = ::read(descriptor, block, sizeof block);
    if (got == 0) return bytes;
    if (got > 0) {
      bytes.insert(bytes.end(), block, block + got);
    } else if (errno != EINTR) {
      throw failure(file, "read");
    }
  }
}

void writeAll(int descriptor, const std::string& text, const std::string& file) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t put = ::write(descriptor, text.data() + done, text.size() - done);
    if (put >= 0) {
      done += static_cast<std::size_t>(put);
    } else if (errno == EPIPE) {
      return;  // whoever read had enough
    } else if (errno != EINTR) {
      throw failure(file, "write");
    }
  }
}

void writeInPlace(const std::string& file, const std::string& text) {
  const Descriptor out(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
  if (out.number < 0) throw failure(file, "write");
  writeAll(out.number, text, file);
}

// The file that `file` stands for: the target of a link, so that the link itself stays.
std::string resolved(const std::string& file) {
  char* const path = ::realpath(file.c_str(), nullptr);
  if (path == nullptr) return file;
  const std::string target(path);
  std::free(path);
  return target;
}

mode_t modeOfNewFile() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

// Removes a half-written file unless it was renamed.
void replaceFile(const std::string& file, const std::string& text, mode_t mode) {
  std::string beside = file + ".XXXXXX";
  const Descriptor out(::mkstemp(&beside[0]));
  if (out.number < 0) throw failure(file, "write");
  try {
    writeAll(out.number, text, file);
    if (::fchmod(out.number, mode) != 0 || ::fsync(out.number) != 0 ||
        ::rename(beside.c_str(), file.c_str()) != 0) {
      throw failure(file, "write");
    }
  } catch (const FileFailure&) {
    ::unlink(beside.c_str());
    throw;
  }
}

ExitCode exitCodeOf(AMFVerifyStatus status) {
  switch (status) {
    case AMFVerifyStatus::malformed: return kRefused;
    case AMFVerifyStatus::truncated: return kTruncated;
    case AMFVerifyStatus::outOfMemory: return kOutOfMemory;
    default: return kOverLimit;
  }
}

}  // namespace

std::vector<char> readPacket(const std::string& file) {
  if (file == "-") return readAll(STDIN_FILENO, file);
  const Descriptor in(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (in.number < 0) throw failure(file, "read");
  return readAll(in.number, file);
}

void decodePacket(AMFProtocol& protocol, const std::vector<char>& packet,
                  const AMFVerifyLimits& limits) {
  AMFVerifyResult checked;
  const char* const bytes = packet.empty() ? "" : packet.data();
  if (parseVerified(protocol, bytes, packet.size(), limits, &checked) != nullptr) return;
  throw Refusal{exitCodeOf(checked.status), checked.message, checked.offset};
}

void writeText(const std::string& file, const std::string& text) {
  if (file == "-") return writeAll(STDOUT_FILENO, text, "standard output");
  struct stat status {};
  const bool exists = ::stat(file.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) return writeInPlace(file, text);
  replaceFile(resolved(file), text, exists ? status.st_mode & 07777 : modeOfNewFile());
}
