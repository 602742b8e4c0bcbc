// SPDX-License-Identifier: Apache-2.0
//
// Processes, descriptors and signals; files by their names are in platform_files.cpp. Tested by
// tests/tool_files_test.cpp, on POSIX. script/build-windows builds the other half.
#include "tool/port/platform.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <system_error>

#include "tool/port/own_stack.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace platform {

namespace {

// A protocol object holds texts of megabytes, and each packet gets a fresh one: their memory stays
// with the program, since having it from the system anew costs more than decoding most packets.
void keepFreedMemory() {
#ifdef __GLIBC__
  constexpr int kMegabyte = 1 << 20;
  ::mallopt(M_MMAP_THRESHOLD, 32 * kMegabyte);
  ::mallopt(M_TRIM_THRESHOLD, 64 * kMegabyte);
  ::mallopt(M_TOP_PAD, 4 * kMegabyte);
#endif
}

}  // namespace

#ifdef _WIN32

void start() {
  keepFreedMemory();
  for (const int number : {kInput, kOutput, kErrors}) ::_setmode(number, _O_BINARY);
}

void useUTC() {
  ::_putenv_s("TZ", "UTC0");
  ::_tzset();
}

void endByClosedPipe(int status) {
  std::_Exit(status);
}

bool isTerminal(int descriptor) {
  return ::_isatty(descriptor) != 0;
}
bool isWritable(int) {
  return true;  // not to be asked
}

int openToRead(const std::string& file) {
  return ::_open(file.c_str(), _O_RDONLY | _O_BINARY);
}
int openToWrite(const std::string& file) {
  return ::_open(file.c_str(), _O_WRONLY | _O_APPEND | _O_BINARY);
}
bool close(int descriptor) {
  return ::_close(descriptor) == 0;
}

namespace {

// The largest piece that one call takes.
unsigned pieceOf(std::size_t count) {
  return static_cast<unsigned>(count < 0x40000000u ? count : 0x40000000u);
}

}  // namespace

std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count) {
  return ::_read(descriptor, bytes, pieceOf(count));
}
std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count) {
  return ::_write(descriptor, bytes, pieceOf(count));
}

SignalsWait::SignalsWait() : before(nullptr) {}
SignalsWait::~SignalsWait() = default;
void SignalsWait::endOnThisThread() const {}

struct SignalsAtGate::Watch {};
SignalsAtGate::SignalsAtGate(Gate&) {}
SignalsAtGate::~SignalsAtGate() = default;

#else

void start() {
  keepFreedMemory();
  // Numbers 0 to 2 are taken: no file that is opened later gets in the place of a closed one, where
  // messages would be written into it. Reading from what was closed, and writing to it, still
  // fails.
  for (const int number : {kInput, kOutput, kErrors}) {
    const int flags = number == kOutput ? O_RDONLY : O_WRONLY;
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", flags);
  }
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe then shows as a failed write,
  std::signal(SIGXFSZ, SIG_IGN);  // and so does a file that may not grow
}

void useUTC() {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
}

void endByClosedPipe(int status) {
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  std::_Exit(status);  // only where SIGPIPE is blocked
}

bool isTerminal(int descriptor) {
  return ::isatty(descriptor) == 1;
}
bool isWritable(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

int openToRead(const std::string& file) {
  return ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
}
int openToWrite(const std::string& file) {
  return ::open(file.c_str(), O_WRONLY | O_APPEND | O_NOCTTY | O_CLOEXEC);
}
bool close(int descriptor) {
  return ::close(descriptor) == 0;
}

std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count) {
  return ::read(descriptor, bytes, count);
}
std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count) {
  return ::write(descriptor, bytes, count);
}

namespace {

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&signals, number);
  return signals;
}

// What the signal does by itself. It waits on the calling thread.
void pass(int number) {
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, number);
  pthread_kill(pthread_self(), number);
  pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
  pthread_sigmask(SIG_BLOCK, &one, nullptr);
}

}  // namespace

struct SignalsWait::Before {
  sigset_t signals;
};
SignalsWait::SignalsWait() : before(new Before) {
  const sigset_t waiting = endingSignals();
  pthread_sigmask(SIG_BLOCK, &waiting, &before->signals);
}
SignalsWait::~SignalsWait() {
  endOnThisThread();
  delete before;
}
void SignalsWait::endOnThisThread() const {
  pthread_sigmask(SIG_SETMASK, &before->signals, nullptr);
}

// A thread takes the signals; all others have them wait.
struct SignalsAtGate::Watch {
  explicit Watch(Gate& watched) : gate(watched), thread(0, [this] { run(); }) {
    if (!thread.isRunning()) throw std::system_error(EAGAIN, std::generic_category());
  }
  ~Watch() {
    isOver = true;
    pthread_kill(thread.handle(), SIGTERM);  // seen before any that the process gets
  }
  void run() {
    const sigset_t signals = endingSignals();
    for (int number = 0; sigwait(&signals, &number) == 0 && !isOver;) {
      const auto alone = gate.enterAlone();
      pass(number);
    }
  }

  const SignalsWait signalsWait;
  Gate& gate;
  std::atomic<bool> isOver{false};
  const OwnStackThread thread;  // joined first
};
SignalsAtGate::SignalsAtGate(Gate& gate) : watch(std::make_unique<Watch>(gate)) {}
SignalsAtGate::~SignalsAtGate() = default;

#endif

}  // namespace platform
