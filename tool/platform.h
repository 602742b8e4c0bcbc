// SPDX-License-Identifier: Apache-2.0
//
// What the program needs of the system beyond ISO C++, but for threads with a stack of a given size
// (own_stack.h). Failures leave their reason in errno.
#ifndef AMF2JSON_TOOL_PLATFORM_H
#define AMF2JSON_TOOL_PLATFORM_H

#include <cstddef>
#include <memory>
#include <string>

#include "tool/gate.h"

namespace platform {

constexpr int kInput = 0;
constexpr int kOutput = 1;
constexpr int kErrors = 2;

// Before anything is opened or written: standard descriptors that are closed stay taken, bytes pass
// unchanged, closed pipes and files that may not grow show as failed writes.
void start();
// No output depends on where it is made.
void useUTC();
// Ends as a program ends that has nobody to write to, with `status` where there is no such way.
[[noreturn]] void endByClosedPipe(int status);

bool isTerminal(int descriptor);
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

// What is there under a name; for a descriptor, what was opened.
struct Status {
  bool exists = false;
  bool isRegular = false;
  unsigned long long size = 0;
  unsigned mode = 0;  // permissions
};
Status statusOf(const std::string& file);
Status statusOf(int descriptor);

// The file that `file` stands for: the target of a link.
std::string targetOf(const std::string& file);
unsigned modeOfNewFile();
// A new file; the last letters XXXXXX of `name` become those that it got.
int makeUnique(std::string& name);
bool setMode(int descriptor, unsigned mode);
// Has the bytes of a file written out.
bool flush(int descriptor);
// Takes the place of a file that has the name.
bool rename(const std::string& from, const std::string& to);
void remove(const std::string& file);

// Ctrl-C and the like wait until the end of the scope.
class SignalsWait {
 public:
  SignalsWait();
  SignalsWait(const SignalsWait&) = delete;
  SignalsWait& operator=(const SignalsWait&) = delete;
  ~SignalsWait();

 private:
  struct Before;
  Before* before;  // owned
};

// While it lives, they end the program only when nobody is in the gate. To be made before the
// threads that enter it. Throws std::system_error where there is no thread to be had.
class SignalsAtGate {
 public:
  explicit SignalsAtGate(Gate& gate);
  SignalsAtGate(const SignalsAtGate&) = delete;
  SignalsAtGate& operator=(const SignalsAtGate&) = delete;
  ~SignalsAtGate();

 private:
  struct Watch;
  std::unique_ptr<Watch> watch;
};

}  // namespace platform

#endif  // AMF2JSON_TOOL_PLATFORM_H
