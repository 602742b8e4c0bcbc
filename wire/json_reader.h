// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader, second half: it turns the index of a document into events, with an explicit
// stack. json_reader.cpp has the values, json_objects.cpp those that are JSON objects,
// json_fields.cpp the parts that they share, json_document_reader.cpp documents and sections. The
// inverse of json_writer.h. Enter at readDocument(). An error is thrown as JsonFailure.
// Tested by tests/wire/rows_test.cpp and tests/wire/json_errors_test.cpp.
#ifndef WIRE_JSON_READER_H
#define WIRE_JSON_READER_H

#include <string>
#include <unordered_map>
#include <vector>

#include "wire/amf_writer.h"
#include "wire/external_classes.h"
#include "wire/hash.h"
#include "wire/json_index.h"
#include "wire/json_keys.h"

namespace amf2json::wire {

// Iterates over the names of members: keys of an object, or names in $members.
class JsonNames : public AMFWireNames {
 public:
  JsonNames(const JsonIndex& of, std::uint32_t begin, bool inList)
      : index(&of), first(begin), at(begin), listed(inList) {}
  void rewind() override { at = first; }
  AMFWireString next() override;

 private:
  const JsonIndex* index;  // not owned
  std::uint32_t first;
  std::uint32_t at;
  bool listed;
};

class JsonReader {
 public:
  JsonReader(JsonIndex& of, const AMFWireImportOptions& with, AmfWriter& to)
      : index(of), options(with), classes(with.externalClasses), sink(to) {}

  // Returns the form of the document.
  AMFWireForm readDocument();
  // The current token, for errors of the writer.
  std::uint32_t current() const { return at; }

 private:
  // A JSON object with its $ keys separated from its members.
  struct Object {
    std::uint32_t token = 0;
    Key kind = Key::none;
    std::uint32_t present = 0;        // bits of Key
    std::uint32_t values[kKeyCount];  // their value tokens, if present
    std::uint32_t members = 0;        // number of keys that are members
    std::uint32_t firstMember = 0;    // key token, if there is one
    std::uint32_t firstField = 0;     // key token such as $0.1.2, if there is one
    bool has(Key key) const { return (present & bit(key)) != 0; }
    std::uint32_t operator[](Key key) const { return values[static_cast<std::uint32_t>(key)]; }
  };
  enum class Step : std::uint8_t { items, members, pairs, dictionary, fields, amf3 };
  struct Frame {
    Step step = Step::items;
    bool ends = true;        // its end is an event
    bool inArray = false;    // members of an AMF3 array: dense values follow
    bool keyIsRead = false;  // dictionary: the key has been read
    std::uint8_t group = 0;  // of a small message: the next group
    ExternalBody body;       // of a small message
    std::uint32_t next = 0;  // token of the next item, key or pair; of fields, an index in `fields`
    std::uint32_t remaining = 0;  // remaining items, members or pairs
    std::uint32_t dense = 0;      // the token of $array
    std::uint32_t sealed = 0;     // number of sealed members
  };
  struct Field {
    std::uint32_t number;  // 112 * group + 7 * byte + bit
    std::uint32_t value;   // token
  };
  struct Begun {
    bool amf3;
    std::uint32_t index;
  };
  struct SeededHash {
    std::size_t operator()(std::uint64_t id) const {
      return static_cast<std::size_t>(mix(id ^ hashSeed(), 0xA0761D6478BD642Fu));
    }
  };

  // Documents and sections.
  template <std::size_t N>
  void readKeys(std::uint32_t object, const char* const (&names)[N], std::uint32_t (&found)[N]);
  void checkDocumentKeys(const std::uint32_t* found, std::size_t form) const;
  AMFWireForm packet(const std::uint32_t* found);
  AMFWireForm bareValues(const std::uint32_t* found, AMFWireForm form);
  AMFWireForm sharedObject(const std::uint32_t* found);
  void sectionList(std::uint32_t list, bool isHeader);
  void section(std::uint32_t token, bool isHeader);
  void sectionHead(AMFWireSection& section, const std::uint32_t* found, bool isHeader);
  void readMarks(AMFWireSection& section, const std::uint32_t* found);
  bool mark(std::uint32_t token);
  void values(const AMFWireSection& section, std::uint32_t original);
  void restoreOriginal(const AMFWireSection& section, std::uint32_t token);
  bool readOriginal(const AMFWireSection& section, const AMFWireString& bytes, AmfWriter& copy);
  void finish(const std::uint32_t* found, std::size_t trailing, std::size_t error);
  void entries(std::uint32_t token);

  // Values. True: a frame was pushed.
  void run();
  bool value(std::uint32_t token);
  bool number(std::uint32_t token);
  bool array(std::uint32_t token, std::uint32_t list);
  bool object(std::uint32_t token);
  bool plainObject(const Object& object);
  bool arrayObject(const Object& object);
  bool ecmaArray(const Object& object);
  bool external(const Object& object);
  std::uint32_t externalValues(const Object& object, const ExternalBody& body);
  bool smallMessage(const Object& object, const ExternalBody& body);
  bool vector(const Object& object);
  void vectorItems(std::uint32_t list, AMFWireVectorKind kind);
  bool dictionary(const Object& object);
  bool simple(const Object& object);
  void date(const Object& object);
  bool amf3Value(const Object& object);
  void reference(std::uint32_t token);
  void stepItems();
  void stepMembers();
  void stepPairs();
  void stepDictionary();
  void stepFields();
  void stepAmf3();
  Frame& push(Step step) {
    frames.emplace_back();
    frames.back().step = step;
    return frames.back();
  }
  void pushItems(std::uint32_t first, std::uint32_t count) {
    Frame& frame = push(Step::items);
    frame.next = first;
    frame.remaining = count;
  }
  void endFrame();
  void writeName(Frame& frame, const AMFWireString& name, std::uint32_t token);
  void pushMembers(const Object& object, std::uint32_t sealed, bool inArray);
  void collectFields(const Object& object, const ExternalBody& body);
  std::uint32_t fieldNumber(std::uint32_t key, const ExternalBody& body);

  // Parts.
  Object separateKeys(std::uint32_t token, bool mayHaveKind = true);
  void addSpecialKey(Object& object, std::uint32_t key);
  void checkAllowedKeys(const Object& object);
  void checkDuplicateKeys(std::uint32_t token);
  void checkDuplicateKeysByHash(std::uint32_t token);
  void recordId(const Object& object);  // records the $id of a value, if it has one
  void enter(std::uint32_t token);      // a value that contains values begins
  std::uint32_t memberCount(const Object& object);
  std::uint32_t need(const Object& object, Key key);
  void needTrue(std::uint32_t token);
  bool needBoolean(std::uint32_t token);
  std::uint32_t needArray(std::uint32_t token);
  void needObject(std::uint32_t token);
  AMFWireString needString(std::uint32_t token);
  AMFWireString needString16(std::uint32_t token);
  AMFWireString needBase64(std::uint32_t token);
  double needNumber(std::uint32_t token);
  double needWhole(std::uint32_t token, double least, double most);
  void doubleValue(std::uint32_t token);
  void needDouble(std::uint32_t token, double& number);
  bool isSpecial(std::uint32_t key) const;
  AMFWireString memberName(std::uint32_t key) const;
  bool isKind(std::uint32_t token, char c) const { return index.kind(token) == c; }
  [[noreturn]] void fail(std::uint32_t token, std::string message) const;
  [[noreturn]] void failKind(std::uint32_t token, const char* expected) const;

  JsonIndex& index;
  const AMFWireImportOptions& options;
  ExternalClasses classes;
  AmfWriter& sink;
  std::vector<Frame> frames;
  std::vector<Field> fields;                                 // of open small messages
  std::unordered_map<std::uint64_t, Begun, SeededHash> ids;  // of the section
  std::vector<std::uint32_t> slots;                          // for checkDuplicateKeysByHash
  std::uint32_t depth = 0;
  std::uint32_t at = 0;
  bool amf3 = false;
};

}  // namespace amf2json::wire

#endif  // WIRE_JSON_READER_H
