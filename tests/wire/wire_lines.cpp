// SPDX-License-Identifier: Apache-2.0
//
// wire_lines export|import [--as FORM] [--no-originals] [--salvage] [--lines] <INPUT >OUTPUT
// The calls of AMFWire.h for comparisons in bulk, with the options, lines and errors of
// plain/wire_plain.py: with --lines each line is one input (export: base64, import: JSON), and each
// output line is its result (export: JSON, import: base64), or {"error":...} with the place. Used
// by agreement.py.
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include "AMFWire.h"

namespace {

const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string toBase64(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      const bool padding = i + k > bytes.size();
      text += padding ? '=' : kDigits[group >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

// The text is well-formed: agreement.py wrote it.
std::string fromBase64(const std::string& text) {
  const std::string digits = kDigits;
  std::string bytes;
  std::uint32_t group = 0;
  int bits = 0;
  for (const char digit : text) {
    if (digit == '=') break;
    group = group << 6 | static_cast<std::uint32_t>(digits.find(digit));
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(group >> bits & 0xFF);
  }
  return bytes;
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (static_cast<unsigned char>(c) >= 0x20) {
      out += c;
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
      out += escaped;
    }
  }
  return out + "\"";
}

struct Command {
  bool exports = false;
  bool lines = false;
  AMFWireExportOptions options;
};

bool readForm(const std::string& name, AMFWireForm& form) {
  const AMFWireForm forms[] = {AMFWireForm::packet, AMFWireForm::amf0, AMFWireForm::amf3,
                               AMFWireForm::sharedObject, AMFWireForm::flv};
  form = AMFWireForm::automatic;
  for (const AMFWireForm candidate : forms) {
    if (name == describe(candidate)) form = candidate;
  }
  return name == "auto" || form != AMFWireForm::automatic;
}

bool readCommand(int count, char** arguments, Command& command) {
  if (count < 2) return false;
  const std::string direction = arguments[1];
  command.exports = direction == "export";
  for (int i = 2; i < count; ++i) {
    const std::string option = arguments[i];
    if (option == "--lines") {
      command.lines = true;
    } else if (option == "--no-originals") {
      command.options.originals = false;
    } else if (option == "--salvage") {
      command.options.salvage = true;
    } else if (option != "--as" || ++i == count || !readForm(arguments[i], command.options.form)) {
      return false;
    }
  }
  return command.exports || direction == "import";
}

AMFWireResult convert(const Command& command, const std::string& input, std::string& output) {
  return command.exports ? amfWireExport(input.data(), input.size(), output, command.options)
                         : amfWireImport(input.data(), input.size(), output);
}

std::string errorObject(const AMFWireResult& result) {
  std::string text = "{\"error\":" + quoted(result.message);
  if (result.line == 0) return text + ",\"offset\":" + std::to_string(result.offset) + "}";
  return text + ",\"line\":" + std::to_string(result.line) +
         ",\"column\":" + std::to_string(result.column) + ",\"path\":" + quoted(result.path) + "}";
}

void convertLine(const Command& command, const std::string& line) {
  std::string output;
  const AMFWireResult result = convert(command, command.exports ? fromBase64(line) : line, output);
  if (!result.ok()) {
    output = errorObject(result);
  } else if (!command.exports) {
    output = toBase64(output);
  }
  std::cout << output << '\n';
}

int convertWhole(const Command& command, const std::string& input) {
  std::string output;
  const AMFWireResult result = convert(command, input, output);
  if (result.ok()) {
    std::cout << output << (command.exports ? "\n" : "");
    return 0;
  }
  if (result.line == 0) {
    std::cerr << "offset " << result.offset;
  } else {
    std::cerr << "line " << result.line << ", column " << result.column << ", path " << result.path;
  }
  std::cerr << ": " << result.message << '\n';
  return 1;
}

}  // namespace

int main(int count, char** arguments) {
  Command command;
  if (!readCommand(count, arguments, command)) {
    std::cerr
        << "usage: wire_lines export|import [--as FORM] [--no-originals] [--salvage] [--lines]\n";
    return 2;
  }
  std::ios::sync_with_stdio(false);
  if (!command.lines) {
    return convertWhole(command, std::string{std::istreambuf_iterator<char>(std::cin), {}});
  }
  std::string line;
  while (std::getline(std::cin, line)) convertLine(command, line);
  return 0;
}
