// SPDX-License-Identifier: Apache-2.0
//
// The JSON writer: brackets, commas, keys and indentation. Tested through the JSON writer.
#ifndef WIRE_JSON_LAYOUT_H
#define WIRE_JSON_LAYOUT_H

#include <cstring>

#include "AMFWire.h"
#include "wire/text_output.h"

namespace amf2json::wire {

template <class Output>
class JsonLayout {
 public:
  JsonLayout(Output& to, bool indented) : output(to), pretty(indented) {}

  void open(char bracket) {
    output.character(bracket);
    fresh = true;
    ++depth;
  }
  void close(char bracket) {
    --depth;
    if (pretty && !fresh) newLine();
    output.character(bracket);
    fresh = false;
  }
  // Called before an item of an array or a key of an object.
  void item() {
    if (!fresh) output.character(',');
    fresh = false;
    if (pretty) newLine();
  }
  void key(const char* name) {
    output.plainKey(name, std::strlen(name), beginKey());
    if (pretty) output.character(' ');
  }
  // A key that is the name of a member, and is UTF-8.
  void name(const AMFWireString& text) {
    output.key(text, beginKey());
    if (pretty) output.character(' ');
  }
  // Called after a key.
  void colon() {
    output.character(':');
    if (pretty) output.character(' ');
  }
  void literal(const char* text) { output.characters(text, std::strlen(text)); }
  // A string, or $string64 if it is not UTF-8.
  void string(const AMFWireString& value) {
    if (output.quoted(value, false)) return;
    open('{');
    key("$string64");
    base64(value);
    close('}');
  }
  void base64(const AMFWireString& value) {
    output.character('"');
    output.base64(value);
    output.character('"');
  }
  // A number. What JSON cannot express is a word in quotes.
  void numberOrWord(const double& value) {
    if (!needsWord(value)) return output.number(value);
    output.character('"');
    output.word(value);
    output.character('"');
  }
  void wrapped(const char* name, const double& value) {
    open('{');
    key(name);
    numberOrWord(value);
    close('}');
  }

  Output& output;

 private:
  // Returns whether the key needs a comma. In pretty text, a comma and a line break come first.
  bool beginKey() {
    const bool withComma = !fresh && !pretty;
    if (pretty) item();
    fresh = false;
    return withComma;
  }
  void newLine() {
    output.character('\n');
    output.blanks(2 * depth);
  }

  bool pretty;
  bool fresh = true;
  std::size_t depth = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_JSON_LAYOUT_H
