// SPDX-License-Identifier: Apache-2.0
//
// The calls of core.d.ts, one function each. border.cpp makes them available to JavaScript.
#ifndef WEB_CALLS_H
#define WEB_CALLS_H

#include <AMFWire.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace web {

// The options of all calls. core.js writes them as an array of doubles in this order. NaN means not set.
struct Options {
  double as;  // AMFWireForm
  double view;
  double salvage, compact, originals, dialect, pretty;  // 0 or 1
  double maxPacketBytes, maxTextBytes, maxDepth;
  double maxNodes, maxTreeBytes, maxCopiedBytes, maxStringBytes, maxSwitchedReferences;
  double maxFields;
};

struct Request {
  std::string_view bytes;  // or the text of importJson()
  const Options& options;
  const std::vector<AMFWireExternalClass>& external;
};

// What a call returns. After a failure `facts` is the error, and `result` is not used.
struct Reply {
  bool isDone = false;
  std::string result;  // text or bytes
  std::string facts;   // a JSON object
};

void exportJson(const Request& request, Reply& reply);
void importJson(const Request& request, Reply& reply);
void identify(const Request& request, Reply& reply);
void check(const Request& request, Reply& reply);
void decode(const Request& request, Reply& reply);
void fields(const Request& request, Reply& reply);

// ---- What the calls share

AMFWireReadOptions readOptions(const Request& request);

inline bool isSet(double option) {
  return option == option;
}
inline bool flag(double option, bool defaultValue) {
  return isSet(option) ? option != 0 : defaultValue;
}
// Stores a limit if it is set. One too large for its type becomes the largest value. core.js passes
// only whole numbers from 0.
template <class Limit>
void setLimit(Limit& limit, double option) {
  constexpr double kLargest = static_cast<double>(static_cast<Limit>(-1));
  if (isSet(option))
    limit = option >= kLargest ? static_cast<Limit>(-1) : static_cast<Limit>(option);
}

// The facts of a failure: code, message and, where they are known, the place.
std::string failure(const char* code, std::string_view message);
std::string failure(const char* code, std::string_view message, std::size_t offset);
std::string failure(const AMFWireResult& result);

}  // namespace web

#endif  // WEB_CALLS_H
