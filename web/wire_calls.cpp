// SPDX-License-Identifier: Apache-2.0
//
// The calls for the published formats: exportJson and importJson. Tested by web/tests/same_as_program.test.mjs and web/tests/errors.test.mjs.
#include "tool/commands/export_warnings.h"
#include "web/calls.h"
#include "web/json_text.h"

namespace web {

namespace {

// The error codes of core.d.ts.
const char* codeOf(AMFWireStatus status) {
  switch (status) {
    case AMFWireStatus::truncated: return "truncated";
    case AMFWireStatus::malformed: return "malformed";
    case AMFWireStatus::unknownExternal: return "unknownExternal";
    case AMFWireStatus::packetLimit: return "packetLimit";
    case AMFWireStatus::depthLimit: return "depthLimit";
    case AMFWireStatus::textLimit: return "textLimit";
    case AMFWireStatus::flagLimit: return "flagLimit";
    case AMFWireStatus::syntax: return "syntax";
    case AMFWireStatus::content: return "content";
    default: return "bug";
  }
}

AMFWireLimits limits(const Options& options) {
  AMFWireLimits result;
  setLimit(result.maxPacketBytes, options.maxPacketBytes);
  setLimit(result.maxTextBytes, options.maxTextBytes);
  setLimit(result.maxDepth, options.maxDepth);
  return result;
}

}  // namespace

AMFWireReadOptions readOptions(const Request& request) {
  AMFWireReadOptions result;
  if (isSet(request.options.as)) {
    result.form = static_cast<AMFWireForm>(static_cast<std::uint32_t>(request.options.as));
  }
  result.salvage = flag(request.options.salvage, false);
  result.limits = limits(request.options);
  result.externalClasses = request.external;
  return result;
}

std::string failure(const char* code, std::string_view message) {
  JsonText json;
  json.open('{');
  json.key("code");
  json.text(code);
  json.key("message");
  json.text(message);
  json.close('}');
  return json.out;
}

std::string failure(const char* code, std::string_view message, std::size_t offset) {
  std::string facts = failure(code, message);
  facts.back() = ',';
  return facts + "\"offset\":" + std::to_string(offset) + '}';
}

std::string failure(const AMFWireResult& result) {
  const char* const code = codeOf(result.status);
  if (result.line == 0) return failure(code, result.message, result.offset);
  JsonText json;
  json.open('{');
  json.key("code");
  json.text(code);
  json.key("message");
  json.text(result.message);
  json.key("path");
  json.text(result.path);
  json.key("line");
  json.number(result.line);
  json.key("column");
  json.number(result.column);
  json.close('}');
  return json.out;
}

void exportJson(const Request& request, Reply& reply) {
  AMFWireExportOptions options;
  static_cast<AMFWireReadOptions&>(options) = readOptions(request);
  options.originals = flag(request.options.originals, true);
  options.pretty = !flag(request.options.compact, false);
  AMFWireStatistics found;
  const AMFWireResult result =
      amfWireExport(request.bytes.data(), request.bytes.size(), reply.result, options, &found);
  if (!result.ok()) {
    reply.facts = failure(result);
    return;
  }
  JsonText json;
  json.open('{');
  json.key("form");
  json.text(describe(found.form));
  json.key("warnings");
  json.open('[');
  for (const ExportWarning& warning : exportWarnings(found)) json.text(warning.text);
  json.close(']');
  json.close('}');
  reply.facts = std::move(json.out);
  reply.isDone = true;
}

void importJson(const Request& request, Reply& reply) {
  const AMFWireImportOptions options{limits(request.options), request.external};
  const AMFWireResult result =
      amfWireImport(request.bytes.data(), request.bytes.size(), reply.result, options);
  if (!result.ok()) reply.facts = failure(result);
  reply.isDone = result.ok();
}

}  // namespace web
