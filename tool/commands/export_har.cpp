// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/har_test.cpp.
#include "tool/commands/export_har.h"

#include <algorithm>
#include <utility>

#include "tool/input/har.h"
#include "tool/input/mojibake.h"
#include "tool/input/published_format.h"
#include "tool/text/json_line.h"
#include "tool/text/utf8.h"
#include "tool/text/words.h"

namespace {

// The number of bodies of an archive, and of those that were not exported, by reason.
struct Counts {
  std::size_t bodies = 0, destroyed = 0, missing = 0, refused = 0;
};

// The first problems of an archive. The others are only counted, because there may be a million.
class Problems {
 public:
  void add(Problem problem) {
    if (first.size() < kMaxReported) {
      first.push_back(std::move(problem));
      return;
    }
    ++omitted;
    rest.exitCode = std::max(rest.exitCode, problem.exitCode);
    rest.isWarning = rest.isWarning && problem.isWarning;
  }
  std::vector<Problem> all() {
    if (omitted > 0) {
      rest.message = "... and " + pluralize(omitted, "more problem");
      first.push_back(rest);
    }
    return std::move(first);
  }

 private:
  static constexpr std::size_t kMaxReported = 20;

  std::vector<Problem> first;
  std::size_t omitted = 0;
  Problem rest{kDone, "more problems", "", true};
};

std::string sourceOf(const HarBody& body) {
  JsonLine source;
  source.set("index", body.index);
  source.set("direction", body.isRequest ? "request" : "response");
  source.set("method", body.method);
  source.set("url", body.url);
  source.set("status", body.status);
  source.set("time", body.time);
  return source.text();
}

// `document` is a JSON object that has keys.
std::string withSource(const std::string& document, const HarBody& body, bool pretty) {
  const char* const front = pretty ? "{\n  \"source\": " : "{\"source\":";
  return front + sourceOf(body) + "," + document.substr(1);
}

std::string placeOf(const HarBody& body) {
  return std::string(", in the ") + (body.isRequest ? "request" : "response") + " of entry " +
         std::to_string(body.index);
}

// ---- Bodies that are not exported

// The number of U+FFFD in bytes that a recorder may have decoded as text: all of them are UTF-8.
std::size_t replacedBytes(const std::string& bytes) {
  const std::size_t count = findReplacements(bytes).count;
  return count > 0 && isUTF8(bytes) ? count : 0;
}

// The characters of a body that stand for lost bytes.
struct Lost {
  std::size_t replaced = 0;    // U+FFFD that the recorder wrote
  std::size_t surrogates = 0;  // lone ones
};

// A sender may have written U+FFFD, but not a lone surrogate.
Lost lostIn(const HarBody& body, bool isPacket) {
  if (body.loneSurrogates > 0)
    return {replacedBytes(body.bytes) - body.loneSurrogates, body.loneSurrogates};
  return {isPacket ? 0 : replacedBytes(body.bytes), 0};
}

Problem destroyed(const Lost& lost, std::size_t size) {
  Problem problem{kMalformed, "destroyed", "destroyed by the recorder: " + pluralize(size, "byte")};
  if (lost.replaced > 0)
    problem.message += ", U+FFFD (EF BF BD) " + pluralize(lost.replaced, "time");
  if (lost.surrogates > 0)
    problem.message += ", half a surrogate pair " + pluralize(lost.surrogates, "time");
  return problem;
}

Problem notRecorded(std::uint64_t missing) {
  return {kMalformed, "not recorded", "not recorded: " + pluralize(missing, "byte")};
}

Problem notBase64(std::size_t size) {
  return {kMalformed, "not base64",
          "not base64, but the archive says so: " + pluralize(size, "byte")};
}

// The keys that stand in place of a document.
std::string errorKeys(const Problem& problem, const HarBody& body, const Lost& lost) {
  JsonLine keys;
  keys.set("error", problem.message);
  if (problem.offset) keys.set("offset", *problem.offset);
  keys.set("bytes", body.missing > 0 ? body.missing : body.bytes.size());
  if (lost.replaced > 0) keys.set("replaced", lost.replaced);
  if (lost.surrogates > 0) keys.set("surrogates", lost.surrogates);
  return keys.text();
}

// ---- The archive

// The last line, if not all bodies were exported. It does not change the exit code.
Problem summary(const Counts& counts) {
  Problem problem{kDone, "bodies lost",
                  "of " + pluralize(counts.bodies, "AMF body", "AMF bodies") + ':'};
  problem.isWarning = true;
  const auto add = [&problem](std::size_t count, const char* what) {
    if (count == 0) return;
    problem.message += (problem.message.back() == ':' ? " " : ", ") + std::to_string(count) + what;
  };
  add(counts.destroyed, " destroyed by the recorder");
  add(counts.missing, " not recorded");
  add(counts.refused, " refused");
  return problem;
}

// The results of the bodies so far.
struct Progress {
  std::string text;
  Counts counts;
  Problems problems;
};

void addBody(Progress& progress, const HarBody& body, const Options& options,
             const AMFWireReadOptions& read, const ExportBytes& exportBytes) {
  auto& [text, counts, problems] = progress;
  const bool pretty = !options.wire.compact && !options.wire.lines;
  const bool isPacket = readsAsPublished(body.bytes, read);
  const Lost lost = lostIn(body, isPacket);
  const bool isDestroyed = lost.replaced + lost.surrogates > 0;
  ++counts.bodies;
  try {
    if (body.missing > 0) throw notRecorded(body.missing);
    if (isDestroyed) throw destroyed(lost, body.bytes.size());
    if (body.isBadBase64 && !isPacket) throw notBase64(body.bytes.size());
    FileResult one = exportBytes(body.bytes);
    text += withSource(one.text, body, pretty);
    for (Problem& problem : one.problems) {
      problem.message += placeOf(body);
      problems.add(std::move(problem));
    }
  } catch (Problem& problem) {
    text += withSource(errorKeys(problem, body, lost), body, false) + "\n";
    ++(body.missing > 0 ? counts.missing : isDestroyed ? counts.destroyed : counts.refused);
    problem.message += placeOf(body);
    problems.add(std::move(problem));
  }
  if (text.size() > options.maxOutputBytes) throw outputTooLarge(options.maxOutputBytes);
}

}  // namespace

FileResult exportHar(std::string& archive, const Options& options, const AMFWireReadOptions& read,
                     const ExportBytes& exportBytes) {
  Progress progress;
  readHar(
      archive, [&](std::string_view bytes) { return readsAsPublished(bytes, read); },
      [&](const HarBody& body) { addBody(progress, body, options, read, exportBytes); });
  FileResult result;
  result.isJSON = true;
  result.text = std::move(progress.text);
  result.problems = progress.problems.all();
  const Counts& counts = progress.counts;
  if (counts.destroyed + counts.missing + counts.refused > 0)
    result.problems.push_back(summary(counts));
  return result;
}
