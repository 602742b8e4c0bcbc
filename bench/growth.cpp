// SPDX-License-Identifier: Apache-2.0
//
// What a packet of rows costs as it grows, from 1 KB on: time and memory to decode it, to show it
// as JSON and to encode it again.
//
//   growth [MEGABYTES]
//
// One line for each size up to MEGABYTES (100), tab-separated: bytes of the packet; CPU time of
// each operation for a byte, as a ratio to decoding a packet of 100 KB; the most memory that
// each needs beside what was there before, in bytes for a byte of the packet. Every figure comes
// from a process of its own, so that no memory is left from another; times are the best of several.
#include <AMF2JSON.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "workloads.h"

namespace {

constexpr double kLeastSeconds = 0.2;
constexpr double kStep = 3.1622776601683795;  // two sizes for each power of ten

double cpuSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(1);
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

struct Operation {
  const char* name;
  std::function<void(AMFProtocol&)> prepare;
  std::function<void(AMFProtocol&)> work;
};

// On one object, which keeps what it keeps between packets.
double secondsOf(const Operation& operation) {
  AMFProtocol protocol;
  operation.prepare(protocol);
  operation.work(protocol);
  double best = 1e9;
  double spent = 0;
  unsigned batch = 1;
  while (spent < kLeastSeconds) {
    const double start = cpuSeconds();
    for (unsigned i = 0; i < batch; ++i) operation.work(protocol);
    const double seconds = cpuSeconds() - start;
    spent += seconds;
    best = std::min(best, seconds / batch);
    if (seconds < 1e-3) batch *= 2;
  }
  return best;
}

double peakOf(const Operation& operation) {
  AMFProtocol protocol;
  operation.prepare(protocol);
  forgetPeak();
  const double before = statusBytes("VmRSS");
  operation.work(protocol);
  return std::max(0.0, statusBytes("VmHWM") - before);
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

std::vector<Operation> operations(const std::string& packet) {
  const auto parse = [&packet](AMFProtocol& protocol) { protocol.parse(packet.data()); };
  return {{"decode", [](AMFProtocol&) {}, parse},
          {"JSON", parse, [](AMFProtocol& protocol) { protocol.getPackageInJSON(true); }},
          {"encode", parse, [](AMFProtocol& protocol) {
             protocol.compile(protocol.package);
             protocol.clean();
           }}};
}

unsigned rowsFor(double bytes) {
  const double rowBytes = static_cast<double>(packetOfRows(20000).size()) / 20000;
  return static_cast<unsigned>(std::max(1.0, bytes / rowBytes));
}

int run(double largest) {
  std::string packet = packetOfRows(rowsFor(1e5));
  const double unit = inChild([&] { return secondsOf(operations(packet)[0]); }) /
                      static_cast<double>(packet.size());
  std::printf(
      "bytes\tdecode time\tJSON time\tencode time\tdecode memory\tJSON memory\tencode memory\n");
  for (double size = 1e3; size < largest * 1.01; size *= kStep) {
    packet = packetOfRows(rowsFor(size));
    const auto bytes = static_cast<double>(packet.size());
    const std::vector<Operation> list = operations(packet);
    std::printf("%zu", packet.size());
    for (const Operation& operation : list) {
      std::printf("\t%.2f", inChild([&] { return secondsOf(operation); }) / bytes / unit);
    }
    for (const Operation& operation : list) {
      std::printf("\t%.1f", inChild([&] { return peakOf(operation); }) / bytes);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const double megabytes = argc > 1 ? std::strtod(argv[1], nullptr) : 100;
  if (argc > 2 || !(megabytes > 0)) {
    std::fprintf(stderr, "usage: %s [MEGABYTES]\n", argv[0]);
    return 2;
  }
  return run(megabytes * 1e6);
}
