// SPDX-License-Identifier: Apache-2.0
//
// The call fields(). WireFields finds the fields of the published formats, the guard's visitor those of the dialect.
// Tested by web/tests/fields.test.mjs.
#include <AMFGuard.h>

#include "tool/commands/dump_rows.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"
#include "web/calls.h"
#include "web/fields_wire.h"

namespace web {

namespace {

constexpr std::size_t kMostFields = 1000000;
constexpr std::size_t kMostText = std::size_t{256} << 20;
constexpr std::size_t kShownText = 64;

class DialectFields : public AMFVerifyVisitor {
 public:
  DialectFields(std::string_view source, FieldList& to) : bytes(source), fields(to) {}

  void field(const AMFVerifyField& field) override {
    fields.add(describe(field.kind), field.length, FieldList::kNowhere, meaningOf(field));
  }

 private:
  std::string meaningOf(const AMFVerifyField& field) const {
    const std::string kind = describe(field.kind);
    switch (field.kind) {
      case AMFFieldKind::marker0:
        return kind + ' ' + hexByte(bytes[field.offset]) + ' ' + markerName0(field.value);
      case AMFFieldKind::marker3:
        return kind + ' ' + hexByte(bytes[field.offset]) + ' ' + markerName3(field.value);
      case AMFFieldKind::mustUnderstand:
      case AMFFieldKind::boolean: return kind + (field.value != 0 ? " true" : " false");
      case AMFFieldKind::declaredLength:
        return kind + (field.value == 0xFFFFFFFF ? " unknown" : ' ' + std::to_string(field.value));
      case AMFFieldKind::number: return kind + ' ' + numberText(numberAt(bytes, field.offset));
      case AMFFieldKind::timeMs: return kind + ' ' + dateText(numberAt(bytes, field.offset));
      case AMFFieldKind::timeZone: return kind + ' ' + zoneText(bytes, field.offset);
      case AMFFieldKind::length:
        return kind + ' ' + std::to_string(field.value) + " of " + describe(field.of);
      case AMFFieldKind::byteArray: return kind + " of " + std::to_string(field.length) + " bytes";
      case AMFFieldKind::headerName:
      case AMFFieldKind::targetUri:
      case AMFFieldKind::responseUri:
      case AMFFieldKind::className:
      case AMFFieldKind::memberName:
      case AMFFieldKind::string:
      case AMFFieldKind::xml:
        return kind + ' ' + quoteForDisplay(bytes.substr(field.offset, field.length), kShownText);
      default: return kind + ' ' + std::to_string(field.value);
    }
  }

  std::string_view bytes;
  FieldList& fields;
};

void readDialect(const Request& request, FieldList& list) {
  AMFVerifyLimits limits;
  setLimit(limits.maxPacketBytes, request.options.maxPacketBytes);
  setLimit(limits.maxDepth, request.options.maxDepth);
  DialectFields visitor(request.bytes, list);
  const AMFVerifyResult result =
      visitPacket(request.bytes.data(), request.bytes.size(), visitor, limits);
  if (result.status == AMFVerifyStatus::ok) {
    const std::size_t left = list.rest().size();
    list.add("trailing", left, FieldList::kNowhere, "trailing: " + std::to_string(left) + " bytes");
  } else {
    list.refuse(result.offset, result.message);
  }
}

void readPublished(const Request& request, FieldList& list, JsonPaths& paths) {
  WireFields sink(request.bytes, list, paths);
  const AMFWireResult result =
      amfWireRead(request.bytes.data(), request.bytes.size(), sink, readOptions(request));
  if (!result.ok()) list.refuse(result.offset, result.message);
}

}  // namespace

void fields(const Request& request, Reply& reply) {
  std::size_t most = kMostFields;
  std::size_t mostText = kMostText;
  setLimit(most, request.options.maxFields);
  setLimit(mostText, request.options.maxTextBytes);
  FieldList list(request.bytes, most);
  JsonPaths paths;
  try {
    if (flag(request.options.dialect, false)) {
      readDialect(request, list);
    } else {
      readPublished(request, list, paths);
    }
    reply.result = list.text(paths, mostText);
    reply.isDone = true;
  } catch (const FieldLimit& limit) {
    reply.facts = failure(limit.code, "too many fields, or too long a text of them", limit.offset);
  }
}

}  // namespace web
