// SPDX-License-Identifier: Apache-2.0
// Turns annotated hexadecimal text into a packet: hex_to_amf INPUT.hex OUTPUT.amf
// Blanks separate the tokens. `7F` is one byte, `61*1200` is one byte 1200 times, `#` starts a
// comment that runs to the end of the line. The output appears whole or not at all.
// Enter at main(). Exercised by building the samples.
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

const std::size_t kLargestPacket = 64u * 1024 * 1024;

// Blanks are named here rather than asked of the locale.
const char* const kBlanks = " \t\r\v\f";

[[noreturn]] void refuse(const std::string& token, const char* what) {
  throw std::runtime_error("'" + token + "': " + what);
}

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Decimal, 1 to kLargestPacket; anything else is refused.
std::size_t repeatCount(const std::string& token, std::size_t start) {
  std::size_t count = 0;
  for (std::size_t i = start; i < token.size(); ++i) {
    if (token[i] < '0' || token[i] > '9') refuse(token, "the repeat count is not a decimal number");
    count = count * 10 + static_cast<std::size_t>(token[i] - '0');
    if (count > kLargestPacket) refuse(token, "the repeat count is above 67108864");
  }
  if (count == 0) refuse(token, "the repeat count is missing or zero");
  return count;
}

void appendToken(const std::string& token, std::string& packet) {
  const int high = digitValue(token[0]);
  const int low = token.size() > 1 ? digitValue(token[1]) : -1;
  if (high < 0 || low < 0) refuse(token, "two hexadecimal digits expected");
  std::size_t count = 1;
  if (token.size() > 2) {
    if (token[2] != '*') refuse(token, "a blank or '*' expected after two hexadecimal digits");
    count = repeatCount(token, 3);
  }
  if (packet.size() + count > kLargestPacket)
    refuse(token, "the packet grows above 67108864 bytes");
  packet.append(count, static_cast<char>(high * 16 + low));
}

void appendLine(const std::string& line, std::string& packet) {
  const std::string fields = line.substr(0, line.find('#'));
  std::size_t start = fields.find_first_not_of(kBlanks);
  while (start != std::string::npos) {
    const std::size_t end = fields.find_first_of(kBlanks, start);
    appendToken(fields.substr(start, end - start), packet);
    start = fields.find_first_not_of(kBlanks, end);
  }
}

std::string systemText(const std::string& path, const char* what) {
  return path + ": " + what + ": " + std::strerror(errno);
}

std::string readPacket(const std::string& path) {
  std::ifstream input(path, std::ios::binary);
  if (!input) throw std::runtime_error(systemText(path, "cannot open"));
  std::string packet;
  std::string line;
  for (unsigned long number = 1; std::getline(input, line); ++number) {
    try {
      appendLine(line, packet);
    } catch (const std::runtime_error& error) {
      std::ostringstream text;
      text << path << ':' << number << ": " << error.what();
      throw std::runtime_error(text.str());
    }
  }
  if (input.bad()) throw std::runtime_error(systemText(path, "cannot read"));
  if (packet.empty()) throw std::runtime_error(path + ":1: no bytes in this file");
  return packet;
}

// Written beside the output and renamed, so that nobody ever sees half a packet.
void writePacket(const std::string& path, const std::string& packet) {
  const std::string beside = path + ".part";
  std::ofstream output(beside, std::ios::binary | std::ios::trunc);
  if (!output) throw std::runtime_error(systemText(beside, "cannot open"));
  output.write(packet.data(), static_cast<std::streamsize>(packet.size()));
  output.close();
  std::string failure;
  if (!output) {
    failure = systemText(beside, "cannot write");
  } else if (std::rename(beside.c_str(), path.c_str()) != 0) {
    failure = systemText(path, "cannot rename");
  }
  if (failure.empty()) return;
  std::remove(beside.c_str());
  throw std::runtime_error(failure);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "usage: hex_to_amf INPUT.hex OUTPUT.amf\n";
    return 2;
  }
  try {
    writePacket(arguments[2], readPacket(arguments[1]));
  } catch (const std::exception& error) {
    std::cerr << "hex_to_amf: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
