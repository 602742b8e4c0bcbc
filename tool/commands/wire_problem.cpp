// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/export_test.cpp.
#include "tool/commands/wire_problem.h"

#include "tool/input/wrappers.h"
#include "tool/text/hex.h"

namespace {

// Counts sections until reading stops.
class SectionFinder : public AMFWireSink {
 public:
  void beginDocument(const AMFWireDocument& document) override {
    form = document.form;
    headersRemaining = form == AMFWireForm::packet ? document.headerCount : 0;
    isHeader = headersRemaining > 0;
  }
  void beginMessages(std::uint32_t declaredCount) override {
    messagesRemaining = declaredCount;
    isHeader = false;
    number = 0;
  }
  void endSection() override {
    ++number;
    std::uint32_t& remaining = isHeader ? headersRemaining : messagesRemaining;
    if (remaining > 0) --remaining;
  }

  // "header 0", "message 2", "envelope"; empty where there are no sections to count.
  std::string name() const {
    if (form == AMFWireForm::flv) return "script tag " + std::to_string(number);
    if (form != AMFWireForm::packet) return "";
    if ((isHeader ? headersRemaining : messagesRemaining) == 0) return "envelope";
    return (isHeader ? "header " : "message ") + std::to_string(number);
  }

 private:
  AMFWireForm form = AMFWireForm::packet;
  std::uint32_t headersRemaining = 0;
  std::uint32_t messagesRemaining = 0;
  std::uint32_t number = 0;
  bool isHeader = false;
};

ExitCode exitCodeOf(AMFWireStatus status) {
  switch (status) {
    case AMFWireStatus::ok: return kDone;
    case AMFWireStatus::truncated: return kTruncated;
    case AMFWireStatus::packetLimit:
    case AMFWireStatus::depthLimit:
    case AMFWireStatus::textLimit:
    case AMFWireStatus::flagLimit: return kOverLimit;
    case AMFWireStatus::misuse: return kBug;
    default: return kMalformed;
  }
}

// A limit is named by its option.
std::string messageOf(const AMFWireResult& result, const Options& options) {
  const AMFWireLimits& limits = options.wire.limits;
  switch (result.status) {
    case AMFWireStatus::packetLimit:
      return overLimit(describe(result.status), "--max-packet-bytes", limits.maxPacketBytes);
    case AMFWireStatus::depthLimit:
      return overLimit(describe(result.status), "--max-depth", limits.maxDepth);
    case AMFWireStatus::textLimit:
      return overLimit(describe(result.status), "--max-output-bytes", options.maxOutputBytes);
    default: return result.message;
  }
}

}  // namespace

Problem exportProblem(const AMFWireResult& result, std::string_view bytes,
                      const AMFWireReadOptions& read, const Options& options) {
  Problem problem{exitCodeOf(result.status), describe(result.status), messageOf(result, options)};
  problem.offset = result.offset;
  problem.hexContext = hexAround(bytes, result.offset);
  if (result.status == AMFWireStatus::unknownExternal) {
    problem.hint =
        "--external CLASS=VALUES reads it as so many values, --salvage keeps the raw bytes";
  }
  if (isGzip(bytes) && !options.unwrap)
    problem.hint = "these bytes are gzip: --unwrap unpacks them";
  if (result.status == AMFWireStatus::textLimit) return problem;
  SectionFinder finder;
  amfWireRead(bytes.data(), bytes.size(), finder, read);
  problem.section = finder.name();
  return problem;
}

Problem importProblem(const AMFWireResult& result, const Options& options) {
  Problem problem{exitCodeOf(result.status), describe(result.status), messageOf(result, options)};
  if (result.line != 0) problem.position = TextPosition{result.path, result.line, result.column};
  return problem;
}
