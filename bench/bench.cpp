// SPDX-License-Identifier: Apache-2.0
//
// Speed of the library, named direction/workload, and of its floors (floors.h):
//
//   decode/rows3            parse on an object in use, which frees its package first
//   render-json/rows3       getPackageInJSON(true)
//   render-js/rows3         getPackageInJS(true), up to the output limit
//   encode/rows3            compile and clean
//   verify/rows3            verifyPacket, without limits
//   whole/rows3             an object made, the packet verified, parsed, shown as JSON, all freed
//   floor-memcpy/rows3      copies the packet
//   floor-malloc/rows3      allocates and frees the blocks of the tree
//   floor-append-json/rows3 appends as much text as render-json, 20 bytes at a time
//   floor-append-js/rows3   the same for render-js
//
// script/bench puts them into a table of ratios.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <string>

#include "floors.h"
#include "workloads.h"

namespace {

void consume(const void* result) {
  benchmark::DoNotOptimize(result);
  benchmark::ClobberMemory();
}

void setBytes(benchmark::State& state, std::size_t perIteration) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(perIteration));
}

void decode(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  for (auto round : state) {
    static_cast<void>(round);
    consume(protocol.parse(packet.data()));
  }
  setBytes(state, packet.size());
}

void renderJson(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  for (auto round : state) {
    static_cast<void>(round);
    consume(protocol.getPackageInJSON(true).data());
  }
  setBytes(state, protocol.getPackageInJSON(true).size());
}

// The mark of the output limit would leave every view but the first one empty.
const std::string& scriptOf(AMFProtocol& protocol) {
  protocol.outputLimitReached = false;
  return protocol.getPackageInJS(true);
}

void renderJs(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  for (auto round : state) {
    static_cast<void>(round);
    consume(scriptOf(protocol).data());
  }
  setBytes(state, scriptOf(protocol).size());
}

void encode(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  for (auto round : state) {
    static_cast<void>(round);
    consume(protocol.compile(protocol.package));
    protocol.clean();
  }
  setBytes(state, packet.size());
}

void verify(benchmark::State& state, const std::string& packet) {
  const AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  for (auto round : state) {
    static_cast<void>(round);
    const AMFVerifyResult result = verifyPacket(packet.data(), packet.size(), limits);
    consume(&result);
  }
  setBytes(state, packet.size());
}

void whole(benchmark::State& state, const std::string& packet) {
  const AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  for (auto round : state) {
    static_cast<void>(round);
    AMFProtocol protocol;
    consume(parseVerified(protocol, packet.data(), packet.size(), limits));
    consume(protocol.getPackageInJSON(true).data());
  }
  setBytes(state, packet.size());
}

void floorMemcpy(benchmark::State& state, const std::string& packet) {
  std::string copy(packet.size(), '\0');
  for (auto round : state) {
    static_cast<void>(round);
    std::memcpy(&copy[0], packet.data(), packet.size());
    consume(copy.data());
  }
  setBytes(state, packet.size());
}

void floorMalloc(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  const std::vector<std::size_t> sizes = blockSizes(protocol.parse(packet.data()));
  std::vector<void*> blocks;
  for (auto round : state) {
    static_cast<void>(round);
    allocateAndFree(sizes, blocks);
    consume(blocks.data());
  }
  setBytes(state, packet.size());
}

void floorAppend(benchmark::State& state, std::size_t length) {
  std::string text;
  text.reserve(length);
  for (auto round : state) {
    static_cast<void>(round);
    appendInPieces(text, length);
    consume(text.data());
  }
  setBytes(state, length);
}

void floorAppendJson(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  floorAppend(state, protocol.getPackageInJSON(true).size());
}

void floorAppendJs(benchmark::State& state, const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  floorAppend(state, scriptOf(protocol).size());
}

struct Direction {
  const char* name;
  void (*run)(benchmark::State&, const std::string&);
};
const Direction kDirections[] = {
    {"decode", decode},
    {"render-json", renderJson},
    {"render-js", renderJs},
    {"encode", encode},
    {"verify", verify},
    {"whole", whole},
    {"floor-memcpy", floorMemcpy},
    {"floor-malloc", floorMalloc},
    {"floor-append-json", floorAppendJson},
    {"floor-append-js", floorAppendJs},
};

// A packet that is not read to its end would measure nothing.
bool wellFormed(const Workload& work) {
  try {
    AMFProtocol protocol;
    protocol.parse(work.packet.data());
    if (protocol.readCursor == work.packet.data() + work.packet.size()) return true;
    std::fprintf(stderr, "%s: not read to its end\n", work.name.c_str());
  } catch (const AMFException& e) {
    std::fprintf(stderr, "%s: %s\n", work.name.c_str(), e.message);
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  static const std::vector<Workload> all = workloads();
  for (const Workload& work : all) {
    if (!wellFormed(work)) return 1;
    for (const Direction& direction : kDirections) {
      const std::string name = std::string(direction.name) + "/" + work.name;
      const auto run = [&direction, &work](benchmark::State& state) {
        direction.run(state, work.packet);
      };
      benchmark::RegisterBenchmark(name.c_str(), run);
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
