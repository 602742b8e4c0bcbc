// SPDX-License-Identifier: Apache-2.0
//
// What the command line can say. Commands that have options of their own keep them in a member
// here.
#ifndef AMF2JSON_TOOL_OPTIONS_H
#define AMF2JSON_TOOL_OPTIONS_H

#include <AMFGuard.h>
#include <AMFWire.h>

#include <string>
#include <vector>

enum class Form { packet, amf0, amf3 };  // what the bytes are: a packet, or one value
enum class Color { automatic, always, never };
enum class ErrorFormat { text, json };
enum class ReportFormat { text, json };
enum class View { json, js, both, script };

struct DecodeOptions {
  View view = View::json;
  bool compact = false;
  bool exact = false;
};

struct DumpCommandOptions {
  bool full = false;
};

enum class PacketEncoding { binary, base64, hex };  // how packets are spelled

// Of export and import.
struct WireOptions {
  AMFWireForm form = AMFWireForm::automatic;
  bool compact = false;
  bool lines = false;
  bool salvage = false;
  bool noOriginals = false;
  PacketEncoding encoding = PacketEncoding::binary;
  std::vector<AMFWireExternalClass> externalClasses;
  AMFWireLimits limits;
};

struct Options {
  std::vector<std::string> files = {"-"};
  std::string output = "-";
  bool force = false;      // replaces files that -o otherwise leaves alone
  std::uint32_t jobs = 0;  // threads; 0: as many as there are processors
  bool allowTrailing = false;
  bool localTime = false;
  Color color = Color::automatic;
  ErrorFormat errorFormat = ErrorFormat::text;
  Form form = Form::packet;  // what the bytes are
  bool unwrap = false;
  std::size_t skip = 0;
  ReportFormat format = ReportFormat::text;  // of check and identify
  AMFVerifyLimits limits;
  std::size_t maxOutputBytes = std::size_t{1} << 28;  // of the text of one file
  DecodeOptions decode;
  DumpCommandOptions dump;
  WireOptions wire;
};

#endif  // AMF2JSON_TOOL_OPTIONS_H
