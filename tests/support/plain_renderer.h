// SPDX-License-Identifier: Apache-2.0
//
// A second renderer for the tests: every rule step by step, with temporary strings and a
// linked list, without regard to speed. The library's renderer must give the same bytes and leave
// the same public state. Enter at the four views, as with AMFProtocol. Compared by
// tests/render/plain_test.cpp.
#ifndef TESTS_SUPPORT_PLAIN_RENDERER_H
#define TESTS_SUPPORT_PLAIN_RENDERER_H

#include <AMF2JSON.h>

#include <cstdint>
#include <string>

namespace support {

/// One level of the script path.
struct PrefixNode {
  std::string segment;
  PrefixNode* outer;  // one level out; null at the root
  PrefixNode* inner;  // one level in; null at the innermost
};

class PlainRenderer {
 public:
  PlainRenderer() = default;
  PlainRenderer(const PlainRenderer&) = delete;
  PlainRenderer& operator=(const PlainRenderer&) = delete;
  ~PlainRenderer();

  const std::string& getPackageInJSON(bool pretty);
  const std::string& getPackageInJS(bool pretty);
  const std::string& getPackageInJSON_and_JS(bool pretty);
  const std::string& getPackageAsJSView(bool pretty);

  void openBrackets(char open, char close);
  void closeBrackets();
  void CreatePrefix();
  void AddOnePrefix(const std::string& name);
  void RemoveOnePrefix();
  void AddPrefixes(std::string& out);
  void appendAttr(const std::string& name, const std::string& value, bool quote);
  void appendJSAttr(const std::string& name, const std::string& value, bool quote);
  void appendValue(const std::string& value, bool quote, bool named);
  void appendNode(AMFNode* node, AMFVersion parentVersion);
  void appendChild(const std::string& name, AMFNode* node, AMFVersion nodeVersion, bool isInline);
  void appendChildren(const std::string& name, AMFNode* node);

  AMFPackage* package = nullptr;  // not owned, unlike the library's
  std::string jsonText;
  std::string scriptText;
  std::string scriptPreamble;
  std::int32_t temporaryCounter = 0;
  std::string newLine;
  std::string scriptNewLine = "\n";
  std::string indentUnit;
  std::string indent;
  std::string closerStack;
  bool trackDepth = false;
  bool noRootPrefix = false;
  bool nextPrefixBare = false;
  bool scriptStatementStart = true;
  std::int32_t childDepth = 0;
  bool jsonOnly = false;
  bool jsonAndScript = false;
  bool scriptView = false;
  bool outputLimitReached = false;
  bool useTemporaries = true;
  bool valueInline = false;
  std::int32_t lineBreakCount = 1;
  PrefixNode* prefixTop = nullptr;
  PrefixNode* prefixRoot = nullptr;

 private:
  void softBreak();
  void startView(bool pretty);
  void countIn();
  void countOut();
  void writeShort(const std::string& value, bool quote);
  void writeTemporary(const std::string& value, bool quote);
  void appendScalar(const std::string& text, bool quote, const char* typeName, bool wrapped);
  void openOnce(bool& wrapped);
  void appendObject(AMFObject* object);
  void appendArray(AMFArray* array);
  void appendPair(AMFPair* pair);
  void appendMessage(AMFMessage* message);
};

/// What the library's formatString must return.
std::string plainFormatString(const std::string& text, bool dropControl);
/// "%f" with the markers replaced.
std::string plainDoubleText(double value);
/// The date line without its line end, in local time.
std::string plainDateText(double milliseconds);

/// Where `actual` leaves `expected`, with some bytes of both around it; empty when they are equal.
std::string firstDifference(const std::string& expected, const std::string& actual);

/// The name of every public renderer field that differs, with both values; empty when all agree.
template <class Left, class Right>
std::string stateDifference(Left& expected, Right& actual) {
  std::string found;
  const auto text = [&found](const char* field, const std::string& left, const std::string& right) {
    if (left != right) found += std::string(field) + ": " + firstDifference(left, right) + "\n";
  };
  const auto number = [&found](const char* field, std::int64_t left, std::int64_t right) {
    if (left != right)
      found += std::string(field) + ": expected " + std::to_string(left) + ", is " +
               std::to_string(right) + "\n";
  };
  text("jsonText", expected.jsonText, actual.jsonText);
  text("scriptText", expected.scriptText, actual.scriptText);
  text("scriptPreamble", expected.scriptPreamble, actual.scriptPreamble);
  text("newLine", expected.newLine, actual.newLine);
  text("scriptNewLine", expected.scriptNewLine, actual.scriptNewLine);
  text("indentUnit", expected.indentUnit, actual.indentUnit);
  text("indent", expected.indent, actual.indent);
  text("closerStack", expected.closerStack, actual.closerStack);
  number("temporaryCounter", expected.temporaryCounter, actual.temporaryCounter);
  number("trackDepth", expected.trackDepth, actual.trackDepth);
  number("noRootPrefix", expected.noRootPrefix, actual.noRootPrefix);
  number("nextPrefixBare", expected.nextPrefixBare, actual.nextPrefixBare);
  number("scriptStatementStart", expected.scriptStatementStart, actual.scriptStatementStart);
  number("childDepth", expected.childDepth, actual.childDepth);
  number("jsonOnly", expected.jsonOnly, actual.jsonOnly);
  number("jsonAndScript", expected.jsonAndScript, actual.jsonAndScript);
  number("scriptView", expected.scriptView, actual.scriptView);
  number("outputLimitReached", expected.outputLimitReached, actual.outputLimitReached);
  number("useTemporaries", expected.useTemporaries, actual.useTemporaries);
  number("valueInline", expected.valueInline, actual.valueInline);
  number("lineBreakCount", expected.lineBreakCount, actual.lineBreakCount);
  std::string expectedPath;
  std::string actualPath;
  expected.AddPrefixes(expectedPath);
  actual.AddPrefixes(actualPath);
  text("script path", expectedPath, actualPath);
  return found;
}

}  // namespace support

#endif  // TESTS_SUPPORT_PLAIN_RENDERER_H
