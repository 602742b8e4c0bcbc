// SPDX-License-Identifier: Apache-2.0
//
// Counts the objects of each class in a packet of Flash or Flex, with a sink of its own. It needs
// neither a tree nor JSON:
//
//   wire_class_inventory < PACKET
//
// The exit code is 3 if the packet cannot be read. Standard error has the reason and the offset.
#include <AMFWire.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

class Inventory : public AMFWireSink {
 public:
  void beginSection(const AMFWireSection& section) override {
    std::printf("for %s\n", text(section.name).c_str());
  }
  void beginObject(const AMFWireObject& object) override {
    ++counts[object.typed ? text(object.className) : "(no class)"];
  }
  void beginExternal(const AMFWireExternal& external) override {
    ++counts[text(external.className)];
  }
  void endSection() override {
    for (const auto& [name, count] : counts) std::printf("  %d %s\n", count, name.c_str());
    counts.clear();
  }

 private:
  // The bytes of an event are valid during the call only.
  static std::string text(const AMFWireString& string) { return {string.data, string.length}; }

  std::map<std::string, int> counts;
};

int main() {
  std::ios::sync_with_stdio(false);
  const std::string bytes((std::istreambuf_iterator<char>(std::cin)),
                          std::istreambuf_iterator<char>());
  Inventory inventory;
  const AMFWireResult result = amfWireRead(bytes.data(), bytes.size(), inventory);
  if (result.ok()) return 0;
  std::fprintf(stderr, "%s at byte %zu\n", result.message.c_str(), result.offset);
  return 3;
}
