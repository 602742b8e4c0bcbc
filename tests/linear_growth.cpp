// SPDX-License-Identifier: Apache-2.0
//
// Twice the rows must cost twice the time: decoding, the JSON view, a copy, and encoding.
//
//   linear_growth [MEGABYTES]
//
// Makes packets of typed AMF3 rows (traits and string references, numbers, a date, a text), the
// largest of MEGABYTES (50), each with twice the rows of the one before, and prints what each
// doubling costs as a ratio of times. Fails where a doubling costs more than kMostPerDoubling.
#include <AMF2JSON.h>

#include <time.h>

#include <algorithm>
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
constexpr unsigned kRounds = 3;  // the quickest of them counts: other programs only slow down

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

struct Operation {
  const char* name;
  std::function<void()> prepare;
  std::function<void()> work;
  std::function<void()> tidy;
  double quickest = 0;
  double before = 0;
  double largestRatio = 0;
};

void measure(Operation& operation) {
  operation.quickest = 0;
  for (unsigned round = 0; round < kRounds; ++round) {
    operation.prepare();
    const double start = cpuSeconds();
    operation.work();
    const double seconds = cpuSeconds() - start;
    operation.tidy();
    if (round == 0 || seconds < operation.quickest) operation.quickest = seconds;
  }
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
  const auto drop = [&subject] {
    subject.copy.reset();
    subject.protocol.reset();
  };
  return {
      {"decode", [] {}, parse, drop},
      {"render", parse, [&subject] { subject.protocol->getPackageInJSON(true); }, drop},
      {"copy", parse, [&subject] { subject.copy.reset(subject.protocol->package->clone()); }, drop},
      {"encode", parse, [&subject] { subject.protocol->compile(subject.protocol->package); }, drop},
      {"release", parse, [&subject] { subject.protocol.reset(); }, drop},
  };
}

// Prints a row of ratios; false where one is too large.
bool compare(std::vector<Operation>& list, std::size_t bytes, bool first) {
  bool linear = true;
  std::printf("%7.2f MB", static_cast<double>(bytes) / 1e6);
  for (Operation& operation : list) {
    measure(operation);
    const double ratio = operation.quickest / operation.before;
    operation.before = operation.quickest;
    if (first) {
      std::printf(" %8s", "1");
      continue;
    }
    std::printf(" %8.2f", ratio);
    operation.largestRatio = std::max(operation.largestRatio, ratio);
    linear = linear && ratio <= kMostPerDoubling;
  }
  std::printf("%s\n", linear ? "" : "   more than linear");
  std::fflush(stdout);
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
  bool linear = true;
  for (unsigned step = 0; step <= kDoublings; ++step, rows *= 2) {
    subject.packet = packetOfRows(rows);
    linear = compare(list, subject.packet.size(), step == 0) && linear;
  }
  std::printf("%10s", "largest");
  for (const Operation& operation : list) std::printf(" %8.2f", operation.largestRatio);
  std::printf("   allowed %.1f\n", kMostPerDoubling);
  return linear ? 0 : 1;
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
