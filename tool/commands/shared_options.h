// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_COMMANDS_SHARED_OPTIONS_H
#define AMF2JSON_TOOL_COMMANDS_SHARED_OPTIONS_H

#include "tool/cli/option_table.h"
#include "tool/options.h"

// The options that every command takes: files, colours, forms of errors, limits.
void declareShared(OptionTable& table, Options& options);

// The part of them that is not about packets: -j, colours, forms of errors.
void declareRun(OptionTable& table, Options& options);

// --external, for commands that read or write the published formats.
void declareExternal(OptionTable& table, Options& options);

// --format, for commands that answer with a line for each file.
void declareFormat(OptionTable& table, Options& options);

// -o,--output, for commands that write something long.
void declareOutput(OptionTable& table, Options& options);

// --as, --unwrap, --skip, for commands that look into packets.
void declareForm(OptionTable& table, Options& options);

#endif  // AMF2JSON_TOOL_COMMANDS_SHARED_OPTIONS_H
