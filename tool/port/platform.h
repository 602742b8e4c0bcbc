// SPDX-License-Identifier: Apache-2.0
//
// System calls that ISO C++ does not have. CMake builds posix.cpp or windows.cpp. Threads with a
// given stack size are in stack_thread.h. Functions that fail set errno.
#ifndef AMF2JSON_TOOL_PORT_PLATFORM_H
#define AMF2JSON_TOOL_PORT_PLATFORM_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>

// A shared mutex for which readers cannot starve a writer: while one waits for the exclusive lock,
// later calls wait too. A lock ends with the returned object.
class FairSharedMutex {
 public:
  std::shared_lock<std::shared_mutex> lockShared() {
    const std::lock_guard<std::mutex> lock(entry);
    return std::shared_lock<std::shared_mutex>(inside);
  }
  std::unique_lock<std::shared_mutex> lockExclusive() {
    const std::lock_guard<std::mutex> lock(entry);
    return std::unique_lock<std::shared_mutex>(inside);
  }

 private:
  std::mutex entry;  // held while waiting, so that later calls cannot overtake
  std::shared_mutex inside;
};

namespace platform {

constexpr int kInput = 0;
constexpr int kOutput = 1;
constexpr int kErrors = 2;

// Prepares the process; called before any file is opened or written. Closed standard descriptors
// are opened on the null device, streams are binary, and a closed pipe or a file size limit becomes
// a failed write instead of a signal.
void prepareProcess();
// Sets the time zone to UTC, so that output does not depend on the machine.
void useUTC();
// Ends the process by SIGPIPE, or with `status` on systems without that signal.
[[noreturn]] void exitByClosedPipe(int status);

bool isTerminal(int descriptor);
// Whether the descriptor is open for writing.
bool isWritable(int descriptor);
bool isFolder(const std::string& path);
// Also true if the directory exists already.
bool makeFolder(const std::string& path);

// Return a descriptor, -1 for failure.
int openToRead(const std::string& file);
int openToWrite(const std::string& file);
bool close(int descriptor);
// Return the number of bytes, 0 at the end of the input, -1 for failure.
std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count);
std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count);

// Identifies a file: equal for all names of the same file.
struct FileIdentity {
  unsigned long long device = 0;
  unsigned long long file = 0;
};
inline bool operator<(const FileIdentity& a, const FileIdentity& b) {
  return a.device != b.device ? a.device < b.device : a.file < b.file;
}
inline bool operator==(const FileIdentity& a, const FileIdentity& b) {
  return a.device == b.device && a.file == b.file;
}

// The status of a file or of an open descriptor.
struct Status {
  bool exists = false;
  bool isRegular = false;
  bool isPipe = false;
  unsigned long long size = 0;
  unsigned mode = 0;  // permissions
  unsigned owner = 0;
  unsigned group = 0;
  FileIdentity identity;
};
Status statusOf(const std::string& file);
Status statusOf(int descriptor);
// Does not follow a link.
Status statusOfLink(const std::string& file);

// The file or descriptor that a name leads to. Links are followed, even if the target does not
// exist.
struct ResolvedPath {
  std::string file;
  int descriptor = -1;               // if the name leads to a descriptor of this process; else -1
  bool isForeignDescriptor = false;  // a descriptor of another process: must not be replaced
};
// Throws Problem for a cycle of links.
ResolvedPath resolvePath(const std::string& name);

// The offset of the last component of a path.
std::size_t fileNameOffset(const std::string& path);
// The name of temporary files. It is short, so that it fits wherever the name of the output fits.
constexpr const char* kTemporaryName = ".amf2json.XXXXXX";
// Create a file in the directory of `file`, and a subdirectory of `folder`. They set `name`.
int createTemporaryFile(const std::string& file, std::string& name);
bool createTemporaryFolder(const std::string& folder, std::string& name);
void removeFolder(const std::string& folder);
// Returns -1 if the name is taken.
int createNew(const std::string& file);

unsigned defaultMode();
bool setMode(int descriptor, unsigned mode);
// Whether the permissions forbid writing to a file; root is not exempt.
bool isReadOnly(const std::string& file, const Status& status);
// Copies owner, group and permissions of `file`, which the new file will replace. If the owner or
// group cannot be set, permissions are removed, so that nobody gets more access than before.
// Set-user-ID and set-group-ID bits are never copied.
bool copyPermissions(int descriptor, const std::string& file, const Status& old);
// Flushes the file to the disk.
bool syncToDisk(int descriptor);
// Atomic rename; replaces an existing file.
bool rename(const std::string& from, const std::string& to);
// Rename that fails if the name is taken.
bool renameNew(const std::string& from, const std::string& to);

// Blocks the signals that end the program (Ctrl-C and others) until the end of the scope.
class BlockedSignals {
 public:
  BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals();
  // Restores the previous signal mask on the calling thread.
  void unblockOnThisThread() const;

 private:
  struct PreviousMask;
  PreviousMask* previous;  // owned
};

// While it exists, a signal that ends the program takes effect only while nobody holds the mutex.
// Must be created before the threads that lock the mutex. Throws std::system_error if no thread can
// be created.
class DeferredSignals {
 public:
  explicit DeferredSignals(FairSharedMutex& mutex);
  DeferredSignals(const DeferredSignals&) = delete;
  DeferredSignals& operator=(const DeferredSignals&) = delete;
  ~DeferredSignals();

 private:
  struct Watcher;
  std::unique_ptr<Watcher> watcher;
};

}  // namespace platform

// An open descriptor, closed at the end of the scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  // False if bytes written earlier were lost.
  bool close() {
    const int open = number;
    number = -1;
    return open < 0 || platform::close(open);
  }
  int number;
};

#endif  // AMF2JSON_TOOL_PORT_PLATFORM_H
