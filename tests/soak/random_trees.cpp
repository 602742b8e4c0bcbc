// SPDX-License-Identifier: Apache-2.0
//
// Random trees through the encoder and back:
//
//   random_trees COUNT [SEED]
//
// COUNT trees of each of two kinds; tree number i is made from SEED + i alone, so "random_trees 1
// N" repeats tree N.
// - Trees that the dialect encodes without loss: compile, decode, the same tree, and the same bytes.
// - Trees of everything that the interface can build: the result is what the rules of the format
//   predict: an error, a tree, or bytes that a reader cannot read, with the reason. A tree for which
//   the rules predict no loss is decoded to the same tree.
// The bytes are decoded with inaccessible memory after them. Only a packet that is predicted to be
// unreadable may reach it; a child process decodes it, and then ends by that fault.
#include <AMF2JSON.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "support/carried_trees.h"
#include "support/dump.h"
#include "support/hex.h"
#include "support/reading_model.h"
#include "support/same_tree.h"
#include "support/wild_trees.h"

namespace {

using support::dump;
using support::ReadingModel;

struct Failure {
  std::string what;
};

void require(bool condition, const std::string& what) {
  if (!condition) throw Failure{what};
}

void requireSame(const std::string& actual, const std::string& expected, const char* what) {
  if (actual != expected) throw Failure{std::string(what) + "\n  " + actual + "\n  " + expected};
}

void requireSameTree(const AMFNode* actual, const AMFNode* expected, const char* what) {
  if (support::sameTree(actual, expected)) return;
  throw Failure{std::string(what) + "\n  " + dump(actual) + "\n  " + dump(expected)};
}

// ---------------------------------------------------------------------------------------------------
// Bytes with unreadable memory after them

class GuardedBytes {
 public:
  GuardedBytes() {
    void* const all = mmap(nullptr, kCapacity + kGuard, PROT_NONE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (all == MAP_FAILED || mprotect(all, kCapacity, PROT_READ | PROT_WRITE) != 0) std::abort();
    guard = static_cast<char*>(all) + kCapacity;
    struct sigaction action {};
    action.sa_sigaction = &GuardedBytes::onFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGBUS, &action, nullptr);
  }

  // The bytes, ending where the guard begins; valid until the next call.
  const char* place(const char* bytes, std::size_t count) const {
    require(count <= kCapacity, "packet too large for this program");
    if (count != 0) std::memcpy(guard - count, bytes, count);
    return guard - count;
  }
  const char* end() const { return guard; }

  static constexpr int kFaultInGuard = 40;
  static constexpr int kOtherFault = 41;

 private:
  static constexpr std::size_t kCapacity = std::size_t{64} << 20;
  static constexpr std::size_t kGuard = std::size_t{9} << 30;  // beyond any 32-bit length

  static void onFault(int, siginfo_t* info, void*) {
    const char* const at = static_cast<const char*>(info->si_addr);
    const bool inGuard = at >= guard && at < guard + kGuard;
    if (!expected || !inGuard) tell(inGuard ? "reads beyond the end" : "memory fault");
    _exit(inGuard ? kFaultInGuard : kOtherFault);
  }

  // All that a signal handler may do: no stdio.
  static void tell(const char* what) {
    char text[96] = "FAILED, tree of seed ";
    char* end = text + std::strlen(text);
    char digits[24];
    char* next = digits + sizeof digits;
    for (std::uint64_t rest = seed; next > digits; rest /= 10) {
      *--next = static_cast<char>('0' + rest % 10);
      if (rest < 10) break;
    }
    const auto count = static_cast<std::size_t>(digits + sizeof digits - next);
    std::memcpy(end, next, count);
    end += count;
    const std::size_t remaining = std::strlen(what);
    std::memcpy(end, ": ", 2);
    std::memcpy(end + 2, what, remaining);
    end[2 + remaining] = '\n';
    if (write(2, text, static_cast<std::size_t>(end - text) + 3 + remaining) < 0)
      _exit(kOtherFault);
  }

  static char* guard;

 public:
  static bool expected;       // the fault is an outcome, no failure
  static std::uint64_t seed;  // of the tree at hand
};

char* GuardedBytes::guard = nullptr;
bool GuardedBytes::expected = false;
std::uint64_t GuardedBytes::seed = 0;

// ---------------------------------------------------------------------------------------------------

using Counts = std::map<std::string, std::uint64_t>;

struct Totals {
  std::uint64_t carriedNodes = 0, carriedReferences = 0, carriedTraits = 0;
  std::uint64_t bytes = 0, lossless = 0, lossy = 0;
  Counts writerRefusals, readerRefusals, derailed, derailedEnds, losses;
};

std::string compiled(AMFProtocol& writer, const AMFPackage* package) {
  writer.compile(package);
  std::string bytes(writer.resultBuffer, writer.getResultLength());
  writer.clean();
  return bytes;
}

// The refusal's text, or null.
const char* refusalOf(AMFProtocol& reader, const char* bytes) {
  try {
    reader.parse(bytes);
    return nullptr;
  } catch (const AMFException& e) {
    return e.message;
  }
}

class Run {
 public:
  void carried(std::uint64_t seed) {
    trees::CarriedTrees generator(seed);
    const std::unique_ptr<AMFPackage> tree = generator.next();
    totals.carriedNodes += generator.nodes;
    totals.carriedReferences += generator.references;
    totals.carriedTraits += generator.traits;

    const std::string bytes = compiled(writer, tree.get());
    totals.bytes += bytes.size();
    const char* const refused = refusalOf(reader, guarded.place(bytes.data(), bytes.size()));
    require(refused == nullptr, std::string("refused: ") + (refused ? refused : ""));
    require(reader.readCursor == guarded.end(), "bytes remain after the packet");
    const std::string again = compiled(writer, reader.package);
    if (again != bytes) {
      requireSame(support::toHex(again), support::toHex(bytes), "other bytes the second time");
    }
    support::normalise(tree.get());
    support::normalise(reader.package);
    requireSameTree(reader.package, tree.get(), "another tree");
  }

  void wild(std::uint64_t seed) {
    trees::WildTrees generator(seed);
    const std::unique_ptr<AMFPackage> tree = generator.next();
    const support::Outcome outcome = ReadingModel::of(*tree);
    std::string bytes;
    if (!written(*tree, outcome, bytes)) return;
    const char* const placed = guarded.place(bytes.data(), bytes.size());
    if (outcome.derailed) {
      ++totals.derailed[outcome.derailed];
      ++totals.derailedEnds[endInChild(placed)];
      return;
    }
    const char* const refused = refusalOf(reader, placed);
    requireSame(refused ? refused : "", outcome.readerRefusal ? outcome.readerRefusal : "",
                "another refusal by the reader");
    if (refused) {
      ++totals.readerRefusals[refused];
    } else {
      compare(*tree, outcome);
    }
  }

  Totals totals;

 private:
  bool written(const AMFPackage& tree, const support::Outcome& outcome, std::string& bytes) {
    const char* refused = nullptr;
    try {
      bytes = compiled(writer, &tree);
    } catch (const AMFException& e) {
      refused = e.message;
      writer.clean();
    }
    requireSame(refused ? refused : "", outcome.writerRefusal ? outcome.writerRefusal : "",
                "another refusal by the writer");
    if (refused) ++totals.writerRefusals[refused];
    return refused == nullptr;
  }

  void compare(AMFPackage& tree, const support::Outcome& outcome) {
    require(reader.readCursor == guarded.end(), "bytes remain after the packet");
    support::normalise(reader.package);
    support::normalise(outcome.package.get());
    requireSameTree(reader.package, outcome.package.get(), "another tree than expected");
    for (const std::string& loss : outcome.losses) ++totals.losses[loss];
    ++(outcome.losses.empty() ? totals.lossless : totals.lossy);
    if (!outcome.losses.empty()) return;
    support::normalise(&tree);
    requireSameTree(reader.package, &tree, "a loss without a name");
  }

  // How the reading of bytes that make no sense ends.
  std::string endInChild(const char* bytes) {
    enum { kWholePacket = 10, kBytesLeft, kRefused, kNoMemory };
    std::fflush(stdout);
    const pid_t child = fork();
    require(child >= 0, "no child process");
    if (child == 0) {
      GuardedBytes::expected = true;
      alarm(30);
      try {
        if (refusalOf(reader, bytes)) _exit(kRefused);
      } catch (const std::bad_alloc&) {
        _exit(kNoMemory);
      }
      _exit(reader.readCursor == guarded.end() ? kWholePacket : kBytesLeft);
    }
    int status = 0;
    require(waitpid(child, &status, 0) == child && WIFEXITED(status), "the reader crashed or hung");
    switch (WEXITSTATUS(status)) {
      case kWholePacket: return "some tree, no bytes left";
      case kBytesLeft: return "some tree, bytes left";
      case kRefused: return "refused by the reader";
      case kNoMemory: return "out of memory";
      case GuardedBytes::kFaultInGuard: return "reads beyond the end";
      default: throw Failure{"the reader failed otherwise"};
    }
  }

  GuardedBytes guarded;
  AMFProtocol writer;
  AMFProtocol reader;
};

void print(const char* title, const Counts& counts) {
  std::uint64_t sum = 0;
  for (const auto& one : counts) sum += one.second;
  std::printf("%s: %" PRIu64 "\n", title, sum);
  for (const auto& one : counts) std::printf("  %9" PRIu64 "  %s\n", one.second, one.first.c_str());
}

void report(std::uint64_t count, const Totals& totals) {
  std::printf("carried trees: %" PRIu64 " equal, %" PRIu64 " bytes, %" PRIu64 " values, %" PRIu64
              " references, %" PRIu64 " traits references\n",
              count, totals.bytes, totals.carriedNodes, totals.carriedReferences,
              totals.carriedTraits);
  std::printf("wild trees: %" PRIu64 "\nread back as they were: %" PRIu64
              "\nread back with named losses: %" PRIu64 "\n",
              count, totals.lossless, totals.lossy);
  print("losses, one tree may have several", totals.losses);
  print("refused by the writer", totals.writerRefusals);
  print("refused by the reader", totals.readerRefusals);
  print("written, but senseless to a reader", totals.derailed);
  print("how reading those ends", totals.derailedEnds);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: random_trees COUNT [SEED]\n", stderr);
    return 2;
  }
  const std::uint64_t count = std::strtoull(argv[1], nullptr, 10);
  const std::uint64_t seed = argc == 3 ? std::strtoull(argv[2], nullptr, 10) : 1;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::printf("seed %" PRIu64 "\n", seed);
  Run run;
  for (std::uint64_t i = 0; i < count; ++i) {
    const char* kind = "carried";
    GuardedBytes::seed = seed + i;
    try {
      run.carried(seed + i);
      kind = "wild";
      run.wild(seed + i);
    } catch (const Failure& failure) {
      std::printf("FAILED, %s tree of seed %" PRIu64 ": %s\n", kind, seed + i,
                  failure.what.substr(0, 8000).c_str());
      return 1;
    } catch (const AMFException& e) {
      std::printf("FAILED, %s tree of seed %" PRIu64 ": refused: %s\n", kind, seed + i, e.message);
      return 1;
    }
  }
  report(count, run.totals);
  return 0;
}
