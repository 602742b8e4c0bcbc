// SPDX-License-Identifier: Apache-2.0
#include "tool/output.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tool/descriptor.h"
#include "tool/problem.h"

namespace {

void writeAll(int descriptor, std::string_view text, const std::string& file) {
  while (!text.empty()) {
    const ssize_t put = ::write(descriptor, text.data(), text.size());
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
  const Descriptor out(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
  if (out.number < 0) throw fileProblem(file, "write");
  writeAll(out.number, text, file);
}

// The file that `file` stands for: the target of a link, so that the link itself stays.
std::string targetOf(const std::string& file) {
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

// Ctrl-C and the like wait until the file has its name: nothing is left beside it.
class SignalsWait {
 public:
  SignalsWait() {
    sigset_t waiting;
    sigemptyset(&waiting);
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&waiting, number);
    pthread_sigmask(SIG_BLOCK, &waiting, &before);
  }
  SignalsWait(const SignalsWait&) = delete;
  SignalsWait& operator=(const SignalsWait&) = delete;
  ~SignalsWait() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before;
};

// A name for a file until it is complete; removed unless it was renamed.
struct Beside {
  explicit Beside(const std::string& file) : name(file + ".XXXXXX"), opened(::mkstemp(&name[0])) {}
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  ~Beside() {
    if (opened.number >= 0 && !isRenamed) ::unlink(name.c_str());
  }
  std::string name;
  Descriptor opened;
  bool isRenamed = false;
};

void replaceFile(const std::string& file, std::string_view text, mode_t mode) {
  const SignalsWait signalsWait;
  const std::string target = targetOf(file);
  Beside beside(target);
  const int out = beside.opened.number;
  if (out < 0) throw fileProblem(file, "write");
  writeAll(out, text, file);
  if (::fchmod(out, mode) != 0 || ::fsync(out) != 0 ||
      ::rename(beside.name.c_str(), target.c_str()) != 0) {
    throw fileProblem(file, "write");
  }
  beside.isRenamed = true;
}

}  // namespace

void writeOutput(std::string_view text) {
  writeAll(STDOUT_FILENO, text, "standard output");
}

void writeFile(const std::string& file, std::string_view text) {
  if (file == "-") return writeOutput(text);
  struct stat status {};
  const bool exists = ::stat(file.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) return writeInPlace(file, text);
  replaceFile(file, text, exists ? status.st_mode & 07777 : modeOfNewFile());
}
