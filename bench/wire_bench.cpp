// SPDX-License-Identifier: Apache-2.0
//
// AMFWire beside its references: reading to an empty sink beside the core's parse, export beside the
// core's parse and JSON view and beside RapidJSON's writer, import beside RapidJSON's document. All
// are measured in turn, in many short batches, so that a busy machine disturbs them alike; the ratio
// is that of the medians.
//
//   wire_bench [FILE...]           the ratios for packet files; without any, for the workloads
//   wire_bench growth [MEGABYTES]  packets up to MEGABYTES (100), each with twice the rows of the one
//                                  before, and what each doubling costs as a ratio of times
//   wire_bench small               writes the packet of the small workload
//   wire_bench calls COUNT         the CPU time in seconds of COUNT exports of it, from memory
//   wire_bench exports FILE        the least milliseconds of an export of the packet, compact and
//                                  pretty, for web_bench.mjs
//
// Fails if import does not return the bytes of a packet that was exported.
#include <AMFWire.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <time.h>
#include <AMF2JSON>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "workloads.h"

namespace {

double nowNs() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <class Value>
void keep(const Value& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

struct Operation {
  const char* name;
  std::function<void()> run;
  std::vector<double> times;

  double once() {
    const double begin = nowNs();
    run();
    return nowNs() - begin;
  }
  double median() {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
  }
};

void measure(std::vector<Operation>& all) {
  std::vector<long> batches;
  for (Operation& operation : all) {
    operation.once();
    batches.push_back(std::max(1L, static_cast<long>(3e6 / operation.once())));
  }
  for (const double end = nowNs() + 4e9; nowNs() < end || all[0].times.size() < 5;) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      const double begin = nowNs();
      for (long remaining = batches[i]; remaining > 0; --remaining) all[i].run();
      all[i].times.push_back((nowNs() - begin) / static_cast<double>(batches[i]));
    }
  }
}

std::string load(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
  std::fprintf(stderr, "%s: %s\n", name.c_str(), reason.c_str());
  std::exit(1);
}

void compare(const std::string& name, const std::string& packet) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  std::string json;
  const AMFWireResult exported = amfWireExport(packet.data(), packet.size(), json, options);
  std::string bytes;
  if (!exported.ok() || !amfWireImport(json.data(), json.size(), bytes).ok() || bytes != packet) {
    fail(name, exported.ok() ? "comes back otherwise" : exported.message);
  }
  AMFProtocol core;
  AMFProtocol viewed;
  viewed.parse(packet.data());
  rapidjson::Document document;
  document.Parse(json.data(), json.size());
  rapidjson::StringBuffer buffer;
  std::vector<Operation> all = {
      {"core parse", [&] { keep(core.parse(packet.data())); }, {}},
      {"core JSON view", [&] { keep(viewed.getPackageInJSON(true).size()); }, {}},
      {"RapidJSON writer",
       [&] {
         buffer.Clear();
         rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
         document.Accept(writer);
         keep(buffer.GetSize());
       },
       {}},
      {"RapidJSON document",
       [&] {
         rapidjson::Document parsed;
         parsed.Parse(json.data(), json.size());
         keep(parsed.HasParseError());
       },
       {}},
      {"read",
       [&] {
         AMFWireSink sink;
         keep(amfWireRead(packet.data(), packet.size(), sink, options).ok());
       },
       {}},
      {"export",
       [&] {
         std::string text;
         amfWireExport(packet.data(), packet.size(), text, options);
         keep(text.size());
       },
       {}},
      {"import",
       [&] {
         std::string back;
         amfWireImport(json.data(), json.size(), back);
         keep(back.size());
       },
       {}},
  };
  measure(all);
  std::printf("%s: %zu bytes, %zu of JSON\n", name.c_str(), packet.size(), json.size());
  for (Operation& operation : all) {
    std::printf("  %-20s %12.1f us\n", operation.name, operation.median() / 1e3);
  }
  std::printf("  read / core parse                 %.2f (0.25)\n",
              all[4].median() / all[0].median());
  std::printf("  export / core parse and JSON view %.2f (0.35)\n",
              all[5].median() / (all[0].median() + all[1].median()));
  std::printf("  export / RapidJSON writer         %.2f (1.30)\n",
              all[5].median() / all[2].median());
  std::printf("  import / RapidJSON document       %.2f (2.00)\n",
              all[6].median() / all[3].median());
}

// The least time of a few runs of `run`, in nanoseconds.
double leastTime(const std::function<void()>& run) {
  double least = 1e18;
  const double end = nowNs() + 3e8;
  for (int round = 0; round < 3 || nowNs() < end; ++round) {
    const double begin = nowNs();
    run();
    least = std::min(least, nowNs() - begin);
  }
  return least;
}

void grow(double megabytes) {
  std::printf("%12s %8s %8s\n", "bytes", "export", "import");
  double exportBefore = 0;
  double importBefore = 0;
  for (unsigned rows = 1024;; rows *= 2) {
    const std::string packet = packetOfRows(rows);
    if (static_cast<double>(packet.size()) > megabytes * 1e6) break;
    std::string json;
    std::string bytes;
    const double exported = leastTime([&] { amfWireExport(packet.data(), packet.size(), json); });
    const double imported = leastTime([&] { amfWireImport(json.data(), json.size(), bytes); });
    if (bytes != packet) fail("rows", "comes back otherwise");
    if (exportBefore > 0) {
      std::printf("%12zu %8.2f %8.2f\n", packet.size(), exported / exportBefore,
                  imported / importBefore);
    }
    exportBefore = exported;
    importBefore = imported;
  }
}

void timeExports(const std::string& packet) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  std::string json;
  for (const bool pretty : {false, true}) {
    options.pretty = pretty;
    std::printf("%g\n", leastTime([&] {
                          amfWireExport(packet.data(), packet.size(), json, options);
                          keep(json.size());
                        }) / 1e6);
  }
}

std::string smallPacket() {
  for (const Workload& workload : workloads()) {
    if (workload.name == "small") return workload.packet;
  }
  std::abort();
}

void callMany(long count) {
  const std::string packet = smallPacket();
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  std::string json;
  const double begin = nowNs();
  for (long left = count; left > 0; --left) {
    amfWireExport(packet.data(), packet.size(), json, options);
    keep(json.size());
  }
  std::printf("%.3f\n", (nowNs() - begin) / 1e9);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string word = count > 1 ? arguments[1] : "";
  if (word == "growth") {
    grow(count > 2 ? std::atof(arguments[2]) : 100);
  } else if (word == "small") {
    const std::string packet = smallPacket();
    std::fwrite(packet.data(), 1, packet.size(), stdout);
  } else if (word == "calls" && count > 2) {
    callMany(std::atol(arguments[2]));
  } else if (word == "exports" && count > 2) {
    timeExports(load(arguments[2]));
  } else if (count > 1) {
    for (int i = 1; i < count; ++i) compare(arguments[i], load(arguments[i]));
  } else {
    for (const Workload& workload : workloads()) compare(workload.name, workload.packet);
  }
  return 0;
}
