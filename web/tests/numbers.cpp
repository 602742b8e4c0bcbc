// SPDX-License-Identifier: Apache-2.0
//
// numbers COUNT [FIRST LAST]: how the library writes and reads COUNT doubles, as hashes: a line for each 100,000. Built
// for this machine and as WebAssembly; both have to print the same (numbers.test.mjs). From FIRST to LAST what is hashed
// is printed itself, to find a difference.
// The doubles: every power of two and of ten with its neighbours, halves at the sixth decimal, few decimals, and random
// bit patterns; and COUNT / 10 random texts of numbers to read.
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "render/number_text.h"
#include "tool/commands/dump_rows.h"
#include "wire/number_text.h"

namespace {

using namespace amf2json;

constexpr std::uint64_t kLineEvery = 100000;

std::uint64_t firstShown = UINT64_MAX;
std::uint64_t lastShown = 0;
std::uint64_t state = 0x9E3779B97F4A7C15u;

// xorshift64*
std::uint64_t randomBits() {
  state ^= state >> 12;
  state ^= state << 25;
  state ^= state >> 27;
  return state * 2685821657736338717u;
}

double fromBits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

class Hash {
 public:
  void add(const void* data, std::size_t length) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    if (count >= firstShown && count <= lastShown) show(bytes, length);
    for (std::size_t i = 0; i < length; ++i) value = (value ^ bytes[i]) * 0x100000001B3u;
  }
  void countLine() {
    if (++count % kLineEvery == 0) print();
  }
  void print() const { std::printf("%" PRIu64 " %016" PRIx64 "\n", count, value); }

 private:
  void show(const unsigned char* bytes, std::size_t length) const {
    std::printf("%" PRIu64 ": ", count);
    const bool isText = length != 1 && length != sizeof(double);
    for (std::size_t i = 0; i < length; ++i) std::printf(isText ? "%c" : " %02x", bytes[i]);
    std::printf("\n");
  }

  std::uint64_t value = 0xCBF29CE484222325u;
  std::uint64_t count = 0;
};

void readBack(Hash& hash, const char* text, std::size_t length) {
  double read = 0;
  const auto outcome = static_cast<unsigned char>(wire::readNumber(text, length, read));
  hash.add(&outcome, 1);
  if (outcome == 0) hash.add(&read, sizeof read);
}

void hashNumber(Hash& hash, double value) {
  char text[400];
  if (wire::needsWord(value)) {
    hash.add(text, static_cast<std::size_t>(wire::putWord(text, value) - text));
  } else {
    const auto length = static_cast<std::size_t>(wire::putNumber(text, value) - text);
    hash.add(text, length);
    readBack(hash, text, length);
  }
  hash.add(text, static_cast<std::size_t>(render::putDouble(text, value) - text));
  const std::string shown = numberText(value);
  hash.add(shown.data(), shown.size());
  hash.countLine();
}

void hashNear(Hash& hash, double value) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double sign : {1.0, -1.0}) {
    hashNumber(hash, sign * value);
    hashNumber(hash, sign * std::nextafter(value, kInfinity));
    hashNumber(hash, sign * std::nextafter(value, -kInfinity));
  }
}

void edgeCases(Hash& hash) {
  for (int exponent = -1074; exponent <= 1023; ++exponent)
    hashNear(hash, std::ldexp(1.0, exponent));
  for (int exponent = -324; exponent <= 308; ++exponent) {
    hashNear(hash, std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr));
  }
  for (int i = 0; i < 2000; ++i) hashNear(hash, (i + 0.5) / 1000000.0);
  for (const double value :
       {0.0, std::numeric_limits<double>::max(), std::numeric_limits<double>::infinity(),
        9007199254740992.0, 4294967295.0}) {
    hashNear(hash, value);
  }
  // By their bits: what arithmetic makes of a NaN differs from machine to machine.
  for (const std::uint64_t bits :
       {0x7FF8000000000000u, 0xFFF8000000000000u, 0x7FF8000000000001u, 0xFFFFFFFFFFFFFFFFu}) {
    hashNumber(hash, fromBits(bits));
  }
}

double fewDecimals() {
  static constexpr double kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
  const auto whole = static_cast<double>(randomBits() >> (11 + randomBits() % 50));
  return whole / kPowers[randomBits() % 7];
}

std::string randomNumberText() {
  const auto digits = [](std::string& text, std::uint64_t count) {
    for (; count > 0; --count) text += static_cast<char>('0' + randomBits() % 10);
  };
  std::string text = randomBits() % 2 == 0 ? "-" : "";
  text += static_cast<char>('1' + randomBits() % 9);
  digits(text, randomBits() % 25);
  if (randomBits() % 2 == 0) {
    text += '.';
    digits(text, 1 + randomBits() % 25);
  }
  if (randomBits() % 2 == 0) {
    const auto exponent = static_cast<int>(randomBits() % 700) - 350;
    text += (randomBits() % 2 == 0 ? "e" : "E") + std::to_string(exponent);
  }
  return text;
}

}  // namespace

int main(int count, char** arguments) {
  const std::uint64_t wanted = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 1000000;
  if (count > 3) {
    firstShown = std::strtoull(arguments[2], nullptr, 10);
    lastShown = std::strtoull(arguments[3], nullptr, 10);
  }
  Hash numbers;
  edgeCases(numbers);
  for (std::uint64_t i = 0; i < wanted; ++i) {
    hashNumber(numbers, i % 4 == 0 ? fewDecimals() : fromBits(randomBits()));
  }
  numbers.print();
  Hash texts;
  for (std::uint64_t i = 0; i < wanted / 10; ++i) {
    const std::string text = randomNumberText();
    readBack(texts, text.data(), text.size());
    texts.countLine();
  }
  texts.print();
  return 0;
}
