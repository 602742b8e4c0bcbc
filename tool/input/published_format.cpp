// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/identify_test.cpp and tests/tool/export_test.cpp.
#include "tool/input/published_format.h"

#include <string>
#include <vector>

#ifdef AMF2JSON_HAVE_WIRE
#include <algorithm>

namespace {

class TrailingLength : public AMFWireSink {
 public:
  void endDocument(const AMFWireString& trailing, const AMFWireString&) override {
    length = trailing.length;
  }
  std::size_t length = 0;
};

// Finds what the dialect reads in another way.
class Differences : public AMFWireSink {
 public:
  void beginSection(const AMFWireSection&) override {
    begun = 0;
    ended.clear();
    open.clear();
  }
  void beginAmf3() override { isAmf3 = true; }
  void endAmf3() override { isAmf3 = false; }
  void beginArray(const AMFWireArray&) override { begin(); }
  void beginEcmaArray(std::uint32_t) override { begin(); }
  void beginObject(const AMFWireObject&) override { begin(); }
  void end() override {
    if (isAmf3) return;
    ended.push_back(open.back());
    open.pop_back();
  }
  void reference(std::uint32_t index) override {
    if (!isAmf3 && (index >= ended.size() || ended[index] != index)) found = "AMF0 references";
  }
  void integer(std::int32_t value) override {
    const auto bits = static_cast<std::uint32_t>(value);
    if (value < 0 || (value >= 0x200000 && (bits & 0x80u) != 0)) found = "AMF3 integers";
  }

  const char* found = nullptr;

 private:
  void begin() {
    if (!isAmf3) open.push_back(begun++);
  }

  bool isAmf3 = false;
  std::uint32_t begun = 0;
  std::vector<std::uint32_t> open;   // values in the order in which they began
  std::vector<std::uint32_t> ended;  // values in the order in which they ended
};

}  // namespace

Matcher matchPublished(const AMFWireReadOptions& options) {
  return [&options](std::string_view bytes) {
    AMFWireReadOptions strict = options;
    strict.salvage = false;
    TrailingLength trailing;
    if (!amfWireRead(bytes.data(), bytes.size(), trailing, strict).ok()) return Match::no;
    return trailing.length == 0 || !isPlainText(bytes) ? Match::yes : Match::weak;
  };
}

bool readsAsPublished(std::string_view bytes, AMFWireForm form) {
  AMFWireReadOptions options;
  options.form = form;
  return readsAsPublished(bytes, options);
}

bool readsAsPublished(std::string_view bytes, const AMFWireReadOptions& options) {
  AMFWireReadOptions strict = options;
  strict.salvage = false;
  TrailingLength trailing;
  return amfWireRead(bytes.data(), bytes.size(), trailing, strict).ok() && trailing.length == 0;
}

bool isExportDocument(std::string_view text) {
  std::string bytes;
  return amfWireImport(text.data(), text.size(), bytes).ok();
}

bool isArchiveStart(std::string_view start) {
  std::string compact(start);
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  compact.erase(std::remove_if(compact.begin(), compact.end(), isBlank), compact.end());
  return compact.rfind("{\"log\":{", 0) == 0;
}

const char* dialectDifference(std::string_view packet) {
  AMFWireReadOptions options;
  options.form = AMFWireForm::packet;
  Differences differences;
  const bool isRead = amfWireRead(packet.data(), packet.size(), differences, options).ok();
  return isRead ? differences.found : nullptr;
}

#else

Matcher matchPublished(const AMFWireReadOptions&) {
  return [](std::string_view) { return Match::no; };
}

bool readsAsPublished(std::string_view, AMFWireForm) {
  return false;
}

bool readsAsPublished(std::string_view, const AMFWireReadOptions&) {
  return false;
}

bool isExportDocument(std::string_view) {
  return false;
}

bool isArchiveStart(std::string_view) {
  return false;
}

const char* dialectDifference(std::string_view) {
  return nullptr;
}

#endif
