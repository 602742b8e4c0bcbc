// SPDX-License-Identifier: Apache-2.0
//
// The JSON writer: documents and sections. Included by json_writer.h. The inverse is in
// json_document_reader.cpp. Tested by tests/wire/documents_test.cpp and
// tests/wire/originals_test.cpp.
#ifndef WIRE_JSON_DOCUMENT_WRITER_H
#define WIRE_JSON_DOCUMENT_WRITER_H

#include "wire/json_writer.h"

namespace amf2json::wire {

template <class Output>
void JsonWriter<Output>::beginDocument(const AMFWireDocument& of) {
  document = of;
  formIs3 =
      of.form == AMFWireForm::amf3 || (of.form == AMFWireForm::sharedObject && of.version == 3);
  layout.open('{');
  switch (of.form) {
    case AMFWireForm::amf0: layout.key("amf0"); break;
    case AMFWireForm::amf3: layout.key("amf3"); break;
    case AMFWireForm::flv: layout.key("flv"); break;
    case AMFWireForm::sharedObject:
      layout.key("sol");
      layout.string(of.name);
      layout.key("amf");
      layout.output.integer(of.version);
      return;
    default:
      layout.key("amf");
      layout.output.integer(of.version);
      layout.key("headers");
      break;
  }
  layout.open('[');
}

template <class Output>
void JsonWriter<Output>::beginMessages(std::uint32_t declaredCount) {
  messagesBegun = true;
  messageCount = declaredCount;
  listed = 0;
  layout.close(']');
  layout.key("messages");
  layout.open('[');
}

template <class Output>
void JsonWriter<Output>::endDocument(const AMFWireString& trailing, const AMFWireString& error) {
  const auto end = static_cast<std::size_t>(trailing.data - options.base);
  switch (document.form) {
    case AMFWireForm::amf0:
    case AMFWireForm::amf3:
      if (sections == 0) layout.close(']');
      break;
    case AMFWireForm::sharedObject:
      if (sections == 0) {
        // After an error, the true size is unknown: it may include the trailing bytes.
        entriesKey(end, error.length != 0 ? end + trailing.length : end);
        layout.open('{');
        layout.close('}');
      }
      break;
    case AMFWireForm::flv: layout.close(']'); break;
    default: endPacket(); break;
  }
  if (trailing.length != 0) {
    layout.key("trailing");
    layout.base64(trailing);
    statistics.trailingBytes = trailing.length;
  }
  if (error.length != 0) {
    layout.key("error");
    layout.string(error);
    statistics.trailingError.assign(error.data, error.length);
  }
  layout.close('}');
}

template <class Output>
void JsonWriter<Output>::endPacket() {
  layout.close(']');
  if (!messagesBegun) {
    layout.key("headerCount");
    layout.output.integer(document.headerCount);
    layout.key("messages");
    layout.open('[');
    layout.close(']');
  } else if (listed < messageCount) {
    layout.key("messageCount");
    layout.output.integer(messageCount);
  }
}

// Writes the size, if import would write another one, and then the key of the entries. These end at
// `end`. The size is wrong if what it covers does not end between `end` and `last`.
template <class Output>
void JsonWriter<Output>::entriesKey(std::size_t end, std::size_t last) {
  constexpr std::size_t kBytesBeforeSize = 6;  // these are not included in the size
  const std::uint64_t declaredEnd = std::uint64_t{document.declaredSize} + kBytesBeforeSize;
  if (declaredEnd != end) {
    layout.key("size");
    layout.output.integer(document.declaredSize);
    if (declaredEnd < end || declaredEnd > last) ++statistics.wrongLengths;
  }
  layout.key("entries");
}

template <class Output>
void JsonWriter<Output>::beginSection(const AMFWireSection& of) {
  section = of;
  ids0.clear();
  ids3.clear();
  nextId = 1;
  amf3 = formIs3;
  if (sections == facts.sections.size()) failTextTooLong();
  const SectionFacts& known = facts.sections[sections++];
  plainDoubles = (known.flags & kNoIntegers) != 0;
  ++listed;
  ++statistics.sections;
  switch (of.kind) {
    case AMFWireSectionKind::values: return push(Mode::list, true, false);
    case AMFWireSectionKind::entries: return beginEntries(known);
    case AMFWireSectionKind::scriptTag:
      layout.item();
      layout.open('{');
      layout.key("time");
      layout.output.integer(of.timeMs);
      break;
    default: sectionHead(known); break;
  }
  if (known.end == 0) return;  // raw bytes follow
  const bool isTag = of.kind == AMFWireSectionKind::scriptTag;
  layout.key(isTag ? "values" : "value");
  if (isTag) layout.open('[');
  push(isTag ? Mode::list : Mode::named, isTag, true);
}

template <class Output>
void JsonWriter<Output>::beginEntries(const SectionFacts& known) {
  entriesKey(known.end, known.end);
  std::uint8_t flags = amf3 ? std::uint8_t{0} : nextObject();
  if ((known.flags & kEntriesListed) != 0) flags |= kNeedsMemberList;
  openWithId(flags);
  beginMembers(flags);
}

// Writes the fields of a header or message before its value. The length is written if it is wrong.
template <class Output>
void JsonWriter<Output>::sectionHead(const SectionFacts& known) {
  layout.item();
  layout.open('{');
  if (section.kind == AMFWireSectionKind::header) {
    layout.key("name");
    layout.string(section.name);
    layout.key("mustUnderstand");
    if (section.mustUnderstand > 1) {
      layout.output.integer(section.mustUnderstand);
    } else {
      layout.literal(section.mustUnderstand != 0 ? "true" : "false");
    }
  } else {
    layout.key("target");
    layout.string(section.name);
    layout.key("response");
    layout.string(section.response);
  }
  if (known.end == 0) return;  // the declared length is that of the raw bytes
  if (section.declaredLength == known.end - section.offset) return;
  layout.key("length");
  if (section.declaredLength == AMFWireSection::kUnknownLength) {
    layout.literal("\"unknown\"");
    ++statistics.unknownLengths;
  } else {
    layout.output.integer(section.declaredLength);
    ++statistics.wrongLengths;
  }
}

template <class Output>
void JsonWriter<Output>::rawSection(const AMFWireString& bytes, const AMFWireString& error) {
  layout.key("raw");
  layout.base64(bytes);
  layout.key("error");
  layout.string(error);
  ++statistics.salvaged;
}

template <class Output>
void JsonWriter<Output>::endSection() {
  const SectionFacts& known = facts.sections[sections - 1];
  const bool hasBraces =
      section.kind != AMFWireSectionKind::values && section.kind != AMFWireSectionKind::entries;
  const bool isRaw = known.end == 0 && hasBraces;
  if (!isRaw) {
    const Frame frame = frames.back();
    frames.pop_back();
    if (frame.inArray) layout.close(']');
    if (frame.inObject && !hasBraces) layout.close('}');
    marks(known);
  }
  if (hasBraces) layout.close('}');
}

template <class Output>
void JsonWriter<Output>::marks(const SectionFacts& known) {
  const auto mark = [&](std::uint8_t flag, const char* name) {
    if ((known.flags & flag) == 0) return;
    layout.key(name);
    layout.literal("false");
  };
  mark(kNoStringReferences, "stringReferences");
  mark(kNoTraitsReferences, "traitsReferences");
  mark(kNoIntegers, "integers");
  if ((known.flags & kOriginal) == 0) return;
  ++statistics.originals;
  if (!options.originals) {
    ++statistics.changed;
    return;
  }
  layout.key("original");
  layout.base64({options.base + section.offset, known.end - section.offset});
}

}  // namespace amf2json::wire

#endif  // WIRE_JSON_DOCUMENT_WRITER_H
