// SPDX-License-Identifier: Apache-2.0
//
// The calls for the library's own dialect. The results are those of the program's commands check, decode and identify:
// tool/commands/check.cpp, tool/commands/decode.cpp, tool/input/identify.cpp. Tested by web/tests/same_as_program.test.mjs.
#include <AMFGuard.h>

#include <algorithm>

#include "tool/commands/view.h"
#include "tool/input/form.h"
#include "tool/input/identify.h"
#include "tool/input/published_format.h"
#include "tool/text/words.h"
#include "web/calls.h"
#include "web/json_text.h"

namespace web {

namespace {

// The error codes of core.d.ts.
const char* codeOf(AMFVerifyStatus status) {
  switch (status) {
    case AMFVerifyStatus::packetTooLarge: return "packetLimit";
    case AMFVerifyStatus::truncated: return "truncated";
    case AMFVerifyStatus::malformed: return "malformed";
    case AMFVerifyStatus::depthLimit: return "depthLimit";
    case AMFVerifyStatus::nodeLimit: return "nodeLimit";
    case AMFVerifyStatus::treeLimit: return "treeLimit";
    case AMFVerifyStatus::copyLimit: return "copyLimit";
    case AMFVerifyStatus::stringLimit: return "stringLimit";
    case AMFVerifyStatus::switchedReferenceLimit: return "switchedReferenceLimit";
    case AMFVerifyStatus::outOfMemory: return "memory";
    default: return "bug";
  }
}

// A packet, or a value in an envelope, with the result of its check.
class CheckedPacket {
 public:
  explicit CheckedPacket(const Request& request) {
    const double as = request.options.as;
    if (isSet(as)) {
      const auto wanted = static_cast<AMFWireForm>(static_cast<std::uint32_t>(as));
      form = wanted == AMFWireForm::amf0   ? Form::amf0
             : wanted == AMFWireForm::amf3 ? Form::amf3
                                           : Form::packet;
    }
    envelope = envelopeOf(form);
    bytes.reserve(envelope.size() + request.bytes.size());
    bytes.append(envelope).append(request.bytes);
    checked = verifyPacket(bytes.data(), bytes.size(), limitsFor(form, limits(request.options)));
  }

  // The offset in the bytes of the host, for one in `bytes`, which may begin with an envelope.
  std::size_t place(std::size_t offset) const { return offset - std::min(offset, envelope.size()); }
  bool isOk() const { return checked.status == AMFVerifyStatus::ok; }
  std::string message() const {
    if (isOk()) return "";
    if (checked.status != AMFVerifyStatus::truncated) return checked.message;
    return std::string(checked.message) + ": at least " +
           pluralize(checked.needed, "byte is missing", "bytes are missing");
  }

  Form form = Form::packet;
  std::string_view envelope;
  std::string bytes;
  AMFVerifyResult checked;

 private:
  static AMFVerifyLimits limits(const Options& options) {
    AMFVerifyLimits result;
    setLimit(result.maxPacketBytes, options.maxPacketBytes);
    setLimit(result.maxDepth, options.maxDepth);
    setLimit(result.maxNodes, options.maxNodes);
    setLimit(result.maxTreeBytes, options.maxTreeBytes);
    setLimit(result.maxCopiedBytes, options.maxCopiedBytes);
    setLimit(result.maxStringBytes, options.maxStringBytes);
    setLimit(result.maxSwitchedReferences, options.maxSwitchedReferences);
    return result;
  }
};

// The name of the form as which exportJson reads all bytes; null if there is none.
const char* publishedForm(std::string_view bytes) {
  const AMFWireForm form = amfWireIdentify(bytes.data(), bytes.size());
  return readsAsPublished(bytes, form) ? describe(form) : nullptr;
}

}  // namespace

void decode(const Request& request, Reply& reply) {
  const CheckedPacket packet(request);
  if (!packet.isOk()) {
    reply.facts = failure(codeOf(packet.checked.status), packet.message(),
                          packet.place(packet.checked.offset));
    return;
  }
  const View view = isSet(request.options.view)
                        ? static_cast<View>(static_cast<int>(request.options.view))
                        : View::json;
  const bool pretty = flag(request.options.pretty, true);
  AMFProtocol protocol;
  protocol.parse(packet.bytes.data());
  escapeForViews(protocol.package, view == View::json ? AMFEscapeFor::json : AMFEscapeFor::script);
  protocol.useTemporaries = false;
  reply.result = viewOf(protocol, view, pretty);
  removeSoftBreaks(reply.result, protocol, view, pretty);
  reply.isDone = true;
}

void check(const Request& request, Reply& reply) {
  const CheckedPacket packet(request);
  const AMFVerifyResult& checked = packet.checked;
  const std::size_t consumed = packet.place(checked.consumed);
  JsonText json;
  const auto put = [&json](const char* name, std::uint64_t value) {
    json.key(name);
    json.number(value);
  };
  json.open('{');
  json.key("ok");
  json.word(packet.isOk() ? "true" : "false");
  json.key("status");
  json.text(describe(checked.status));
  json.key("message");
  json.text(packet.message());
  put("offset", packet.place(checked.offset));
  put("bytes", request.bytes.size());
  put("consumed", consumed);
  put("leftOver", request.bytes.size() - consumed);
  put("headers", checked.headers);
  put("messages", checked.messages);
  put("nodes", checked.nodes);
  put("depth", checked.depth);
  put("treeBytes", checked.treeBytes);
  put("lyingLengths", checked.lengthMismatches);
  json.close('}');
  reply.facts = std::move(json.out);
  reply.isDone = true;
}

void identify(const Request& request, Reply& reply) {
  const Identity identity = ::identify(request.bytes, AMFVerifyLimits());
  JsonText json;
  json.open('{');
  json.key("known");
  json.word(identity.isKnown ? "true" : "false");
  json.key("kind");
  json.text(identity.kind);
  json.key("reason");
  json.text(identity.verdict);
  json.key("wrappers");
  json.open('[');
  for (const char* const wrapper : identity.wrappers) json.text(wrapper);
  json.close(']');
  json.key("form");
  const char* const form = publishedForm(request.bytes);
  if (form != nullptr) {
    json.text(form);
  } else {
    json.word("null");
  }
  json.key("hints");
  json.open('[');
  const std::string command = commandFor(identity, "FILE");
  if (!command.empty()) json.text(command);
  json.close(']');
  json.close('}');
  reply.facts = std::move(json.out);
  reply.isDone = true;
}

}  // namespace web
