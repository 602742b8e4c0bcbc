// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_CLI_DID_YOU_MEAN_H
#define AMF2JSON_TOOL_CLI_DID_YOU_MEAN_H

#include <string>
#include <vector>

// "; did you mean 'decode'?". Where nothing known is near, "; there are decode, check" if that is a
// short list, else nothing.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

#endif  // AMF2JSON_TOOL_CLI_DID_YOU_MEAN_H
