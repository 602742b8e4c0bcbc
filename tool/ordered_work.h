// SPDX-License-Identifier: Apache-2.0
//
// Many pieces of work on several threads, with the results taken in order.
#ifndef AMF2JSON_TOOL_ORDERED_WORK_H
#define AMF2JSON_TOOL_ORDERED_WORK_H

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "tool/own_stack.h"
#include "tool/problem.h"

// Makes the results of 0 to `count` - 1 and takes them in that order, on the calling thread. A
// bounded number of results waits. `make` runs on threads with stack for kWorkerLevels and must not
// throw; what `take` throws ends everything.
template <class Result>
class OrderedWork {
 public:
  OrderedWork(std::size_t pieces, std::size_t threads, std::function<Result(std::size_t)> maker)
      : count(pieces), make(std::move(maker)), waiting(2 * threads) {
    workers.reserve(threads);
    while (workers.size() < threads && addWorker()) {
    }
    if (workers.empty()) throw Problem{kOutOfMemory, "out of memory", "no thread to be had"};
  }
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;
  ~OrderedWork() {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      next = count;
    }
    roomThere.notify_all();
  }

  void takeAll(const std::function<void(Result)>& take) {
    for (std::size_t i = 0; i < count; ++i) take(takeOne(i));
  }

 private:
  // False where there is none to be had: fewer will do.
  bool addWorker() try {
    auto worker = std::make_unique<OwnStackThread>(kWorkerLevels, [this] { work(); });
    if (!worker->isRunning()) return false;
    workers.push_back(std::move(worker));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }

  void work() {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      roomThere.wait(lock, [this] { return next >= count || next < taken + waiting.size(); });
      if (next >= count) return;
      const std::size_t i = next++;
      lock.unlock();
      Result result = make(i);
      lock.lock();
      waiting[i % waiting.size()] = std::move(result);
      resultThere.notify_one();
    }
  }

  Result takeOne(std::size_t i) {
    std::unique_lock<std::mutex> lock(mutex);
    std::optional<Result>& place = waiting[i % waiting.size()];
    resultThere.wait(lock, [&place] { return place.has_value(); });
    Result result = std::move(*place);
    place.reset();
    taken = i + 1;
    roomThere.notify_one();
    return result;
  }

  const std::size_t count;
  const std::function<Result(std::size_t)> make;
  std::mutex mutex;  // guards the next three
  std::size_t next = 0;
  std::size_t taken = 0;
  std::vector<std::optional<Result>> waiting;
  std::condition_variable roomThere;
  std::condition_variable resultThere;
  std::vector<std::unique_ptr<OwnStackThread>> workers;  // joined first
};

#endif  // AMF2JSON_TOOL_ORDERED_WORK_H
