// SPDX-License-Identifier: Apache-2.0
//
// Writes a packet from the program's own data, as a Flex client would, and prints its JSON:
//
//   wire_write_packet OUT
//
// The AMF writer writes a repeated string, or repeated traits, as a reference.
#include <AMFWire.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

struct Pear {
  std::string name;
  int grams;
};

static void write(AMFWireWriter& writer, const Pear& pear) {
  static const std::vector<std::string> sealed = {"name", "grams"};
  AMFWireNameList names(sealed);
  AMFWireObject object;
  object.typed = true;
  object.className = "fruit.Pear";
  object.sealedCount = 2;
  object.names = &names;
  object.dynamic = false;
  writer.beginObject(object);
  writer.member("name");
  writer.string(pear.name);
  writer.member("grams");
  writer.integer(pear.grams);
  writer.end();
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const std::vector<Pear> pears = {{"Conference", 180}, {"Williams", 170}};
  AMFWireWriter writer;
  writer.beginDocument({});
  AMFWireSection call;
  call.name = "Orchard.store";
  call.response = "/1";
  writer.beginSection(call);
  writer.beginArray({1});  // the arguments: one array of pears
  writer.beginAmf3();
  writer.beginArray({static_cast<std::uint32_t>(pears.size())});
  for (const Pear& pear : pears) write(writer, pear);
  writer.end();
  writer.endAmf3();
  writer.end();
  writer.endSection();
  writer.endDocument({}, {});

  std::string bytes;
  std::string json;
  AMFWireResult result = writer.finish(bytes);
  AMFWireExportOptions options;
  options.pretty = true;
  if (result.ok()) result = amfWireExport(bytes.data(), bytes.size(), json, options);
  if (!result.ok()) {
    std::fprintf(stderr, "%s\n", result.message.c_str());
    return 1;
  }
  std::ofstream(arguments[1], std::ios::binary) << bytes;
  std::printf("%zu bytes\n%s\n", bytes.size(), json.c_str());
  return 0;
}
