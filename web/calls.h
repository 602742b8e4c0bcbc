// SPDX-License-Identifier: Apache-2.0
//
// What the module does, one function for each call of core.d.ts. They know nothing of JavaScript; border.cpp does.
#ifndef WEB_CALLS_H
#define WEB_CALLS_H

#include <AMFWire.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace web {

// The options of all calls, as core.js fills them in: doubles alone, in this order. NaN: not set.
struct Options {
  double as;  // AMFWireForm
  double view;
  double salvage, compact, originals, dialect, pretty;  // 0 or 1
  double maxPacketBytes, maxTextBytes, maxDepth;
  double maxNodes, maxTreeBytes, maxCopiedBytes, maxStringBytes, maxSwitchedReferences;
  double maxFields;
};

struct Request {
  std::string_view bytes;  // or the text
  const Options& options;
  const std::vector<AMFWireExternalClass>& external;
};

// What a call returns. One that failed has an error in `facts`, and no result.
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
inline bool flag(double option, bool otherwise) {
  return isSet(option) ? option != 0 : otherwise;
}
// A limit too large for its type means the largest value: core.js lets no fraction and no sign through.
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
