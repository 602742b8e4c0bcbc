// SPDX-License-Identifier: Apache-2.0
//
// amf2json decode: shows a packet as JSON or JavaScript. Tested by tests/tool/decode_test.cpp.
#include "tool/commands/commands.h"

#include <limits>
#include <new>
#include <utility>

#include "tool/commands/view.h"
#include "tool/input/packet.h"
#include "tool/port/stack_thread.h"
#include "tool/problem.h"
#include "tool/run/allocation_limit.h"

namespace {

constexpr const char* kDetails =
    "Texts of the packet are escaped, so that none ends its quotes. With --to json the output is\n"
    "valid JSON for a JSON parser; do not run it, and do not put it into a web page. The other\n"
    "views are ASCII, and their statements assign values and do nothing else, also in a script\n"
    "element of a page. With --exact the text is that of the library: it is not escaped, so do\n"
    "not run it, and it has an additional line feed for every 500 bytes.\n"
    "\n"
    "A text that does not end in a line feed gets one. Bytes after the last message are not\n"
    "decoded. The three views with script statements stop before the next value when they have\n"
    "passed 499,999 bytes. Both are reported on standard error, each with its own exit code.\n";

// The largest block that a text of up to `maxBytes` bytes allocates: its capacity is doubled when
// it is full. kOtherBlocks is for blocks that do not depend on the text.
std::size_t largestBlockFor(std::size_t maxBytes) {
  constexpr std::size_t kOtherBlocks = std::size_t{4} << 20;
  constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
  const bool isLimited = maxBytes <= (kUnlimited - kOtherBlocks) / 2;
  return isLimited ? 2 * maxBytes + kOtherBlocks : kUnlimited;
}

// The library does not limit its texts. Rendering stops here if one grows far too large; a text
// that is slightly too large is refused afterwards.
const std::string& boundedView(AMFProtocol& protocol, const Options& options) {
  const AllocationLimit limit(largestBlockFor(options.maxOutputBytes));
  try {
    return viewOf(protocol, options.decode.view, !options.decode.compact);
  } catch (const std::bad_alloc&) {
    if (limit.wasExceeded()) throw outputTooLarge(options.maxOutputBytes);
    throw;
  }
}

// A long text is moved out of the protocol object, which is destroyed soon. A short one is copied,
// because the next object can reuse the buffer.
std::string textOf(AMFProtocol& protocol, const Options& options) {
  constexpr std::size_t kLong = 524288;
  const std::string& text = boundedView(protocol, options);
  if (text.size() < kLong) return text;
  return std::move(const_cast<std::string&>(text));  // a public member of the object
}

// `outputLimitReached` is set at the first value that was left out. The JSON view leaves out none.
std::optional<Problem> cutWarning(const AMFProtocol& protocol, const DecodeOptions& options,
                                  std::size_t size) {
  if (!protocol.outputLimitReached || options.view == View::json) return std::nullopt;
  Problem problem{kViewCut, "view cut",
                  "the script view stopped at its output limit, after " + std::to_string(size) +
                      " bytes; --to json is whole"};
  problem.isWarning = true;
  return problem;
}

const char* extensionOf(const Options& options) {
  const View view = options.decode.view;
  return view == View::json ? ".json" : view == View::both ? ".txt" : ".js";
}

FileResult show(const Packet& packet, const Options& options) {
  AMFProtocol protocol;
  decodePacket(protocol, packet, options.limits);
  if (!options.decode.exact) {
    const bool isJSON = options.decode.view == View::json;
    escapeForViews(protocol.package, isJSON ? AMFEscapeFor::json : AMFEscapeFor::script);
    protocol.useTemporaries = false;
  }
  FileResult result;
  result.text = textOf(protocol, options);
  if (!options.decode.exact) {
    removeSoftBreaks(result.text, protocol, options.decode.view, !options.decode.compact);
  }
  result.isJSON = true;
  if (const auto cut = cutWarning(protocol, options.decode, result.text.size())) {
    result.problems.push_back(*cut);
  }
  addTrailingWarning(result, packet, options);
  if (result.text.empty() || result.text.back() != '\n') result.text += '\n';
  return result;
}

FileResult decode(const std::string& file, const Options& options) {
  const Packet packet = readPacket(file, options);
  FileResult result;
  runWithStackFor(packet.checked.depth, [&] { result = show(packet, options); });
  return result;
}

void declare(OptionTable& table, Options& options) {
  table.choice("--to", "VIEW", options.decode.view, "What to show",
               {{"json", "JSON text"},
                {"js", "script that builds \"amf\""},
                {"both", "JSON text and statements"},
                {"script", "statements alone"}});
  table.flag("--compact", options.decode.compact, "No indentation and no line ends");
  table.flag("--exact", options.decode.exact,
             "The library's text: nothing escaped, its soft breaks");
  table.flag("--local-time", options.localTime, "Dates in the local time zone instead of UTC");
  declareFormOptions(table, options);
  declareOutputOptions(table, options);
}

}  // namespace

Command decodeCommand() {
  return {"decode",
          "Shows packets as JSON or JavaScript",
          kDetails,
          {{"amf2json decode --to js --compact packet.amf", "a script without line ends"},
           {"amf2json decode -o packet.json packet.amf", "to a file, whole or not at all"},
           {"amf2json decode --error-format json *.amf", "problems for a machine to read"}},
          declare,
          decode,
          extensionOf};
}
