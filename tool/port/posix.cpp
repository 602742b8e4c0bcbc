// SPDX-License-Identifier: Apache-2.0
//
// platform.h for POSIX systems: process, descriptors, signals, files. Tested by
// tests/tool/files_test.cpp. windows.cpp is its counterpart.
#include "tool/port/platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <system_error>

#include "tool/port/stack_thread.h"
#include "tool/problem.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif
#ifdef __linux__
#include <sys/syscall.h>
#include <sys/xattr.h>
#endif

namespace platform {

// ---- The process, descriptors

namespace {

// Every packet gets a new protocol object with buffers of megabytes. Freed memory stays in the
// process, because getting it from the system again costs more than decoding most packets.
void keepFreedMemory() {
#ifdef __GLIBC__
  constexpr int kMegabyte = 1 << 20;
  ::mallopt(M_MMAP_THRESHOLD, 32 * kMegabyte);
  ::mallopt(M_TRIM_THRESHOLD, 64 * kMegabyte);
  ::mallopt(M_TOP_PAD, 4 * kMegabyte);
#endif
}

}  // namespace

void prepareProcess() {
  keepFreedMemory();
  // Descriptors 0 to 2 must not be closed: a file opened later would get the number, and messages
  // would be written into it. The null device is opened so that reading from closed input and
  // writing to closed output still fail.
  for (const int number : {kInput, kOutput, kErrors}) {
    const int flags = number == kOutput ? O_RDONLY : O_WRONLY;
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", flags);
  }
  std::signal(SIGPIPE, SIG_IGN);  // writing to a closed pipe then fails with EPIPE
  std::signal(SIGXFSZ, SIG_IGN);  // exceeding the file size limit then fails with EFBIG
}

void useUTC() {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
}

void exitByClosedPipe(int status) {
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  std::_Exit(status);  // reached only if SIGPIPE is blocked
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

// ---- Signals

namespace {

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&signals, number);
  return signals;
}

// Lets the signal, which is blocked on this thread, have its default effect.
void raiseDefault(int number) {
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, number);
  pthread_kill(pthread_self(), number);
  pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
  pthread_sigmask(SIG_BLOCK, &one, nullptr);
}

}  // namespace

struct BlockedSignals::PreviousMask {
  sigset_t signals;
};
BlockedSignals::BlockedSignals() : previous(new PreviousMask) {
  const sigset_t waiting = endingSignals();
  pthread_sigmask(SIG_BLOCK, &waiting, &previous->signals);
}
BlockedSignals::~BlockedSignals() {
  unblockOnThisThread();
  delete previous;
}
void BlockedSignals::unblockOnThisThread() const {
  pthread_sigmask(SIG_SETMASK, &previous->signals, nullptr);
}

// One thread waits for the signals. They are blocked on all other threads.
struct DeferredSignals::Watcher {
  explicit Watcher(FairSharedMutex& watched) : mutex(watched), thread(0, [this] { run(); }) {
    if (!thread.isRunning()) throw std::system_error(EAGAIN, std::generic_category());
  }
  ~Watcher() {
    isOver = true;
    pthread_kill(thread.handle(),
                 SIGTERM);  // delivered before signals that are sent to the process
  }
  void run() {
    const sigset_t signals = endingSignals();
    for (int number = 0; sigwait(&signals, &number) == 0 && !isOver;) {
      const auto lock = mutex.lockExclusive();
      raiseDefault(number);
    }
  }

  const BlockedSignals signalsWait;
  FairSharedMutex& mutex;
  std::atomic<bool> isOver{false};
  const StackThread thread;  // joined first
};
DeferredSignals::DeferredSignals(FairSharedMutex& mutex)
    : watcher(std::make_unique<Watcher>(mutex)) {}
DeferredSignals::~DeferredSignals() = default;

// ---- Files

namespace {

constexpr int kMaxLinks = 40;

Status statusFrom(const struct stat& found) {
  Status status;
  status.exists = true;
  status.isRegular = S_ISREG(found.st_mode);
  status.isPipe = S_ISFIFO(found.st_mode);
  status.size = static_cast<unsigned long long>(found.st_size);
  status.mode = static_cast<unsigned>(found.st_mode) & 0777u;
  status.owner = static_cast<unsigned>(found.st_uid);
  status.group = static_cast<unsigned>(found.st_gid);
  status.identity.device = static_cast<unsigned long long>(found.st_dev);
  status.identity.file = static_cast<unsigned long long>(found.st_ino);
  return status;
}

// Returns an empty path if the directory does not exist.
std::string realPathOf(const std::string& folder) {
  char* const path = ::realpath(folder.empty() ? "." : folder.c_str(), nullptr);
  if (path == nullptr) return {};
  const std::string real(path);
  std::free(path);
  return real;
}

bool isNumber(const std::string& word) {
  return !word.empty() && word.size() < 10 &&
         word.find_first_not_of("0123456789") == std::string::npos;
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// Whether a directory lists the descriptors of this process: /proc/PID/fd, /proc/PID/task/TID/fd,
// and /dev/fd if it is not a link to one of them.
bool holdsOwnDescriptors(const std::string& folder) {
  if (folder == "/dev/fd") return true;
  const std::string own = "/proc/" + std::to_string(::getpid()) + "/";
  const bool endsInFd = folder.size() >= 3 && folder.compare(folder.size() - 3, 3, "/fd") == 0;
  return endsInFd && startsWith(folder, own);
}

// Returns an empty path if `path` is not a link.
std::string linkTarget(const std::string& path) {
  char target[4096];  // PATH_MAX
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

std::size_t fileNameOffset(const std::string& path) {
  return path.rfind('/') + 1;  // 0 if there is none
}

bool isFolder(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

bool makeFolder(const std::string& path) {
  if (isFolder(path) || ::mkdir(path.c_str(), 0777) == 0) return true;
  if (errno == EEXIST) errno = ENOTDIR;
  return false;
}

Status statusOf(const std::string& file) {
  struct stat found {};
  return ::stat(file.c_str(), &found) == 0 ? statusFrom(found) : Status();
}
Status statusOf(int descriptor) {
  struct stat found {};
  return ::fstat(descriptor, &found) == 0 ? statusFrom(found) : Status();
}
Status statusOfLink(const std::string& file) {
  struct stat found {};
  return ::lstat(file.c_str(), &found) == 0 ? statusFrom(found) : Status();
}

// Links in /proc are not followed: their text is not always a path.
ResolvedPath resolvePath(const std::string& name) {
  ResolvedPath place;
  place.file = name;
  for (int links = 0; links < kMaxLinks; ++links) {
    const std::size_t last = fileNameOffset(place.file);
    const std::string folder = realPathOf(place.file.substr(0, last));
    const std::string word = place.file.substr(last);
    if (holdsOwnDescriptors(folder) && isNumber(word)) {
      place.descriptor = std::atoi(word.c_str());
      return place;
    }
    const std::string target = linkTarget(place.file);
    if (target.empty()) return place;
    place.isForeignDescriptor = startsWith(folder, "/proc/");
    if (place.isForeignDescriptor) return place;
    place.file = target[0] == '/' ? target : place.file.substr(0, last) + target;
  }
  errno = ELOOP;
  throw fileProblem(name, "write");
}

int createTemporaryFile(const std::string& file, std::string& name) {
  name = file.substr(0, fileNameOffset(file)) + kTemporaryName;
  return ::mkostemp(&name[0], O_CLOEXEC);
}
bool createTemporaryFolder(const std::string& folder, std::string& name) {
  name = folder + "/" + kTemporaryName;
  return ::mkdtemp(&name[0]) != nullptr;
}
void removeFolder(const std::string& folder) {
  ::rmdir(folder.c_str());
}
int createNew(const std::string& file) {
  return ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
}

unsigned defaultMode() {
  // Read once: reading sets the mask for a moment, which other threads must not see.
  static const mode_t mask = [] {
    const mode_t previous = ::umask(0);
    ::umask(previous);
    return previous;
  }();
  return 0666u & ~static_cast<unsigned>(mask);
}
bool setMode(int descriptor, unsigned mode) {
  return ::fchmod(descriptor, static_cast<mode_t>(mode)) == 0;
}
bool isReadOnly(const std::string& file, const Status& status) {
  return (status.mode & 0222u) == 0 || ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) != 0;
}

namespace {

// False if the access control list cannot be copied.
bool copyAccessList(int descriptor, const std::string& file) {
#ifdef __linux__
  constexpr const char* kList = "system.posix_acl_access";
  char list[65536];  // the largest possible attribute
  const ssize_t size = ::getxattr(file.c_str(), kList, list, sizeof list);
  if (size > 0) {
    return ::fsetxattr(descriptor, kList, list, static_cast<std::size_t>(size), 0) == 0;
  }
  return ::fremovexattr(descriptor, kList) == 0 || errno == ENODATA || errno == ENOTSUP;
#else
  static_cast<void>(descriptor);
  static_cast<void>(file);
  return true;
#endif
}

// Limits the permissions of one class (shifted by `to`) to those of another (shifted by `from`).
unsigned narrowed(unsigned mode, unsigned from, unsigned to) {
  const unsigned most = mode >> from & 7u;
  return mode & ~((7u & ~most) << to);
}

}  // namespace

// A user who was the owner, or in the group, may now belong to a lower class.
bool copyPermissions(int descriptor, const std::string& file, const Status& old) {
  const Status now = statusOf(descriptor);
  constexpr auto kSame = static_cast<uid_t>(-1);
  const bool hasGroup =
      now.group == old.group || ::fchown(descriptor, kSame, static_cast<gid_t>(old.group)) == 0;
  const bool hasOwner =
      now.owner == old.owner || ::fchown(descriptor, static_cast<uid_t>(old.owner), kSame) == 0;
  unsigned mode = old.mode & 0777u;
  if (!hasOwner) mode = narrowed(narrowed(mode, 6, 3), 6, 0);
  if (!hasGroup) mode = narrowed(narrowed(mode, 3, 0), 0, 3);
  if (!copyAccessList(descriptor, file)) mode &= 0700u;
  return setMode(descriptor, mode);
}

bool syncToDisk(int descriptor) {
  return ::fsync(descriptor) == 0;
}
bool rename(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}
// Not every file system has renameat2; link() is the fallback.
bool renameNew(const std::string& from, const std::string& to) {
#ifdef SYS_renameat2
  constexpr unsigned kNoReplace = 1;
  if (::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), kNoReplace) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  if (::link(from.c_str(), to.c_str()) != 0) return false;
  std::remove(from.c_str());
  return true;
}

}  // namespace platform
