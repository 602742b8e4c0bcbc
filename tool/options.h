// SPDX-License-Identifier: Apache-2.0
//
// The values of all options. Options of one command are grouped in a struct of their own.
#ifndef AMF2JSON_TOOL_OPTIONS_H
#define AMF2JSON_TOOL_OPTIONS_H

#include <AMFGuard.h>
#include <AMFWire.h>

#include <cstdint>
#include <string>
#include <vector>

enum class Form { packet, amf0, amf3 };  // a packet, or a single value without a packet
enum class Color { automatic, always, never };
enum class ErrorFormat { text, json };
enum class ReportFormat { text, json };
enum class View { json, js, both, script };  // in the order of web/core.js

struct DecodeOptions {
  View view = View::json;
  bool compact = false;
  bool exact = false;
};

struct DumpCommandOptions {
  bool full = false;
};

enum class PacketEncoding { binary, base64, hex };  // how packets are written as text

// What export reads: the forms of AMFWireForm, in its order, and HTTP archives.
enum class ExportForm : std::uint32_t { automatic, packet, amf0, amf3, sharedObject, flv, har };

// Options of export and import.
struct WireOptions {
  ExportForm form = ExportForm::automatic;
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
  bool force = false;      // overwrite files that -o otherwise does not overwrite
  std::uint32_t jobs = 0;  // threads; 0: one for each processor
  bool allowTrailing = false;
  bool localTime = false;
  Color color = Color::automatic;
  ErrorFormat errorFormat = ErrorFormat::text;
  Form form = Form::packet;  // form of the input
  bool unwrap = false;
  std::size_t skip = 0;
  ReportFormat format = ReportFormat::text;  // output of check and identify
  AMFVerifyLimits limits;
  std::size_t maxOutputBytes = std::size_t{1} << 28;  // limit for the output of one file
  DecodeOptions decode;
  DumpCommandOptions dump;
  WireOptions wire;
};

#endif  // AMF2JSON_TOOL_OPTIONS_H
