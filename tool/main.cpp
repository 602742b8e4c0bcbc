// SPDX-License-Identifier: Apache-2.0
//
// amf2json: the command line. Tested by tests/tool_test.cpp.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <map>
#include <new>

#include "tool/decode.h"
#include "tool/outcome.h"
#include "tool/roundtrip.h"

void report(const std::string& text) {
  std::fprintf(stderr, "amf2json: %s\n", text.c_str());
}

namespace {

constexpr const char* kDescription =
    "Shows AMF packets as JSON or JavaScript and checks that they are written as they were read.";

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0  done; roundtrip: every packet equal\n"
    "  1  roundtrip: a packet is written with other bytes\n"
    "  2  wrong command line\n"
    "  3  the packet holds something that is refused\n"
    "  4  a file cannot be read or written\n"
    "  5  out of memory\n"
    "  6  the packet ends too early\n"
    "  7  the packet is over a limit\n"
    "Of several files the largest code counts. A reader that closes its pipe early is no error.\n"
    "\n"
    "Every packet is checked before it is decoded, against its own end and against the limits.\n"
    "Do not run the JavaScript made of a packet that you do not trust: a crafted string gets out\n"
    "of its quotes.\n";

constexpr const char* kDecodeFooter =
    "Standard output is the library's text as it is, and one line feed more if it does not end\n"
    "in one. A refused packet gives no text, but one line on standard error:\n"
    "  amf2json: FILE: TEXT at byte OFFSET\n"
    "Bytes behind the last message are not looked at.\n";

constexpr const char* kRoundtripFooter =
    "One line for each file:\n"
    "  FILE: equal\n"
    "  FILE: differs at byte OFFSET: XX read, YY written: FIELD in SECTION (REASON)\n"
    "  FILE: refused: TEXT at byte OFFSET\n"
    "  FILE: refused when written: TEXT at byte OFFSET\n"
    "Only the first difference is shown. A REASON says that this field is meant to be written\n"
    "in one way only; a difference without a reason should not happen.\n";

const std::map<std::string, View> kViews = {
    {"json", View::json}, {"js", View::js}, {"both", View::both}, {"script", View::script}};

void addLimits(CLI::App* command, AMFVerifyLimits& limits) {
  const auto add = [command](const char* name, auto& limit, const char* what) {
    command->add_option(name, limit, what)->capture_default_str()->type_name("N")->group("Limits");
  };
  add("--max-packet-bytes", limits.maxPacketBytes, "Size of the packet");
  add("--max-depth", limits.maxDepth, "Objects and arrays inside one another");
  add("--max-nodes", limits.maxNodes, "Values, names and URIs");
  add("--max-tree-bytes", limits.maxTreeBytes, "Memory for all of them");
  add("--max-copied-bytes", limits.maxCopiedBytes, "The part of it that references copy");
  add("--max-string-bytes", limits.maxStringBytes, "One string, XML text or byte array");
  add("--max-switched-references", limits.maxSwitchedReferences,
      "AMF3 references right behind a switch");
}

CLI::App* addDecode(CLI::App& app, DecodeOptions& options) {
  CLI::App* const command = app.add_subcommand("decode", "Shows one packet");
  command->footer(kDecodeFooter);
  command
      ->add_option_function<std::string>(
          "--to", [&options](const std::string& name) { options.view = kViews.at(name); },
          "json: JSON text (default)\njs: script that builds \"amf\"\n"
          "both: JSON text and statements\nscript: statements alone")
      ->check(CLI::IsMember(kViews))
      ->option_text("VIEW");
  command->add_flag("--compact", options.compact, "No indentation and no line ends");
  command->add_option("-o,--output", options.output, "File to write, whole or not at all")
      ->type_name("FILE");
  command->add_option("FILE", options.packet, "Packet to read; - or none: standard input")
      ->type_name("");
  addLimits(command, options.limits);
  return command;
}

void addRoundtrip(CLI::App& app, std::vector<std::string>& files, AMFVerifyLimits& limits) {
  CLI::App* const command =
      app.add_subcommand("roundtrip", "Decodes packets, encodes them again, compares the bytes");
  command->footer(kRoundtripFooter);
  command->add_option("FILE", files, "Packets to read; - or none: standard input")->type_name("");
  addLimits(command, limits);
}

ExitCode run(int argc, char** argv) {
  DecodeOptions options;
  std::vector<std::string> files = {"-"};
  CLI::App app(kDescription, "amf2json");
  app.footer(kFooter);
  app.set_version_flag("--version", "amf2json " AMF2JSON_VERSION);
  app.require_subcommand(1);
  app.failure_message([](const CLI::App*, const CLI::Error& e) {
    return std::string("amf2json: ") + e.what() + "\namf2json --help says more.\n";
  });
  const CLI::App* const decodeCommand = addDecode(app, options);
  addRoundtrip(app, files, options.limits);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? kDone : kUsage;
  }
  return decodeCommand->parsed() ? decode(options) : roundtrip(files, options.limits);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe then shows as a failed write
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    report("out of memory");
    return kOutOfMemory;
  }
}
