// SPDX-License-Identifier: Apache-2.0
//
// allocation_test.cpp over any number of packets: every allocation of every operation fails once,
// and fails for good. The operation reports it, nothing leaks, its arguments are unchanged, and it
// succeeds with the same objects the next time.
//
//   failing_allocations [FAILURES [SEED]]   stops after so many injected failures and prints how
//                                           many each operation had; 1 where something went wrong
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <string>

#include "support/counted_heap.h"
#include "support/guard_packets.h"
#include "support/hex.h"
#include "support/packet_generator.h"
#include "support/same_tree.h"
#include "support/views.h"

namespace {

using support::Failing;
using support::sameTree;

// What one packet is turned into when nothing fails, and the objects that are used over and over.
class Trial {
 public:
  // Throws a text where something is wrong.
  void run(const std::string& packet);

  std::map<std::string, std::uint64_t> failures;  // by operation
  std::uint64_t total = 0;

 private:
  template <class Work, class Check>
  void fail(const char* name, const Work& work, const Check& check);

  void reading(const std::string& packet);
  void copying();
  void preparing();
  void showing();
  void writing();
  template <class Target, class Part>
  void setting(const char* name, const Part& part, void (*set)(Target&, const Part&));

  AMFProtocol reader;
  std::unique_ptr<AMFPackage> tree;  // of the packet
};

void require(bool condition, const char* what) {
  if (!condition) throw what;
}

// `work` returns whether it reported a failure itself; `check(failed)` looks at what it left.
template <class Work, class Check>
void Trial::fail(const char* name, const Work& work, const Check& check) {
  std::uint64_t& count = failures[name];
  for (const Failing mode : {Failing::once, Failing::fromThenOn}) {
    bool failed = true;
    for (std::uint64_t call = 0; failed; ++call) {
      const std::uint64_t before = support::liveBlocks;
      bool reported = false;
      support::failAllocation(call, mode);
      try {
        reported = work();
      } catch (const std::bad_alloc&) {
        reported = true;
      }
      support::failNothing();
      failed = support::failures != 0;
      require(reported == failed, "a failure is reported, and nothing else is");
      check(failed);
      require(support::liveBlocks == before, "blocks are left");
      count += failed ? 1 : 0;
      total += failed ? 1 : 0;
    }
  }
}

void Trial::reading(const std::string& packet) {
  const AMFVerifyResult expected = support::verify(packet, AMFVerifyLimits::unlimited());
  AMFVerifyResult found;
  const auto check = [&] {
    found = support::verify(packet, AMFVerifyLimits::unlimited());
    return found.status == AMFVerifyStatus::outOfMemory;
  };
  fail("verifyPacket", check, [&](bool failed) {
    require(failed || found.nodes == expected.nodes, "the check's figures");
    require(!check() && found.nodes == expected.nodes, "the next check");
  });

  const auto drop = [this] {
    delete reader.package;
    reader.package = nullptr;
  };
  const auto parse = [&] {
    reader.parse(packet.data());
    return false;
  };
  drop();
  parse();
  parse();  // its tables have their capacity now; the second is as large as the first packet asked for
  tree.reset(reader.package->clone());
  drop();
  fail("parse", parse, [&](bool failed) {
    require(failed || sameTree(reader.package, tree.get()), "the tree");
    parse();
    require(sameTree(reader.package, tree.get()), "the next tree");
    drop();
  });
  fail(
      "parseVerified",
      [&] {
        AMFVerifyResult result;
        const AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
        parseVerified(reader, packet.data(), packet.size(), limits, &result);
        return result.status == AMFVerifyStatus::outOfMemory;
      },
      [&](bool failed) {
        require(failed || sameTree(reader.package, tree.get()), "the checked tree");
        drop();
      });
}

void Trial::copying() {
  std::unique_ptr<AMFPackage> copy;
  const auto clone = [&] {
    copy.reset(tree->clone());
    return false;
  };
  fail("clone", clone, [&](bool failed) {
    require(failed == !copy, "a copy or none");
    if (!copy) clone();
    require(sameTree(copy.get(), tree.get()), "the copy");
    copy.reset();
  });
}

void Trial::preparing() {
  const std::unique_ptr<AMFPackage> expected(tree->clone());
  escapeForViews(expected.get());
  std::unique_ptr<AMFPackage> prepared(tree->clone());
  fail(
      "escapeForViews",
      [&] {
        escapeForViews(prepared.get());
        return false;
      },
      [&](bool failed) {
        require(sameTree(prepared.get(), failed ? tree.get() : expected.get()), "prepared");
        prepared.reset(tree->clone());
      });
}

void Trial::showing() {
  for (const auto& row : support::kPackageViews<>) {
    for (const bool pretty : {true, false}) {
      // A fresh object each time, of the same tree.
      std::unique_ptr<AMFProtocol> shown;
      const auto renew = [&] {
        if (shown) static_cast<void>(shown->package = nullptr);  // the tree is ours
        shown = std::make_unique<AMFProtocol>();
        shown->package = tree.get();
      };
      renew();
      const std::string expected = row.text(*shown, pretty);
      const std::string* text = nullptr;
      const auto show = [&] {
        text = &row.text(*shown, pretty);
        return false;
      };
      renew();
      fail(row.name, show, [&](bool failed) {
        require(failed || *text == expected, "the text");
        renew();
        require(row.text(*shown, pretty) == expected, "the next text");
        renew();
      });
      shown->package = nullptr;
    }
  }
}

void Trial::writing() {
  std::string expected;
  std::unique_ptr<AMFProtocol> writer;
  const auto renew = [&] { writer = std::make_unique<AMFProtocol>(); };
  renew();
  const auto compile = [&] {
    writer->compile(tree.get());
    return false;
  };
  try {
    compile();
    expected.assign(writer->resultBuffer, writer->getResultLength());
  } catch (const AMFException&) {
    return;  // an integer that is too large
  }
  renew();
  fail("compile", compile, [&](bool failed) {
    if (failed) {
      writer->clean();
      compile();
    }
    require(expected == std::string(writer->resultBuffer, writer->getResultLength()), "the bytes");
    renew();
  });
}

// A copy of `part` becomes part of a new `Target`.
template <class Target, class Part>
void Trial::setting(const char* name, const Part& part, void (*set)(Target&, const Part&)) {
  std::unique_ptr<Target> target;
  const auto renew = [&] { target = std::make_unique<Target>(AMF_VERSION_0); };
  renew();
  const std::unique_ptr<Target> untouched(static_cast<Target*>(target->clone()));
  fail(
      name,
      [&] {
        set(*target, part);
        return false;
      },
      [&](bool failed) {
        require(sameTree(target.get(), untouched.get()) == failed, "the target");
        renew();
      });
}

void Trial::run(const std::string& packet) {
  reading(packet);
  copying();
  preparing();
  showing();
  writing();
  const auto* const node = tree->children.empty() ? nullptr : tree->children.back();
  if (node && node->type == AMFNode::AMF_MESSAGE) {
    const auto& message = static_cast<const AMFMessage&>(*node);
    setting<AMFPackage, AMFMessage>("appendMessage, a copy", message,
                                    [](AMFPackage& target, const AMFMessage& part) {
                                      target.appendMessage(const_cast<AMFMessage*>(&part), true);
                                    });
    setting<AMFArray, AMFNode>("appendChild, a copy", *message.value,
                               [](AMFArray& target, const AMFNode& part) {
                                 target.appendChild(const_cast<AMFNode*>(&part), true);
                               });
    AMFString name(AMF_VERSION_0);
    name.setValue("name", 4);
    setting<AMFPair, AMFString>("setName, a copy", name,
                                [](AMFPair& target, const AMFString& part) {
                                  target.setName(const_cast<AMFString*>(&part), true);
                                });
  }
  tree.reset();
}

// Many entries, so that the guard's tables need memory too.
std::string largePacket(int number) {
  using namespace support;
  switch (number % 4) {
    case 0: return packetWith(hex("0A 000000C8") + repeat(hex("0A 00000000"), 200));
    case 1: return packetWith(hex("11 09 82 11 01") + repeat(hex("06 03 'a'"), 136));
    case 2: return packetWith(hex("11 09 82 11 01") + repeat(hex("0A 13 01 03 'b' 01"), 136));
    default: return packetWith(hex("11 09 82 11 01") + repeat(hex("08 01 0000000000000000"), 136));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t minimum = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 30000;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 5;
  packets::PacketGenerator generator(seed);
  Trial trial;
  int number = 0;
  for (; trial.total < minimum; ++number) {
    const std::string packet = number % 25 == 24 ? largePacket(number) : generator.next().bytes;
    if (packet.size() > 1500) continue;  // each allocation takes a whole run
    try {
      trial.run(packet);
    } catch (const char* what) {
      std::printf("WRONG: %s\npacket: %s\n", what, support::toHex(packet).c_str());
      return 1;
    }
  }
  for (const auto& row : trial.failures) {
    std::printf("%-26s %10" PRIu64 "\n", row.first.c_str(), row.second);
  }
  std::printf("%" PRIu64 " failures injected, %d packets, nothing leaked\n", trial.total, number);
  return 0;
}
