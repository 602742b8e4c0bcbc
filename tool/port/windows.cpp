// SPDX-License-Identifier: Apache-2.0
//
// platform.h for Windows. script/package --windows builds it, and runs it if Wine is installed.
// posix.cpp is its counterpart.
#include "tool/port/platform.h"

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace platform {

// ---- The process, descriptors

void prepareProcess() {
  for (const int number : {kInput, kOutput, kErrors}) ::_setmode(number, _O_BINARY);
}

void useUTC() {
  ::_putenv_s("TZ", "UTC0");
  ::_tzset();
}

void exitByClosedPipe(int status) {
  std::_Exit(status);
}

bool isTerminal(int descriptor) {
  return ::_isatty(descriptor) != 0;
}
bool isWritable(int) {
  return true;  // Windows has no way to ask
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

// The most that one call accepts.
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

// ---- Signals

BlockedSignals::BlockedSignals() : previous(nullptr) {}
BlockedSignals::~BlockedSignals() = default;
void BlockedSignals::unblockOnThisThread() const {}

struct DeferredSignals::Watcher {};
DeferredSignals::DeferredSignals(FairSharedMutex&) {}
DeferredSignals::~DeferredSignals() = default;

// ---- Files

namespace {

Status statusFrom(const struct _stat64& found) {
  Status status;
  status.exists = true;
  status.isRegular = S_ISREG(found.st_mode);
  status.isPipe = S_ISFIFO(found.st_mode);
  status.size = static_cast<unsigned long long>(found.st_size);
  status.mode = static_cast<unsigned>(found.st_mode) & 0777u;
  return status;
}

// The number of a file on its volume, which stat() does not return.
FileIdentity identityOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION found{};
  if (handle == INVALID_HANDLE_VALUE || GetFileInformationByHandle(handle, &found) == 0) return {};
  return {found.dwVolumeSerialNumber,
          static_cast<unsigned long long>(found.nFileIndexHigh) << 32 | found.nFileIndexLow};
}

// Translates the Windows error to errno; returns false.
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

std::size_t fileNameOffset(const std::string& path) {
  return path.find_last_of("/\\:") + 1;  // 0 if there is none
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
  status.exists = true;  // also for a link without a target
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) status.isRegular = false;
  return status;
}

ResolvedPath resolvePath(const std::string& name) {
  ResolvedPath place;
  place.file = name;
  return place;
}

// Two threads may get the same name before either has created its file: the second one tries again.
int createTemporaryFile(const std::string& file, std::string& name) {
  for (;;) {
    name = file.substr(0, fileNameOffset(file)) + kTemporaryName;
    if (::_mktemp_s(&name[0], name.size() + 1) != 0) return -1;
    const int descriptor = createNew(name);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
}
bool createTemporaryFolder(const std::string& folder, std::string& name) {
  do {
    name = folder + "\\" + kTemporaryName;
    if (::_mktemp_s(&name[0], name.size() + 1) != 0) return false;
    if (::_mkdir(name.c_str()) == 0) return true;
  } while (errno == EEXIST);
  return false;
}
void removeFolder(const std::string& folder) {
  ::_rmdir(folder.c_str());
}
int createNew(const std::string& file) {
  return ::_open(file.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
}

unsigned defaultMode() {
  return 0666;
}
bool setMode(int, unsigned) {
  return true;
}
bool isReadOnly(const std::string& file, const Status&) {
  return ::_access(file.c_str(), 2) != 0;
}
bool copyPermissions(int, const std::string&, const Status&) {
  return true;  // permissions are inherited from the directory
}
bool syncToDisk(int descriptor) {
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

}  // namespace platform
