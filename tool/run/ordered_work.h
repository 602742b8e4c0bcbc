// SPDX-License-Identifier: Apache-2.0
//
// A thread pool that returns the results in order. Tested by tests/tool/ordered_work_test.cpp.
#ifndef AMF2JSON_TOOL_RUN_ORDERED_WORK_H
#define AMF2JSON_TOOL_RUN_ORDERED_WORK_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "tool/port/stack_thread.h"
#include "tool/problem.h"

// Worker threads call `make` for 0 to `count` - 1; the calling thread takes the results in that
// order. The number and the bytes of waiting results are bounded. Worker threads have stack for
// trees of kWorkerDepth. `make` must not throw; an exception of `take` ends everything.
template <class Result>
class OrderedWork {
 public:
  using Maker = std::function<Result(std::size_t)>;
  using Sizer = std::function<std::size_t(const Result&)>;  // bytes of a waiting result

  OrderedWork(std::size_t pieces, std::size_t threads, Maker maker, Sizer sizer)
      : count(pieces),
        make(std::move(maker)),
        sizeOf(std::move(sizer)),
        waiting(threads * kMaxWaitingPerThread) {
    workers.reserve(threads);
    while (workers.size() < threads && addWorker()) {
    }
    if (workers.empty()) throw outOfMemory("no thread to be had");
  }
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;
  ~OrderedWork() {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      next = count;
    }
    spaceAvailable.notify_all();
  }

  // Calls `rest` after each batch of results, and repeatedly while there are no results.
  void consumeAll(const std::function<void(Result)>& take, const std::function<void()>& rest) {
    for (std::size_t done = 0; done < count; rest()) {
      std::vector<Result> batch = takeReady();
      done += batch.size();
      for (Result& result : batch) take(std::move(result));
    }
  }

 private:
  // False if the thread cannot be created: fewer are enough.
  bool addWorker() try {
    auto worker = std::make_unique<StackThread>(kWorkerDepth, [this] { work(); });
    if (!worker->isRunning()) return false;
    workers.push_back(std::move(worker));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }

  std::optional<Result>& placeOf(std::size_t i) { return waiting[i % waiting.size()]; }

  // The next result to be taken is always made, so that there is no deadlock.
  bool hasSpace() const {
    return next == taken || (next < taken + waiting.size() && waitingBytes < kMaxWaitingBytes);
  }
  bool isBatch() const {
    return ready == count || ready - taken >= kBatch ||
           (ready > taken && waitingBytes >= kMaxWaitingBytes);
  }

  void work() {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      spaceAvailable.wait(lock, [this] { return next >= count || hasSpace(); });
      if (next >= count) return;
      const std::size_t i = next++;
      lock.unlock();
      Result result = make(i);
      const std::size_t size = sizeOf(result);
      lock.lock();
      placeOf(i) = std::move(result);
      waitingBytes += size;
      while (ready < taken + waiting.size() && placeOf(ready)) ++ready;
      if (isBatch()) resultAvailable.notify_one();
    }
  }

  // Small results are taken in batches, because waking the thread costs as much as making some of
  // them.
  std::vector<Result> takeReady() {
    std::vector<Result> batch;
    std::unique_lock<std::mutex> lock(mutex);
    resultAvailable.wait_for(lock, kIdleInterval, [this] { return isBatch(); });
    batch.reserve(ready - taken);
    for (; taken < ready; ++taken) {
      waitingBytes -= sizeOf(*placeOf(taken));
      batch.push_back(std::move(*placeOf(taken)));
      placeOf(taken).reset();
    }
    spaceAvailable.notify_all();
    return batch;
  }

  static constexpr std::size_t kMaxWaitingPerThread = 256;  // results
  static constexpr std::size_t kMaxWaitingBytes = std::size_t{1} << 26;
  static constexpr std::size_t kBatch = 64;
  static constexpr std::chrono::milliseconds kIdleInterval{2};

  const std::size_t count;
  const Maker make;
  const Sizer sizeOf;
  std::mutex mutex;       // guards the next five
  std::size_t next = 0;   // the next to make
  std::size_t ready = 0;  // all results before it are made
  std::size_t taken = 0;  // all results before it are taken
  std::size_t waitingBytes = 0;
  std::vector<std::optional<Result>> waiting;
  std::condition_variable spaceAvailable;
  std::condition_variable resultAvailable;
  std::vector<std::unique_ptr<StackThread>> workers;  // destroyed first, which joins them
};

#endif  // AMF2JSON_TOOL_RUN_ORDERED_WORK_H
