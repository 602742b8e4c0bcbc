// SPDX-License-Identifier: Apache-2.0
//
// AMFWire beside its references, on packet files: reading to an empty sink beside the core's parse,
// export beside the core's parse and JSON view and beside RapidJSON's writer, import beside
// RapidJSON's document. All are measured in turn, in many short batches, so that a busy machine
// disturbs them alike; the ratio is that of the medians.
//
//     wire_bench FILE...
#include <AMFWire.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <time.h>
#include <AMF2JSON>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

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

void compare(const char* path) {
  const std::string packet = load(path);
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  std::string json;
  const AMFWireResult exported = amfWireExport(packet.data(), packet.size(), json, options);
  std::string bytes;
  if (!exported.ok() || !amfWireImport(json.data(), json.size(), bytes).ok() || bytes != packet) {
    std::printf("%s: %s\n", path,
                exported.ok() ? "comes back otherwise" : exported.message.c_str());
    return;
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
  std::printf("%s: %zu bytes, %zu of JSON\n", path, packet.size(), json.size());
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

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) compare(arguments[i]);
  return 0;
}
