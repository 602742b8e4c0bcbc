// SPDX-License-Identifier: Apache-2.0
//
// All commands, and the options that several of them share. commands() is declared in
// tool/command.h.
#ifndef AMF2JSON_TOOL_COMMANDS_COMMANDS_H
#define AMF2JSON_TOOL_COMMANDS_COMMANDS_H

#include "tool/cli/option_table.h"
#include "tool/command.h"

Command decodeCommand();
Command checkCommand();
Command identifyCommand();
Command dumpCommand();
Command roundtripCommand();
// Only in builds with AMFWire.
Command exportCommand();
Command importCommand();

// The options of most commands: files, colours, form of errors, limits.
void declareCommonOptions(OptionTable& table, Options& options);

// The options that every command has: -j, colours, form of errors.
void declareRunOptions(OptionTable& table, Options& options);

// --external, for commands that read or write the published formats.
void declareExternalOption(OptionTable& table, Options& options);

// --format, for commands that write one line for each file.
void declareFormatOption(OptionTable& table, Options& options);

// -o,--output and --force, for commands with long output.
void declareOutputOptions(OptionTable& table, Options& options);

// --unwrap.
void declareUnwrapOption(OptionTable& table, Options& options);

// --allow-trailing.
void declareTrailingOption(OptionTable& table, Options& options);

// --as, --unwrap, --skip, for commands that read packets of the dialect.
void declareFormOptions(OptionTable& table, Options& options);

#endif  // AMF2JSON_TOOL_COMMANDS_COMMANDS_H
