// SPDX-License-Identifier: Apache-2.0
//
// What a packet of rows costs as it grows: time and memory to decode it, to show it as JSON, to copy
// it and to encode it again.
//
//   growth [MEGABYTES]             one line for each size from 1 KB to MEGABYTES (100), tab-separated:
//       bytes of the packet; CPU time of decoding, JSON and encoding for a byte, as a ratio to
//       decoding a packet of 100 KB; the most memory that each needs beside what was there before,
//       in bytes for a byte of the packet. Times are the best of several, on one object.
//   growth --doubling [MEGABYTES]  packets up to MEGABYTES (50), each with twice the rows of the one
//       before, and what each doubling costs as a ratio of times, always with fresh objects. Fails
//       where a doubling costs more than kMostPerDoubling. For releasing a tree the mean of the
//       doublings counts: above some size its memory is no longer cached but returned to the
//       system, which is a step in the cost and no slope.
//
// Each figure is measured in a new process, so that memory of an earlier one cannot change it.
#include <AMF2JSON.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "workloads.h"

namespace {

constexpr double kLeastSeconds = 0.2;
constexpr double kStep = 3.1622776601683795;  // two sizes for each power of ten

constexpr double kMostPerDoubling = 2.6;
constexpr unsigned kDoublings = 6;
// The quickest round counts, since other programs only slow down: at least so many, for at least so
// long, and once more as many where the ratio looks too large.
constexpr unsigned kRounds = 3;
constexpr double kSeconds = 0.1;
constexpr unsigned kTries = 3;

// ---- Operations

// What the operations work on.
struct Subject {
  const std::string& packet;
  std::unique_ptr<AMFProtocol> protocol = std::make_unique<AMFProtocol>();
  std::unique_ptr<AMFPackage> copy = nullptr;
};

struct Operation {
  const char* name;
  void (*prepare)(Subject&);
  void (*work)(Subject&);
  bool inSteps = false;  // the cost has a step: the mean of the doublings counts
};

void nothing(Subject&) {}
void parse(Subject& subject) {
  subject.protocol->parse(subject.packet.data());
}
void view(Subject& subject) {
  subject.protocol->getPackageInJSON(true);
}
void parseAndView(Subject& subject) {
  parse(subject);
  view(subject);
}
void copy(Subject& subject) {
  subject.copy.reset(subject.protocol->package->clone());
}
void encode(Subject& subject) {
  subject.protocol->clean();
  subject.protocol->compile(subject.protocol->package);
}
void release(Subject& subject) {
  subject.protocol.reset();
}

// ---- Measuring

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(2);
}

double cpuSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Bytes of a line of /proc/self/status, as VmRSS.
double statusBytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, key.size() + 1, key + ":") == 0) {
      return std::strtod(line.c_str() + key.size() + 1, nullptr) * 1024;
    }
  }
  fail("/proc/self/status");
}

void forgetPeak() {
  std::ofstream refs("/proc/self/clear_refs");
  refs << 5;
  if (!refs.flush()) fail("/proc/self/clear_refs");
}

double inChild(const std::function<double()>& measure) {
  int ends[2];
  if (pipe(ends) != 0) fail("pipe");
  const pid_t child = fork();
  if (child < 0) fail("fork");
  double figure = 0;
  if (child == 0) {
    figure = measure();
    _exit(write(ends[1], &figure, sizeof figure) == sizeof figure ? 0 : 1);
  }
  close(ends[1]);
  if (read(ends[0], &figure, sizeof figure) != sizeof figure) fail("measuring process");
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return figure;
}

unsigned rowsFor(double bytes) {
  const double rowBytes = static_cast<double>(packetOfRows(20000).size()) / 20000;
  return static_cast<unsigned>(std::max(1.0, bytes / rowBytes));
}

// ---- What a byte costs

// On one object, which keeps what it caches between packets.
double secondsOf(const Operation& operation, const std::string& packet) {
  Subject subject{packet};
  operation.prepare(subject);
  operation.work(subject);
  double best = 1e9;
  double spent = 0;
  unsigned batch = 1;
  while (spent < kLeastSeconds) {
    const double start = cpuSeconds();
    for (unsigned i = 0; i < batch; ++i) operation.work(subject);
    const double seconds = cpuSeconds() - start;
    spent += seconds;
    best = std::min(best, seconds / batch);
    if (seconds < 1e-3) batch *= 2;
  }
  return best;
}

double peakOf(const Operation& operation, const std::string& packet) {
  Subject subject{packet};
  operation.prepare(subject);
  forgetPeak();
  const double before = statusBytes("VmRSS");
  operation.work(subject);
  return std::max(0.0, statusBytes("VmHWM") - before);
}

int costOfAByte(double largest) {
  const Operation list[] = {
      {"decode", nothing, parse}, {"JSON", parse, view}, {"encode", parse, encode}};
  std::string packet = packetOfRows(rowsFor(1e5));
  const double unit =
      inChild([&] { return secondsOf(list[0], packet); }) / static_cast<double>(packet.size());
  std::printf("bytes");
  for (const char* const what : {"time", "memory"}) {
    for (const Operation& operation : list) std::printf("\t%s %s", operation.name, what);
  }
  std::printf("\n");
  for (double size = 1e3; size < largest * 1.01; size *= kStep) {
    packet = packetOfRows(rowsFor(size));
    const auto bytes = static_cast<double>(packet.size());
    std::printf("%zu", packet.size());
    for (const Operation& operation : list) {
      std::printf("\t%.2f", inChild([&] { return secondsOf(operation, packet); }) / bytes / unit);
    }
    for (const Operation& operation : list) {
      std::printf("\t%.1f", inChild([&] { return peakOf(operation, packet); }) / bytes);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  return 0;
}

// ---- What a doubling costs

// Memory that the library and malloc cache from an earlier round would be there for small packets
// and not for large ones, and be taken for growth: so each round is a process.
double timeOnce(const Operation& operation, const std::string& packet) {
  return inChild([&] {
    Subject subject{packet};
    operation.prepare(subject);
    const double start = cpuSeconds();
    operation.work(subject);
    return cpuSeconds() - start;
  });
}

double quickest(const Operation& operation, const std::string& packet) {
  double least = timeOnce(operation, packet);
  double spent = least;
  for (unsigned round = 1; round < kRounds || spent < kSeconds; ++round) {
    const double seconds = timeOnce(operation, packet);
    spent += seconds;
    least = std::min(least, seconds);
  }
  return least;
}

struct Doubling {
  Operation operation;
  double first = 0;
  double before = 0;
  double largestRatio = 0;

  // What this size costs against the one before; 0 for the first size.
  double next(const std::string& packet) {
    double seconds = quickest(operation, packet);
    const bool isFirst = before == 0;
    if (isFirst) first = seconds;
    const double most = before * kMostPerDoubling;
    for (unsigned tries = 1; !isFirst && !operation.inSteps && seconds > most && tries < kTries;
         ++tries)
      seconds = std::min(seconds, quickest(operation, packet));
    const double ratio = isFirst ? 0 : seconds / before;
    before = seconds;
    largestRatio = std::max(largestRatio, ratio);
    return ratio;
  }
  double mean() const { return std::pow(before / first, 1.0 / kDoublings); }
  bool linear() const { return (operation.inSteps ? mean() : largestRatio) <= kMostPerDoubling; }
};

int costOfADoubling(double largest) {
  std::vector<Doubling> list = {
      {{"decode", nothing, parse}},   {{"1st view", parse, view}},
      {{"view", parseAndView, view}}, {{"copy", parse, copy}},
      {{"encode", parse, encode}},    {{"release", parse, release, true}},
  };
  std::printf("time against half the rows\n%10s", "packet");
  for (const Doubling& one : list) std::printf(" %8s", one.operation.name);
  unsigned rows = rowsFor(largest / (1u << kDoublings));
  for (unsigned step = 0; step <= kDoublings; ++step, rows *= 2) {
    const std::string packet = packetOfRows(rows);
    std::printf("\n%7.2f MB", static_cast<double>(packet.size()) / 1e6);
    for (Doubling& one : list) {
      const double ratio = one.next(packet);
      if (step == 0) {
        std::printf(" %8s", "1");
      } else {
        std::printf(" %8.2f", ratio);
      }
      std::fflush(stdout);
    }
  }
  std::printf("\n%10s", "largest");
  for (const Doubling& one : list) std::printf(" %8.2f", one.largestRatio);
  std::printf("\n%10s", "mean");
  bool linear = true;
  for (const Doubling& one : list) {
    std::printf(" %8.2f", one.mean());
    linear = linear && one.linear();
  }
  std::printf("\n%s: allowed is %.1f for each doubling, for release on the mean\n",
              linear ? "linear" : "MORE THAN LINEAR", kMostPerDoubling);
  return linear ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const bool doubling = argc > 1 && std::strcmp(argv[1], "--doubling") == 0;
  const int at = doubling ? 2 : 1;
  const double megabytes = argc > at ? std::strtod(argv[at], nullptr) : doubling ? 50 : 100;
  if (argc > at + 1 || !(megabytes > 0)) {
    std::fprintf(stderr, "usage: %s [--doubling] [MEGABYTES]\n", argv[0]);
    return 2;
  }
  return doubling ? costOfADoubling(megabytes * 1e6) : costOfAByte(megabytes * 1e6);
}
