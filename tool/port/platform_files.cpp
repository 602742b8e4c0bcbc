// SPDX-License-Identifier: Apache-2.0
//
// Files by their names: what a name leads to, how a file is created and replaced. Tested by
// tests/tool_files_test.cpp, on POSIX. script/build-windows builds the other half and runs it.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "tool/port/platform.h"
#include "tool/problem.h"

#ifdef _WIN32
#include <direct.h>
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif
#ifdef __linux__
#include <sys/syscall.h>
#include <sys/xattr.h>
#endif

namespace platform {

namespace {

// Short, so that a name of any length that the system allows can have a file beside it.
constexpr const char* kUniqueName = ".amf2json.XXXXXX";

template <class Stat>
Status statusFrom(const Stat& found) {
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

std::string uniqueBeside(const std::string& file) {
  return file.substr(0, lastPartOf(file)) + kUniqueName;
}

}  // namespace

void remove(const std::string& file) {
  std::remove(file.c_str());
}

#ifdef _WIN32

namespace {

// The number of a file on its volume, which stat does not tell.
FileIdentity identityOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION found{};
  if (handle == INVALID_HANDLE_VALUE || GetFileInformationByHandle(handle, &found) == 0) return {};
  return {found.dwVolumeSerialNumber,
          static_cast<unsigned long long>(found.nFileIndexHigh) << 32 | found.nFileIndexLow};
}

// What strerror words of what Windows calls it.
bool failed() {
  switch (GetLastError()) {
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS: errno = EEXIST; break;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: errno = ENOENT; break;
    default: errno = EACCES;
  }
  return false;
}

}  // namespace

std::size_t lastPartOf(const std::string& path) {
  return path.find_last_of("/\\:") + 1;  // 0 where there is none
}

bool isFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool makeFolder(const std::string& path) {
  if (isFolder(path) || ::_mkdir(path.c_str()) == 0) return true;
  if (errno == EEXIST) errno = ENOTDIR;
  return false;
}

Status statusOf(const std::string& file) {
  struct _stat64 found {};
  if (::_stat64(file.c_str(), &found) != 0) return {};
  Status status = statusFrom(found);
  const HANDLE handle =
      CreateFileA(file.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  status.identity = identityOf(handle);
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  return status;
}

Status statusOf(int descriptor) {
  struct _stat64 found {};
  if (::_fstat64(descriptor, &found) != 0) return {};
  Status status = statusFrom(found);
  status.identity = identityOf(reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)));
  return status;
}

Status statusOfLink(const std::string& file) {
  Status status = statusOf(file);
  const DWORD attributes = GetFileAttributesA(file.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return status;
  status.exists = true;  // also where a link leads nowhere
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) status.isRegular = false;
  return status;
}

Place placeOf(const std::string& name) {
  Place place;
  place.file = name;
  return place;
}

// Two threads may get the same name before either has created its file: the second one tries again.
int makeUniqueBeside(const std::string& file, std::string& name) {
  for (;;) {
    name = uniqueBeside(file);
    if (::_mktemp_s(&name[0], name.size() + 1) != 0) return -1;
    const int descriptor = openNew(name);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
}
bool makeUniqueFolder(const std::string& folder, std::string& name) {
  do {
    name = folder + "\\" + kUniqueName;
    if (::_mktemp_s(&name[0], name.size() + 1) != 0) return false;
    if (::_mkdir(name.c_str()) == 0) return true;
  } while (errno == EEXIST);
  return false;
}
void removeFolder(const std::string& folder) {
  ::_rmdir(folder.c_str());
}
int openNew(const std::string& file) {
  return ::_open(file.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
}

unsigned modeOfNewFile() {
  return 0666;
}
bool setMode(int, unsigned) {
  return true;
}
bool isReadOnly(const std::string& file, const Status&) {
  return ::_access(file.c_str(), 2) != 0;
}
bool takeRights(int, const std::string&, const Status&) {
  return true;  // they follow from the folder
}
bool flush(int descriptor) {
  return ::_commit(descriptor) == 0;
}
bool rename(const std::string& from, const std::string& to) {
  const DWORD attributes = GetFileAttributesA(to.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    SetFileAttributesA(to.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }
  return MoveFileExA(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0 ||
         failed();
}
bool renameNew(const std::string& from, const std::string& to) {
  return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0 || failed();
}

#else

namespace {

constexpr int kMostLinks = 40;

// Empty where there is no such folder.
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

// /proc/PID/fd, /proc/PID/task/TID/fd and, where it is no link to them, /dev/fd: the descriptors of
// this process.
bool holdsOwnDescriptors(const std::string& folder) {
  if (folder == "/dev/fd") return true;
  const std::string own = "/proc/" + std::to_string(::getpid()) + "/";
  const bool endsInFd = folder.size() >= 3 && folder.compare(folder.size() - 3, 3, "/fd") == 0;
  return endsInFd && startsWith(folder, own);
}

// Empty where `path` is no link.
std::string linkTarget(const std::string& path) {
  char target[4096];  // PATH_MAX
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

std::size_t lastPartOf(const std::string& path) {
  return path.rfind('/') + 1;  // 0 where there is none
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

// The links in /proc say what they lead to in words that are no path: they are not read.
Place placeOf(const std::string& name) {
  Place place;
  place.file = name;
  for (int links = 0; links < kMostLinks; ++links) {
    const std::size_t last = lastPartOf(place.file);
    const std::string folder = realPathOf(place.file.substr(0, last));
    const std::string word = place.file.substr(last);
    if (holdsOwnDescriptors(folder) && isNumber(word)) {
      place.descriptor = std::atoi(word.c_str());
      return place;
    }
    const std::string target = linkTarget(place.file);
    if (target.empty()) return place;
    place.isForeign = startsWith(folder, "/proc/");
    if (place.isForeign) return place;
    place.file = target[0] == '/' ? target : place.file.substr(0, last) + target;
  }
  errno = ELOOP;
  throw fileProblem(name, "write");
}

int makeUniqueBeside(const std::string& file, std::string& name) {
  name = uniqueBeside(file);
  return ::mkostemp(&name[0], O_CLOEXEC);
}
bool makeUniqueFolder(const std::string& folder, std::string& name) {
  name = folder + "/" + kUniqueName;
  return ::mkdtemp(&name[0]) != nullptr;
}
void removeFolder(const std::string& folder) {
  ::rmdir(folder.c_str());
}
int openNew(const std::string& file) {
  return ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
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
bool setMode(int descriptor, unsigned mode) {
  return ::fchmod(descriptor, static_cast<mode_t>(mode)) == 0;
}
bool isReadOnly(const std::string& file, const Status& status) {
  return (status.mode & 0222u) == 0 || ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) != 0;
}

namespace {

// False where the new file cannot get the access control list of the old one.
bool takeList(int descriptor, const std::string& file) {
#ifdef __linux__
  constexpr const char* kList = "system.posix_acl_access";
  char list[65536];  // as large as an attribute may be
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

// The permissions of the class to the right of `from` may be no more than those of `from`.
unsigned narrowed(unsigned mode, unsigned from, unsigned to) {
  const unsigned most = mode >> from & 7u;
  return mode & ~((7u & ~most) << to);
}

}  // namespace

// Whoever was the owner, or in the group, may get the permissions of the classes further down.
bool takeRights(int descriptor, const std::string& file, const Status& old) {
  const Status now = statusOf(descriptor);
  constexpr auto kSame = static_cast<uid_t>(-1);
  const bool hasGroup =
      now.group == old.group || ::fchown(descriptor, kSame, static_cast<gid_t>(old.group)) == 0;
  const bool hasOwner =
      now.owner == old.owner || ::fchown(descriptor, static_cast<uid_t>(old.owner), kSame) == 0;
  unsigned mode = old.mode & 0777u;
  if (!hasOwner) mode = narrowed(narrowed(mode, 6, 3), 6, 0);
  if (!hasGroup) mode = narrowed(narrowed(mode, 3, 0), 0, 3);
  if (!takeList(descriptor, file)) mode &= 0700u;
  return setMode(descriptor, mode);
}

bool flush(int descriptor) {
  return ::fsync(descriptor) == 0;
}
bool rename(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}
// A file system without the one call may have the other.
bool renameNew(const std::string& from, const std::string& to) {
#ifdef SYS_renameat2
  constexpr unsigned kNoReplace = 1;
  if (::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), kNoReplace) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  if (::link(from.c_str(), to.c_str()) != 0) return false;
  remove(from);
  return true;
}

#endif

}  // namespace platform
