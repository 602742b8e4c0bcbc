// SPDX-License-Identifier: Apache-2.0
//
// The commands, and the options that several of them share. commands() is in tool/command.h.
#ifndef AMF2JSON_TOOL_COMMANDS_COMMANDS_H
#define AMF2JSON_TOOL_COMMANDS_COMMANDS_H

#include "tool/cli/option_table.h"
#include "tool/command.h"

Command decodeCommand();
Command checkCommand();
Command identifyCommand();
Command dumpCommand();
Command roundtripCommand();
// Built where AMFWire is.
Command exportCommand();
Command importCommand();

// The options that every command takes: files, colours, forms of errors, limits.
void declareCommonOptions(OptionTable& table, Options& options);

// The part of them that is not about packets: -j, colours, forms of errors.
void declareRunOptions(OptionTable& table, Options& options);

// --external, for commands that read or write the published formats.
void declareExternalOption(OptionTable& table, Options& options);

// --format, for commands that answer with a line for each file.
void declareFormatOption(OptionTable& table, Options& options);

// -o,--output, for commands that write something long.
void declareOutputOptions(OptionTable& table, Options& options);

// --unwrap.
void declareUnwrapOption(OptionTable& table, Options& options);

// --allow-trailing.
void declareTrailingOption(OptionTable& table, Options& options);

// --as, --unwrap, --skip, for commands that look into packets.
void declareFormOptions(OptionTable& table, Options& options);

#endif  // AMF2JSON_TOOL_COMMANDS_COMMANDS_H
