// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_files_test.cpp, on POSIX. script/build-windows builds the other half.
#include "tool/platform.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>

#ifdef _WIN32
#include <direct.h>
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

template <class Stat>
Status statusFrom(const Stat& found) {
  Status status;
  status.exists = true;
  status.isRegular = S_ISREG(found.st_mode);
  status.size = static_cast<unsigned long long>(found.st_size);
  status.mode = static_cast<unsigned>(found.st_mode) & 07777u;
  return status;
}

}  // namespace

bool makeFolder(const std::string& path) {
#ifdef _WIN32
  if (isFolder(path) || ::_mkdir(path.c_str()) == 0) return true;
#else
  if (isFolder(path) || ::mkdir(path.c_str(), 0777) == 0) return true;
#endif
  if (errno == EEXIST) errno = ENOTDIR;
  return false;
}

void remove(const std::string& file) {
  std::remove(file.c_str());
}

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

bool isFolder(const std::string& path) {
  struct _stat64 found {};
  return ::_stat64(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

int openToRead(const std::string& file) {
  return ::_open(file.c_str(), _O_RDONLY | _O_BINARY);
}
int openToWrite(const std::string& file) {
  return ::_open(file.c_str(), _O_WRONLY | _O_BINARY);
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

Status statusOf(const std::string& file) {
  struct _stat64 found {};
  return ::_stat64(file.c_str(), &found) == 0 ? statusFrom(found) : Status();
}
Status statusOf(int descriptor) {
  struct _stat64 found {};
  return ::_fstat64(descriptor, &found) == 0 ? statusFrom(found) : Status();
}

std::string targetOf(const std::string& file) {
  return file;
}
unsigned modeOfNewFile() {
  return 0666;
}
int makeUnique(std::string& name) {
  if (::_mktemp_s(&name[0], name.size() + 1) != 0) return -1;
  return ::_open(name.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
}
bool setMode(int, unsigned) {
  return true;
}
bool flush(int descriptor) {
  return ::_commit(descriptor) == 0;
}
bool rename(const std::string& from, const std::string& to) {
  std::remove(to.c_str());  // here no file takes the place of another
  return std::rename(from.c_str(), to.c_str()) == 0;
}

SignalsWait::SignalsWait() : before(nullptr) {}
SignalsWait::~SignalsWait() = default;

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

bool isFolder(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

int openToRead(const std::string& file) {
  return ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
}
int openToWrite(const std::string& file) {
  return ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
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

Status statusOf(const std::string& file) {
  struct stat found {};
  return ::stat(file.c_str(), &found) == 0 ? statusFrom(found) : Status();
}
Status statusOf(int descriptor) {
  struct stat found {};
  return ::fstat(descriptor, &found) == 0 ? statusFrom(found) : Status();
}

std::string targetOf(const std::string& file) {
  char* const path = ::realpath(file.c_str(), nullptr);
  if (path == nullptr) return file;
  const std::string target(path);
  std::free(path);
  return target;
}
unsigned modeOfNewFile() {
  // Once: no other thread may see what the mask is in between.
  static const mode_t mask = [] {
    const mode_t before = ::umask(0);
    ::umask(before);
    return before;
  }();
  return 0666u & ~static_cast<unsigned>(mask);
}
int makeUnique(std::string& name) {
  return ::mkstemp(&name[0]);
}
bool setMode(int descriptor, unsigned mode) {
  return ::fchmod(descriptor, static_cast<mode_t>(mode)) == 0;
}
bool flush(int descriptor) {
  return ::fsync(descriptor) == 0;
}
bool rename(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
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
  pthread_sigmask(SIG_SETMASK, &before->signals, nullptr);
  delete before;
}

// A thread takes the signals; all others have them wait.
struct SignalsAtGate::Watch {
  explicit Watch(Gate& watched) : gate(watched), thread([this] { run(); }) {}
  ~Watch() {
    isOver = true;
    pthread_kill(thread.native_handle(), SIGTERM);  // seen before any that the process gets
    thread.join();
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
  std::thread thread;
};
SignalsAtGate::SignalsAtGate(Gate& gate) : watch(std::make_unique<Watch>(gate)) {}
SignalsAtGate::~SignalsAtGate() = default;

#endif

}  // namespace platform
