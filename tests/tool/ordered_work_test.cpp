// SPDX-License-Identifier: Apache-2.0
//
// Work on several threads: its results come in order and whole, only so much of them waits, and an
// exception where they are taken ends everything. Exercises tool/run/ordered_work.h.
#include "tool/run/ordered_work.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

struct Piece {
  std::size_t number;
  std::size_t bytes;  // that it says it has
};

struct Row {
  const char* name;
  std::size_t count;
  std::size_t threads;
  std::size_t bytes;        // of each piece
  std::size_t mostWaiting;  // pieces made and not taken, those in the making included
};

constexpr std::size_t kTooMuch = std::size_t{1} << 26;

const Row kRows[] = {
    {"none", 0, 2, 1, 0},
    {"one", 1, 1, 1, 1},
    {"fewer than threads", 3, 8, 1, 3},
    {"small ones, one thread", 3000, 1, 1, 256},
    {"small ones, four threads", 3000, 4, 1, 1024},
    {"each as much as may wait, one thread", 40, 1, kTooMuch, 2},
    {"each as much as may wait, four threads", 40, 4, kTooMuch, 5},
};

TEST(OrderedWork, ResultsComeInOrderAndOnlySoManyWait) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    std::atomic<std::size_t> begun{0};
    std::atomic<std::size_t> most{0};
    std::atomic<std::size_t> taken{0};
    OrderedWork<Piece> work(
        row.count, row.threads,
        [&](std::size_t i) {
          // A batch that is being taken does not wait any more, but counts here.
          const std::size_t waiting = ++begun - taken;
          std::size_t seen = most;
          while (seen < waiting && !most.compare_exchange_weak(seen, waiting)) {
          }
          if (i % 7 == 0) std::this_thread::sleep_for(std::chrono::microseconds(50));
          return Piece{i, row.bytes};
        },
        [](const Piece& piece) { return piece.bytes; });
    std::size_t next = 0;
    std::size_t takenAtRest = 0;  // how many were taken at the last call of rest()
    work.consumeAll(
        [&](Piece piece) {
          EXPECT_EQ(piece.number, next++);
          if (next <= 3)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));  // all that may wait, waits
          ++taken;
        },
        [&] { takenAtRest = next; });
    EXPECT_EQ(next, row.count);
    EXPECT_EQ(takenAtRest, row.count);
    EXPECT_EQ(begun, row.count);
    EXPECT_LE(most, 2 * row.mostWaiting);
  }
}

TEST(OrderedWork, AnExceptionEndsEverything) {
  for (const std::size_t threads : {1u, 4u}) {
    std::atomic<std::size_t> begun{0};
    std::size_t taken = 0;
    const auto run = [&] {
      OrderedWork<Piece> work(
          100000, threads,
          [&](std::size_t i) {
            return Piece{(++begun, i), 1};
          },
          [](const Piece& piece) { return piece.bytes; });
      work.consumeAll(
          [&](const Piece&) {
            if (++taken == 10) throw std::runtime_error("enough");
          },
          [] {});
    };
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_EQ(taken, 10u);
    EXPECT_LT(begun, 100000u);
  }
}

TEST(OrderedWork, RestsWhileNothingIsThere) {
  std::atomic<int> rests{0};
  OrderedWork<Piece> work(
      1, 1,
      [&](std::size_t i) {
        while (rests < 3) std::this_thread::yield();
        return Piece{i, 1};
      },
      [](const Piece& piece) { return piece.bytes; });
  std::size_t taken = 0;
  work.consumeAll([&](const Piece&) { ++taken; }, [&] { ++rests; });
  EXPECT_EQ(taken, 1u);
  EXPECT_GE(rests, 4);
}

TEST(OrderedWork, ARestMayEndEverything) {
  std::atomic<bool> isOver{false};
  const auto run = [&] {
    OrderedWork<Piece> work(
        2, 1,
        [&](std::size_t i) {
          while (!isOver) std::this_thread::yield();
          return Piece{i, 1};
        },
        [](const Piece& piece) { return piece.bytes; });
    work.consumeAll([](const Piece&) {},
                    [&] {
                      isOver = true;
                      throw std::runtime_error("enough");
                    });
  };
  EXPECT_THROW(run(), std::runtime_error);
}

}  // namespace
