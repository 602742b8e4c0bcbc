// SPDX-License-Identifier: Apache-2.0
//
// What is looked at before the first byte is written: that no input is overwritten, no result by
// another one, and nothing that nobody named.
#ifndef AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H
#define AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H

#include <string>
#include <vector>

#include "tool/options.h"

// For `file`, which the user named: it is replaced, but no input, and no read-only file unless
// --force is given. Throws Problem.
void checkFile(const std::string& file, const Options& options);

// The same for result files in `folder`, which is made if it is missing: of each input one, in that
// order. A file that is there is replaced only with --force. Throws Problem.
void checkFolder(const std::string& folder, const std::vector<std::string>& results,
                 const Options& options);

#endif  // AMF2JSON_TOOL_OUTPUT_OVERWRITE_CHECK_H
