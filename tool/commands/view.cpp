// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/decode_test.cpp.
#include "tool/commands/view.h"

#include "tool/commands/soft_breaks.h"

const std::string& viewOf(AMFProtocol& protocol, View view, bool pretty) {
  switch (view) {
    case View::js: return protocol.getPackageInJS(pretty);
    case View::both: return protocol.getPackageInJSON_and_JS(pretty);
    case View::script: return protocol.getPackageAsJSView(pretty);
    case View::json: break;
  }
  return protocol.getPackageInJSON(pretty);
}

void removeSoftBreaks(std::string& text, const AMFProtocol& protocol, View view, bool pretty) {
  constexpr std::size_t kAssignmentLength = 8;  // "\n amf = ", before the JSON of View::js
  if (view == View::script) return;
  removeSoftBreaks(text, {static_cast<std::uint32_t>(protocol.lineBreakCount) - 1,
                          view == View::js ? kAssignmentLength : 0, pretty});
}
