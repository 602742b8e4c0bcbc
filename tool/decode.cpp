// SPDX-License-Identifier: Apache-2.0
//
// amf2json decode. Tested by tests/tool_test.cpp.
#include "tool/decode.h"

#include <new>

#include "tool/packet_file.h"

namespace {

const std::string& textOf(AMFProtocol& protocol, const DecodeOptions& options) {
  const bool pretty = !options.compact;
  switch (options.view) {
    case View::js: return protocol.getPackageInJS(pretty);
    case View::both: return protocol.getPackageInJSON_and_JS(pretty);
    case View::script: return protocol.getPackageAsJSView(pretty);
    case View::json: break;
  }
  return protocol.getPackageInJSON(pretty);
}

}  // namespace

ExitCode decode(const DecodeOptions& options) {
  try {
    const std::vector<char> packet = readPacket(options.packet);
    AMFProtocol protocol;
    decodePacket(protocol, packet, options.limits);
    std::string text = textOf(protocol, options);
    if (text.empty() || text.back() != '\n') text += '\n';
    writeText(options.output, text);
    return kDone;
  } catch (const Refusal& refusal) {
    report(options.packet + ": " + refusal.text + " at byte " + std::to_string(refusal.offset));
    return refusal.exitCode;
  } catch (const FileFailure& failure) {
    report(failure.text);
    return kFileFailure;
  } catch (const std::bad_alloc&) {
    report(options.packet + ": out of memory");
    return kOutOfMemory;
  }
}
