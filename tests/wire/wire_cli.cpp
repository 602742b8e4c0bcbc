// SPDX-License-Identifier: Apache-2.0
//
// wire_cli export|import|identify [OPTION...] <INPUT >OUTPUT
// The calls of AMFWire.h as a program, for comparisons in bulk. Options: --as FORM, --no-originals,
// --salvage, --pretty,
// --external NAME=COUNT, --max-depth N, --max-text N, --max-packet N, --statistics (to stderr).
// A failure is one line on stderr, `STATUS<TAB>OFFSET<TAB>MESSAGE` or
// `STATUS<TAB>LINE:COLUMN<TAB>PATH<TAB>MESSAGE`, and exit code 1.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

#include "AMFWire.h"

namespace {

struct Command {
  std::string verb;
  AMFWireExportOptions options;
  bool statistics = false;
};

AMFWireForm formOf(const std::string& name) {
  const AMFWireForm forms[] = {AMFWireForm::packet, AMFWireForm::amf0, AMFWireForm::amf3,
                               AMFWireForm::sharedObject, AMFWireForm::flv};
  for (const AMFWireForm form : forms) {
    if (name == describe(form)) return form;
  }
  return AMFWireForm::automatic;
}

[[noreturn]] void usage() {
  std::fputs("usage: wire_cli export|import|identify [OPTION...]\n", stderr);
  std::exit(2);
}

void readOption(Command& command, const std::string& option, const std::string& value) {
  AMFWireExportOptions& options = command.options;
  if (option == "--as") {
    options.form = formOf(value);
  } else if (option == "--external") {
    const std::size_t equals = value.find('=');
    if (equals == std::string::npos) usage();
    const auto count = static_cast<std::uint32_t>(std::stoul(value.substr(equals + 1)));
    options.externalClasses.push_back({value.substr(0, equals), count});
  } else if (option == "--max-depth") {
    options.limits.maxDepth = static_cast<std::uint32_t>(std::stoul(value));
  } else if (option == "--max-text") {
    options.limits.maxTextBytes = std::stoul(value);
  } else if (option == "--max-packet") {
    options.limits.maxPacketBytes = std::stoul(value);
  } else {
    usage();
  }
}

Command readCommand(int count, char** arguments) {
  Command command;
  if (count < 2) usage();
  command.verb = arguments[1];
  for (int i = 2; i < count; ++i) {
    const std::string option = arguments[i];
    if (option == "--no-originals") {
      command.options.originals = false;
    } else if (option == "--salvage") {
      command.options.salvage = true;
    } else if (option == "--pretty") {
      command.options.pretty = true;
    } else if (option == "--statistics") {
      command.statistics = true;
    } else if (i + 1 < count) {
      readOption(command, option, arguments[++i]);
    } else {
      usage();
    }
  }
  return command;
}

void print(const AMFWireStatistics& figures) {
  std::fprintf(stderr,
               "form=%s sections=%llu originals=%llu changed=%llu wrong=%llu unknown=%llu "
               "salvaged=%llu trailing=%llu\n",
               describe(figures.form), static_cast<unsigned long long>(figures.sections),
               static_cast<unsigned long long>(figures.originals),
               static_cast<unsigned long long>(figures.changed),
               static_cast<unsigned long long>(figures.wrongLengths),
               static_cast<unsigned long long>(figures.unknownLengths),
               static_cast<unsigned long long>(figures.salvaged),
               static_cast<unsigned long long>(figures.trailingBytes));
}

AMFWireResult run(const Command& command, const std::string& input, std::string& output) {
  if (command.verb == "export") {
    AMFWireStatistics figures;
    const AMFWireResult result =
        amfWireExport(input.data(), input.size(), output, command.options, &figures);
    if (command.statistics) print(figures);
    return result;
  }
  if (command.verb == "import") {
    AMFWireImportOptions options;
    options.limits = command.options.limits;
    options.externalClasses = command.options.externalClasses;
    return amfWireImport(input.data(), input.size(), output, options);
  }
  if (command.verb != "identify") usage();
  output = describe(amfWireIdentify(input.data(), input.size(), command.options));
  output += '\n';
  return {};
}

}  // namespace

int main(int count, char** arguments) {
  const Command command = readCommand(count, arguments);
  const std::string input{std::istreambuf_iterator<char>(std::cin), {}};
  std::string output;
  const AMFWireResult result = run(command, input, output);
  if (result.ok()) {
    std::fwrite(output.data(), 1, output.size(), stdout);
    return 0;
  }
  if (result.line != 0) {
    std::fprintf(stderr, "%s\t%zu:%zu\t%s\t%s\n", describe(result.status), result.line,
                 result.column, result.path.c_str(), result.message.c_str());
  } else {
    std::fprintf(stderr, "%s\t%zu\t%s\n", describe(result.status), result.offset,
                 result.message.c_str());
  }
  return 1;
}
