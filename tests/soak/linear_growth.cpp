// SPDX-License-Identifier: Apache-2.0
//
// Twice the rows must cost twice the time: decoding, the JSON view, a copy, and encoding.
//
//   linear_growth [MEGABYTES]
//
// Makes packets of typed AMF3 rows (traits and string references, numbers, a date, a text), the
// largest of MEGABYTES (50), each with twice the rows of the one before, and prints what each
// doubling costs as a ratio of times. Fails where a doubling costs more than kMostPerDoubling. Of
// releasing a tree the mean counts: up to some size its memory is kept for the next packet, above
// that it goes back to the system, which is a step in the cost and no slope.
#include <AMF2JSON.h>

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr double kMostPerDoubling = 2.6;
constexpr unsigned kDoublings = 6;
// The quickest round counts, since other programs only slow down: at least so many, for at least so
// long, and once more as many where the ratio looks too large.
constexpr unsigned kRounds = 3;
constexpr double kSeconds = 0.1;
constexpr unsigned kTries = 3;

double cpuSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// ---- The packet

void u29(std::string& out, std::uint32_t value) {
  if (value >= 0x4000) out += static_cast<char>((value >> 14 & 0x7F) | 0x80);
  if (value >= 0x80) out += static_cast<char>((value >> 7 & 0x7F) | 0x80);
  out += static_cast<char>(value & 0x7F);
}

void u32(std::string& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift & 0xFF);
}

void f64(std::string& out, std::uint64_t bits) {
  u32(out, static_cast<std::uint32_t>(bits >> 32));
  u32(out, static_cast<std::uint32_t>(bits));
}

void name(std::string& out, const std::string& text) {
  u29(out, static_cast<std::uint32_t>(text.size()) << 1 | 1);
  out += text;
}

// The members of one row: integer, double, date, a text of its own, a text by reference.
void row(std::string& out, std::uint32_t number, std::uint32_t sharedText) {
  out += '\x04';
  u29(out, number & 0xFFFF);
  out += '\x05';
  f64(out, 0x40F0000000000000u + (static_cast<std::uint64_t>(number) << 24));
  out += '\x08';
  u29(out, 1);
  f64(out, 0x4270000000000000u + (static_cast<std::uint64_t>(number) << 16));
  out += '\x06';
  std::string text = "row " + std::to_string(number) + " ";
  text.append(160, static_cast<char>('a' + number % 26));
  name(out, text);
  out += '\x06';
  u29(out, sharedText << 1);
}

// One message: a strict array of rows, each behind a switch of its own.
std::string packetOfRows(std::uint32_t rows) {
  std::string out("\0\3\0\0\0\1\0\1t\0\0", 11);
  u32(out, 0xFFFFFFFF);
  out += '\x0A';
  u32(out, rows);
  for (std::uint32_t number = 0; number < rows; ++number) {
    out += "\x11\x0A";
    if (number == 0) {
      u29(out, 5 << 4 | 3);
      for (const char* text : {"Row", "number", "share", "since", "text", "owner"}) name(out, text);
    } else {
      u29(out, 1);  // traits 0
    }
    row(out, number, number % 5);  // the first strings: the class name and the member names
  }
  return out;
}

// ---- Times

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(2);
}

struct Operation {
  const char* name;
  bool inSteps;  // the mean counts
  std::function<void()> prepare;
  std::function<void()> work;
  double first = 0;
  double before = 0;
  double largestRatio = 0;
};

double timeHere(const Operation& operation) {
  operation.prepare();
  const double start = cpuSeconds();
  operation.work();
  return cpuSeconds() - start;
}

// In a process of its own: memory that the library and malloc keep from an earlier round would be
// there for small packets and not for large ones, and be taken for growth.
double timeOnce(const Operation& operation) {
  int ends[2];
  if (pipe(ends) != 0) fail("pipe");
  const pid_t child = fork();
  if (child < 0) fail("fork");
  double seconds = 0;
  if (child == 0) {
    seconds = timeHere(operation);
    _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(ends[1]);
  if (read(ends[0], &seconds, sizeof seconds) != sizeof seconds) fail("measuring process");
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return seconds;
}

double quickest(const Operation& operation) {
  double least = timeOnce(operation);
  double spent = least;
  for (unsigned round = 1; round < kRounds || spent < kSeconds; ++round) {
    const double seconds = timeOnce(operation);
    spent += seconds;
    least = std::min(least, seconds);
  }
  return least;
}

// What the operations work on; built anew for each size.
struct Subject {
  std::string packet;
  std::unique_ptr<AMFProtocol> protocol;
  std::unique_ptr<AMFPackage> copy;

  void parse() {
    protocol = std::make_unique<AMFProtocol>();
    protocol->parse(packet.data());
  }
};

std::vector<Operation> operations(Subject& subject) {
  const auto parse = [&subject] { subject.parse(); };
  const auto view = [&subject] { subject.protocol->getPackageInJSON(true); };
  const auto parseAndView = [parse, view] {
    parse();
    view();
  };
  const auto copy = [&subject] { subject.copy.reset(subject.protocol->package->clone()); };
  const auto encode = [&subject] { subject.protocol->compile(subject.protocol->package); };
  const auto release = [&subject] { subject.protocol.reset(); };
  return {
      {"decode", false, [] {}, parse},     {"1st view", false, parse, view},
      {"view", false, parseAndView, view}, {"copy", false, parse, copy},
      {"encode", false, parse, encode},    {"release", true, parse, release},
  };
}

// What this size costs against the one before; 0 for the first size.
double ratioOf(Operation& operation) {
  double seconds = quickest(operation);
  const bool first = operation.before == 0;
  if (first) operation.first = seconds;
  const double most = operation.before * kMostPerDoubling;
  for (unsigned tries = 1; !first && !operation.inSteps && seconds > most && tries < kTries;
       ++tries)
    seconds = std::min(seconds, quickest(operation));
  const double ratio = first ? 0 : seconds / operation.before;
  operation.before = seconds;
  operation.largestRatio = std::max(operation.largestRatio, ratio);
  return ratio;
}

void compare(std::vector<Operation>& list, std::size_t bytes) {
  std::printf("%7.2f MB", static_cast<double>(bytes) / 1e6);
  std::fflush(stdout);
  for (Operation& operation : list) {
    const double ratio = ratioOf(operation);
    if (ratio == 0) {
      std::printf(" %8s", "1");
    } else {
      std::printf(" %8.2f", ratio);
    }
    std::fflush(stdout);
  }
  std::printf("\n");
}

// The last two rows; false where an operation grows faster than its packet.
bool summary(const std::vector<Operation>& list) {
  bool linear = true;
  std::printf("%10s", "largest");
  for (const Operation& operation : list) std::printf(" %8.2f", operation.largestRatio);
  std::printf("\n%10s", "mean");
  for (const Operation& operation : list) {
    const double mean = std::pow(operation.before / operation.first, 1.0 / kDoublings);
    std::printf(" %8.2f", mean);
    const double counts = operation.inSteps ? mean : operation.largestRatio;
    linear = linear && counts <= kMostPerDoubling;
  }
  std::printf("\n%s: allowed is %.1f for each doubling, for release on the mean\n",
              linear ? "linear" : "MORE THAN LINEAR", kMostPerDoubling);
  return linear;
}

int run(double megabytes) {
  const std::size_t rowBytes = packetOfRows(2000).size() / 2000;
  const double largest = megabytes * 1e6 / static_cast<double>(rowBytes);
  std::uint32_t rows = static_cast<std::uint32_t>(largest / (1u << kDoublings));
  Subject subject;
  std::vector<Operation> list = operations(subject);
  std::printf("time against half the rows\n%10s", "packet");
  for (const Operation& operation : list) std::printf(" %8s", operation.name);
  std::printf("\n");
  for (unsigned step = 0; step <= kDoublings; ++step, rows *= 2) {
    subject.packet = packetOfRows(rows);
    compare(list, subject.packet.size());
  }
  return summary(list) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const double megabytes = argc > 1 ? std::strtod(argv[1], nullptr) : 50;
  if (argc > 2 || !(megabytes > 0)) {
    std::fprintf(stderr, "usage: %s [MEGABYTES]\n", argv[0]);
    return 2;
  }
  return run(megabytes);
}
