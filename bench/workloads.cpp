// SPDX-License-Identifier: Apache-2.0
//
// The packets of the benches, written byte by byte. Enter at workloads().
#include "workloads.h"

#include <cstdint>
#include <cstring>
#include <map>

namespace {

constexpr unsigned kRows = 5000;
constexpr unsigned kTexts = 2000;
constexpr unsigned kLevels = 200;
constexpr std::uint32_t kBlobBytes = 4u << 20;

// Writes both formats; `references` false writes every string and all traits in full.
class Writer {
 public:
  explicit Writer(bool withReferences = true) : references(withReferences) {}

  std::string out;

  void u8(std::uint32_t value) { out += static_cast<char>(value & 0xFF); }
  void u16(std::uint32_t value) {
    u8(value >> 8);
    u8(value);
  }
  void u32(std::uint32_t value) {
    u16(value >> 16);
    u16(value);
  }
  void f64(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    u32(static_cast<std::uint32_t>(bits >> 32));
    u32(static_cast<std::uint32_t>(bits));
  }
  void string0(const std::string& text) {
    u16(static_cast<std::uint32_t>(text.size()));
    out += text;
  }
  void u29(std::uint32_t value) {
    if (value >= 0x200000) {
      // Four bytes, the last with all eight bits; its sign bit stays clear here.
      u8(value >> 22 | 0x80);
      u8(value >> 15 | 0x80);
      u8(value >> 8 | 0x80);
      return u8(value);
    }
    if (value >= 0x4000) u8(value >> 14 | 0x80);
    if (value >= 0x80) u8(value >> 7 | 0x80);
    u8(value & 0x7F);
  }
  void string3(const std::string& text) {
    const auto known = strings.find(text);
    if (references && known != strings.end()) return u29(known->second << 1);
    u29(static_cast<std::uint32_t>(text.size()) << 1 | 1);
    out += text;
    if (!text.empty()) strings.emplace(text, static_cast<std::uint32_t>(strings.size()));
  }
  // One message for `target`; its value is written after it.
  void begin(unsigned version, const std::string& target) {
    u16(version);
    u16(0);
    u16(1);
    string0(target);
    string0("/1");
    u32(0xFFFFFFFF);
  }

 private:
  bool references;
  std::map<std::string, std::uint32_t> strings;
};

const char* const kNames[] = {"id", "active", "price", "created", "title", "country", "note"};

std::string titleOf(unsigned row) {
  // Another one for each row.
  const unsigned number = row % 100003 * 7919 % 100003 + row / 100003 * 100003;
  return "Item number " + std::to_string(number) + " of the list";
}
std::string countryOf(unsigned row) {
  static const char* const countries[] = {"Norway", "Chile", "Japan", "Kenya", "Canada"};
  return countries[row % 5];
}
double priceOf(unsigned row) {
  return static_cast<double>(row * 977 % 100000) / 100 + 0.5;
}
double createdOf(unsigned row) {
  return 1.2e12 + static_cast<double>(row) * 86399e3;
}

void row3(Writer& w, unsigned row, bool withReferences) {
  w.u8(0x0A);
  if (row > 0 && withReferences) {
    w.u29(0 << 2 | 1);
  } else {
    w.u29(7 << 4 | 3);
    w.string3("example.shop.Item");
    for (const char* name : kNames) w.string3(name);
  }
  w.u8(0x04);
  w.u29(row);
  w.u8(row % 3 != 0 ? 0x03 : 0x02);
  w.u8(0x05);
  w.f64(priceOf(row));
  w.u8(0x08);
  w.u29(1);
  w.f64(createdOf(row));
  w.u8(0x06);
  w.string3(titleOf(row));
  w.u8(0x06);
  w.string3(countryOf(row));
  w.u8(0x01);
}

std::string rows3(unsigned rows, bool withReferences) {
  Writer w(withReferences);
  w.begin(3, "shop.list");
  w.u8(0x11);
  w.u8(0x09);
  w.u29(rows << 1 | 1);
  w.u29(1);
  for (unsigned row = 0; row < rows; ++row) row3(w, row, withReferences);
  return w.out;
}

void member0(Writer& w, const char* name, unsigned marker) {
  w.string0(name);
  w.u8(marker);
}

std::string rows0() {
  Writer w;
  w.begin(0, "shop.list");
  w.u8(0x0A);
  w.u32(kRows);
  for (unsigned row = 0; row < kRows; ++row) {
    w.u8(0x10);
    w.string0("example.shop.Item");
    member0(w, "id", 0x00);
    w.f64(row);
    member0(w, "active", 0x01);
    w.u8(row % 3 != 0);
    member0(w, "price", 0x00);
    w.f64(priceOf(row));
    member0(w, "created", 0x0B);
    w.f64(createdOf(row));
    w.u16(0);
    member0(w, "title", 0x02);
    w.string0(titleOf(row));
    member0(w, "country", 0x02);
    w.string0(countryOf(row));
    member0(w, "note", 0x05);
    member0(w, "", 0x09);
  }
  return w.out;
}

std::string smallCall() {
  Writer w;
  w.begin(3, "null");
  w.u8(0x0A);
  w.u32(1);
  w.u8(0x11);
  w.u8(0x0A);
  w.u29(3 << 4 | 0x0B);
  w.string3("example.Call");
  for (const char* name : {"source", "operation", "timeout"}) w.string3(name);
  w.u8(0x06);
  w.string3("shop.ItemService");
  w.u8(0x06);
  w.string3("findById");
  w.u8(0x04);
  w.u29(30);
  w.string3("body");
  w.u8(0x09);
  w.u29(1 << 1 | 1);
  w.u29(1);
  w.u8(0x04);
  w.u29(4711);
  w.u29(1);
  return w.out;
}

std::string textLine(unsigned number) {
  static const char* const words[] = {"river ",  "stone ",  "quiet ", "morning ",
                                      "letter ", "window ", "garden "};
  std::string text;
  for (unsigned i = 0; text.size() < 40 + number * 37 % 300; ++i)
    text += words[(number + i * i) % 7];
  if (number % 3 == 0) text += "\"quoted\" and\tparted\nin two";
  return text;
}

std::string texts() {
  Writer w;
  w.begin(3, "text.store");
  w.u8(0x11);
  w.u8(0x09);
  w.u29(kTexts << 1 | 1);
  w.u29(1);
  for (unsigned number = 0; number < kTexts; ++number) {
    w.u8(0x06);
    w.string3(std::to_string(number) + " " + textLine(number));
  }
  return w.out;
}

std::string blob() {
  Writer w;
  w.begin(3, "file.store");
  w.u8(0x11);
  w.u8(0x0C);
  w.u29(kBlobBytes << 1 | 1);
  for (std::uint32_t i = 0; i < kBlobBytes; ++i) w.u8(i * 2654435761u >> 24);
  return w.out;
}

std::string deep() {
  Writer w;
  w.begin(0, "tree.store");
  for (unsigned level = 0; level < kLevels; ++level) {
    w.u8(0x03);
    member0(w, "level", 0x00);
    w.f64(level);
    w.string0("inner");
  }
  w.u8(0x05);
  for (unsigned level = 0; level < kLevels; ++level) member0(w, "", 0x09);
  return w.out;
}

}  // namespace

std::string packetOfRows(unsigned rows) {
  return rows3(rows, true);
}

std::vector<Workload> workloads() {
  return {
      {"rows3", rows3(kRows, true)},
      {"rows0", rows0()},
      {"inline", rows3(kRows, false)},
      {"small", smallCall()},
      {"text", texts()},
      {"blob", blob()},
      {"deep", deep()},
  };
}
