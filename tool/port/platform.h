// SPDX-License-Identifier: Apache-2.0
//
// What the program needs of the system beyond ISO C++, but for threads with a stack of a given size
// (own_stack.h). posix.cpp or windows.cpp has it. Failures leave their reason in errno.
#ifndef AMF2JSON_TOOL_PORT_PLATFORM_H
#define AMF2JSON_TOOL_PORT_PLATFORM_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>

// Work that several threads may do at once, until one wants to be sure that nobody is at it. Both
// calls wait for their turn; it ends with what they return.
class FairSharedMutex {
 public:
  std::shared_lock<std::shared_mutex> lockShared() {
    const std::lock_guard<std::mutex> turn(door);
    return std::shared_lock<std::shared_mutex>(inside);
  }
  std::unique_lock<std::shared_mutex> lockExclusive() {
    const std::lock_guard<std::mutex> turn(door);
    return std::unique_lock<std::shared_mutex>(inside);
  }

 private:
  std::mutex door;  // so that who wants to be alone is not passed by others for ever
  std::shared_mutex inside;
};

namespace platform {

constexpr int kInput = 0;
constexpr int kOutput = 1;
constexpr int kErrors = 2;

// Before anything is opened or written: standard descriptors that are closed stay taken, bytes pass
// unchanged, closed pipes and files that may not grow show as failed writes.
void prepareProcess();
// No output depends on where it is made.
void useUTC();
// Ends as a program ends that has nobody to write to, with `status` where there is no such way.
[[noreturn]] void exitByClosedPipe(int status);

bool isTerminal(int descriptor);
// Whether it was opened for writing.
bool isWritable(int descriptor);
bool isFolder(const std::string& path);
// True as well when it was there.
bool makeFolder(const std::string& path);

// Descriptors, -1 for failures.
int openToRead(const std::string& file);
int openToWrite(const std::string& file);
bool close(int descriptor);
// Bytes read or written, 0 at the end of the input, -1 for failures.
std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count);
std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count);

// Two names of one file have the same.
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

// What is there under a name; for a descriptor, what was opened.
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
// Of a link itself.
Status statusOfLink(const std::string& file);

// Where bytes for a name go. Links are followed, also one whose target does not exist.
struct ResolvedPath {
  std::string file;
  int descriptor = -1;               // of this process, where the name leads to one
  bool isForeignDescriptor = false;  // a descriptor of another process: no file to be replaced
};
// Throws Problem where links lead round in a circle.
ResolvedPath resolvePath(const std::string& name);

// Where the last part of a path begins.
std::size_t fileNameOffset(const std::string& path);
// Short, so that a name of any length that the system allows can have a file beside it.
constexpr const char* kTemporaryName = ".amf2json.XXXXXX";
// A new file, and a new folder, in the same folder as `file`; `name` is set.
int createTemporaryFile(const std::string& file, std::string& name);
bool createTemporaryFolder(const std::string& folder, std::string& name);
void removeFolder(const std::string& folder);
// -1 where the name is taken.
int createNew(const std::string& file);

unsigned defaultMode();
bool setMode(int descriptor, unsigned mode);
// Whether the permissions of a file allow to write to it; for root as well, who needs none.
bool isReadOnly(const std::string& file, const Status& status);
// Gives a new file the owner, group and permissions of `file`, which it is to replace. What the
// process may not keep makes the permissions fewer: nobody gets more than before. Never a bit that
// makes a program run as somebody else.
bool copyPermissions(int descriptor, const std::string& file, const Status& old);
// Has the bytes of a file written out.
bool syncToDisk(int descriptor);
// Takes the place of a file that has the name, in one step.
bool rename(const std::string& from, const std::string& to);
// Fails where the name is taken.
bool renameNew(const std::string& from, const std::string& to);

// Ctrl-C and the like wait until the end of the scope.
class BlockedSignals {
 public:
  BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals();
  // The calling thread takes them as the one did that made this.
  void unblockOnThisThread() const;

 private:
  struct PreviousMask;
  PreviousMask* previous;  // owned
};

// While it lives, they end the program only when nobody is in the gate. To be made before the
// threads that enter it. Throws std::system_error where there is no thread to be had.
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

// An open file, closed at the end of its scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  // False where bytes written before got lost.
  bool close() {
    const int open = number;
    number = -1;
    return open < 0 || platform::close(open);
  }
  int number;
};

#endif  // AMF2JSON_TOOL_PORT_PLATFORM_H
