// SPDX-License-Identifier: Apache-2.0
//
// The fields of the published formats. AMFWire's reader reads and checks the bytes. For each of its events this sink
// adds the fields that the event was read from.
// Tested by web/tests/fields.test.mjs.
#ifndef WEB_FIELDS_WIRE_H
#define WEB_FIELDS_WIRE_H

#include <AMFWire.h>

#include <string>
#include <string_view>
#include <vector>

#include "web/field_list.h"
#include "web/json_paths.h"
#include "web/name_rule.h"

namespace web {

class WireFields : public AMFWireSink {
 public:
  WireFields(std::string_view source, FieldList& to, JsonPaths& at)
      : bytes(source), fields(to), paths(at) {}

  // The document (fields_document.cpp).
  void beginDocument(const AMFWireDocument& document) override;
  void beginMessages(std::uint32_t declaredCount) override;
  void endDocument(const AMFWireString& trailing, const AMFWireString& error) override;
  void beginSection(const AMFWireSection& section) override;
  void rawSection(const AMFWireString& raw, const AMFWireString& error) override;
  void endSection() override;

  // Values (fields_wire.cpp).
  void undefined() override { marker(take()); }
  void null() override { marker(take()); }
  void unsupported() override { marker(take()); }
  void boolean(bool value) override;
  void integer(std::int32_t value) override;
  void number(double value) override;
  void string(const AMFWireString& value) override;
  void xmlDocument(const AMFWireString& value) override { text("xml", value, take()); }
  void xml(const AMFWireString& value) override { text("xml", value, take()); }
  void date(double timeMs, std::int16_t zone) override;
  void byteArray(const AMFWireString& value) override { text("byteArray", value, take()); }
  void reference(std::uint32_t index) override;
  void beginAmf3() override;
  void endAmf3() override;
  void beginArray(const AMFWireArray& array) override;
  void beginEcmaArray(std::uint32_t declaredCount) override;
  void beginObject(const AMFWireObject& object) override;
  void beginExternal(const AMFWireExternal& external) override;
  void beginVector(const AMFWireVector& vector) override;
  void vectorItems(const char* items, std::uint32_t count) override;
  void beginDictionary(std::uint32_t count, bool weak) override;
  void member(const AMFWireString& name) override;
  void denseItems() override;
  void fieldGroup(const AMFWireFlags& flags) override;
  void field(const AMFWireField& field) override;
  void end() override;

 private:
  using Place = JsonPaths::Place;
  enum class Kind : std::uint8_t {
    one,         // the value of `place`
    named,       // members; member() or field() makes their places
    list,        // items of `place`
    plainArray,  // the same, of an array that may have an id
    dictionary   // keys and values in turn
  };
  enum class Ending : std::uint8_t { none, amf0, emptyName };
  struct Frame {
    Kind kind;
    Place place;   // named: of the last member
    Place object;  // whose members are named; the pair of a dictionary
    Ending ending = Ending::none;
    bool isEntries = false;
    bool isObject3 = false;
    std::uint32_t remainingSealed = 0;
    std::uint32_t traits = 0;
    std::uint32_t next = 0;  // number of the next member or item
    NameRule names = {};
    bool hasNames = false;  // `names` has the sealed ones
    AMFWireVectorKind items = AMFWireVectorKind::object;
  };
  struct Traits {
    std::vector<std::string_view> names;
    bool needsList;
  };

  // Places
  Place take();  // returns that of the value that begins
  void push(Kind kind, Place place, Place object) { frames.push_back({kind, place, object}); }
  void enter(Place value);  // into the reference table of the current format
  void name(Frame& frame, std::string_view text);

  // Fields, from the position of the list on
  unsigned byteAt(std::size_t offset) const { return static_cast<unsigned char>(bytes[offset]); }
  std::uint32_t peek(std::size_t count) const;  // a big-endian number
  std::uint32_t peekU29(std::size_t& length) const;
  void marker(Place place);
  std::uint32_t head(Place place, const char* of);
  std::uint32_t traitsHead(Place place);
  void string16(const char* kind, Place place);
  void string3(const char* kind, Place place);
  void text(const char* kind, const AMFWireString& value, Place place);
  void payload(const char* kind, std::size_t length, Place place);
  void traitsFields(std::uint32_t head, Place place);
  void plain(const char* kind, std::size_t length, Place place);  // a whole number

  // Shared objects and FLV: the fields between entries and between tags
  void tagsUpTo(std::size_t offset, bool isBody);
  void entryEnd();
  void beginScriptTag(const AMFWireSection& section);
  void skipFirstByte();

  std::string_view bytes;
  FieldList& fields;
  JsonPaths& paths;
  std::vector<Frame> frames;
  std::vector<Place> objects0, objects3;
  std::vector<Traits> traits;
  Place pending = 0;
  Place list = 0;     // of headers, messages or tags
  Place section = 0;  // the current header, message or tag
  std::uint32_t sections = 0;
  AMFWireForm form = AMFWireForm::packet;
  bool formIs3 = false;
  bool amf3 = false;
  bool inHeaders = true;
  bool hasFirstByte = false;  // the first byte of a script tag of type 15 has no field yet
};

}  // namespace web

#endif  // WEB_FIELDS_WIRE_H
