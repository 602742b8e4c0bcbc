// SPDX-License-Identifier: Apache-2.0
//
// Threads with a given stack size. Reading, copying, rendering, writing and deleting a tree are
// recursive, and the stack of the main thread may be small.
#ifndef AMF2JSON_TOOL_PORT_STACK_THREAD_H
#define AMF2JSON_TOOL_PORT_STACK_THREAD_H

#include <pthread.h>

#include <cstdint>
#include <functional>

// The nesting depth of objects and arrays that the stack of every worker thread is large enough
// for.
constexpr std::uint32_t kWorkerDepth = 64;

// A thread whose stack is large enough for trees of the given depth; joined at the end of the
// scope. The function must not throw.
class StackThread {
 public:
  StackThread(std::uint32_t depth, std::function<void()> function);
  StackThread(const StackThread&) = delete;
  StackThread& operator=(const StackThread&) = delete;
  ~StackThread();

  // False if the thread could not be created; then nothing runs.
  bool isRunning() const { return running; }
  pthread_t handle() const { return thread; }

 private:
  static void* enter(void* self);

  std::function<void()> work;
  pthread_t thread{};
  bool running = false;
};

// Runs `work` on a stack that is large enough for trees of this depth: on the calling worker thread
// if possible, else on a new thread. Rethrows exceptions. Throws Problem (kOutOfMemory) if the
// thread cannot be created.
void runWithStackFor(std::uint32_t depth, const std::function<void()>& work);

#endif  // AMF2JSON_TOOL_PORT_STACK_THREAD_H
