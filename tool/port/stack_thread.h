// SPDX-License-Identifier: Apache-2.0
//
// Threads with a stack of a known size. Reading, copying, showing, writing and deleting a tree all
// recurse along it, and the stack that the program was started with may be small.
#ifndef AMF2JSON_TOOL_PORT_STACK_THREAD_H
#define AMF2JSON_TOOL_PORT_STACK_THREAD_H

#include <pthread.h>

#include <cstdint>
#include <functional>

// Objects and arrays inside one another that every worker thread has stack for.
constexpr std::uint32_t kWorkerDepth = 64;

// A thread with stack for a tree of so many levels, joined at the end of the scope. The work must
// not throw.
class StackThread {
 public:
  StackThread(std::uint32_t levels, std::function<void()> wanted);
  StackThread(const StackThread&) = delete;
  StackThread& operator=(const StackThread&) = delete;
  ~StackThread();

  // False where the system has no thread or no stack of that size to give: nothing runs then.
  bool isRunning() const { return running; }
  pthread_t handle() const { return thread; }

 private:
  static void* enter(void* self);

  std::function<void()> work;
  pthread_t thread{};
  bool running = false;
};

// Runs `work` on a stack for `levels`: here, on a worker thread, if that is enough, else on a
// thread of its own. Exceptions come back from it. Throws Problem (kOutOfMemory) where that stack
// cannot be had.
void runWithStackFor(std::uint32_t levels, const std::function<void()>& work);

#endif  // AMF2JSON_TOOL_PORT_STACK_THREAD_H
