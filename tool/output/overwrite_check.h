// SPDX-License-Identifier: Apache-2.0
//
// Checks before the first byte is written: no input is overwritten, no result overwrites another,
// and no existing file is overwritten by accident.
#ifndef AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H
#define AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H

#include <string>
#include <vector>

#include "tool/options.h"

// For an output file that the user named: it is replaced, unless it is an input, or read-only
// without --force. Throws Problem.
void checkFile(const std::string& file, const Options& options);

// For an open output, such as standard output: it may not be an input. Throws Problem.
void checkStream(int descriptor, const Options& options);

// For the results in a directory, one for each input, in the order of the inputs. Creates the
// directory. Existing files are replaced only with --force. Throws Problem.
void checkFolder(const std::string& folder, const std::vector<std::string>& results,
                 const Options& options);

#endif  // AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H
