// SPDX-License-Identifier: Apache-2.0
//
// AMFWireWriter: the AMF writer for hosts. The order of each event is checked first. The first
// error is stored for finish(). Tested by tests/wire/writer_test.cpp.
#include "wire/amf_writer.h"
#include "wire/event_order.h"
#include "wire/number_text.h"

using amf2json::wire::AmfWriter;
using amf2json::wire::EventOrder;
using amf2json::wire::ExternalClasses;
using amf2json::wire::Misplaced;
using amf2json::wire::TooManyBytes;
using amf2json::wire::Unwritable;

using Format = EventOrder::Format;

struct AMFWireWriter::State {
  explicit State(const AMFWireImportOptions& with)
      : options(with), classes(options.externalClasses) {
    reset();
  }

  void reset() {
    writer = std::make_unique<AmfWriter>(options.limits.maxPacketBytes);
    order = std::make_unique<EventOrder>(classes, options.limits.maxDepth);
    result = {};
    lastIndex = 0;
  }
  void fail(AMFWireStatus status, const char* message) {
    result.status = status;
    result.message = message;
    result.offset = writer->output.size();
  }
  template <class Event>
  void perform(Event event) {
    if (!result.ok()) return;
    try {
      event();
    } catch (const Misplaced& misplaced) {
      fail(misplaced.status, misplaced.message);
    } catch (const Unwritable& unwritable) {
      fail(AMFWireStatus::misuse, unwritable.message);
    } catch (const TooManyBytes&) {
      fail(AMFWireStatus::packetLimit, "more bytes than maxPacketBytes");
    } catch (...) {  // the written bytes may end inside a value
      fail(AMFWireStatus::misuse, "out of memory");
      throw;
    }
  }
  // A value that a reference can refer to.
  template <class Event>
  void performIndexed(Event event) {
    perform([&] {
      event();
      lastIndex = writer->objectCount() - 1;
    });
  }

  // An event that is checked and written with the same arguments.
  template <auto check, auto write, class... Arguments>
  void checkAndWrite(const Arguments&... arguments) {
    perform([&] {
      (order.get()->*check)(arguments...);
      (writer.get()->*write)(arguments...);
    });
  }
  template <auto check, auto write, class... Arguments>
  void checkAndWriteIndexed(const Arguments&... arguments) {
    performIndexed([&] {
      (order.get()->*check)(arguments...);
      (writer.get()->*write)(arguments...);
    });
  }
  template <auto write, class... Arguments>
  void checkAndWriteValue(Format format, const Arguments&... arguments) {
    perform([&] {
      order->value(format);
      (writer.get()->*write)(arguments...);
    });
  }

  AMFWireImportOptions options;
  ExternalClasses classes;
  std::unique_ptr<AmfWriter> writer;
  std::unique_ptr<EventOrder> order;
  AMFWireResult result;
  std::uint32_t lastIndex = 0;
};

AMFWireWriter::AMFWireWriter(const AMFWireImportOptions& options)
    : state(std::make_unique<State>(options)) {}
AMFWireWriter::~AMFWireWriter() = default;

AMFWireResult AMFWireWriter::finish(std::string& bytes) {
  State& now = *state;
  now.perform([&] {
    if (!now.order->isFinished())
      throw Misplaced{AMFWireStatus::misuse, "endDocument() is missing"};
  });
  AMFWireResult result = now.result;
  if (result.ok()) {
    std::string written;
    if (now.writer->output.size() != 0) {
      written.assign(now.writer->output.data(), now.writer->output.size());
    }
    now.reset();
    bytes = std::move(written);
  } else {
    now.reset();
  }
  return result;
}

std::uint32_t AMFWireWriter::lastIndex() const noexcept {
  return state->lastIndex;
}

void AMFWireWriter::beginDocument(const AMFWireDocument& document) {
  state->checkAndWrite<&EventOrder::beginDocument, &AmfWriter::beginDocument>(document);
}

void AMFWireWriter::beginMessages(std::uint32_t declaredCount) {
  state->perform([&] {
    if (declaredCount > 0xFFFF) throw Misplaced{AMFWireStatus::misuse, "more than 65535 messages"};
    state->order->beginMessages();
    state->writer->beginMessages(declaredCount);
  });
}

void AMFWireWriter::endDocument(const AMFWireString& trailing, const AMFWireString& error) {
  state->perform([&] {
    state->order->endDocument();
    state->writer->endDocument(trailing, error);
  });
}

void AMFWireWriter::beginSection(const AMFWireSection& section) {
  state->checkAndWrite<&EventOrder::beginSection, &AmfWriter::beginSection>(section);
}

void AMFWireWriter::rawSection(const AMFWireString& bytes, const AMFWireString& error) {
  state->perform([&] {
    state->order->rawSection();
    state->writer->rawSection(bytes, error);
  });
}

void AMFWireWriter::endSection() {
  state->checkAndWrite<&EventOrder::endSection, &AmfWriter::endSection>();
}

void AMFWireWriter::undefined() {
  state->checkAndWriteValue<&AmfWriter::undefined>(Format::both);
}

void AMFWireWriter::null() {
  state->checkAndWriteValue<&AmfWriter::null>(Format::both);
}

void AMFWireWriter::unsupported() {
  state->checkAndWriteValue<&AmfWriter::unsupported>(Format::only0);
}

void AMFWireWriter::boolean(bool value) {
  state->checkAndWriteValue<&AmfWriter::boolean>(Format::both, value);
}

void AMFWireWriter::integer(std::int32_t value) {
  state->perform([&] {
    state->order->value(Format::only3);
    if (value < amf2json::wire::kLeastInteger || value > amf2json::wire::kLargestInteger) {
      throw Misplaced{AMFWireStatus::misuse, "an integer beyond 29 bits"};
    }
    state->writer->integer(value);
  });
}

void AMFWireWriter::number(double value) {
  state->checkAndWriteValue<&AmfWriter::number>(Format::both, value);
}

void AMFWireWriter::string(const AMFWireString& value) {
  state->checkAndWriteValue<&AmfWriter::string>(Format::both, value);
}

void AMFWireWriter::xmlDocument(const AMFWireString& value) {
  const auto write = [&] {
    state->order->value();
    state->writer->xmlDocument(value);
  };
  if (state->order->isInAmf3()) return state->performIndexed(write);
  state->perform(write);
}

void AMFWireWriter::xml(const AMFWireString& value) {
  state->performIndexed([&] {
    state->order->value(Format::only3);
    state->writer->xml(value);
  });
}

void AMFWireWriter::date(double timeMs, std::int16_t zone) {
  const auto write = [&] {
    state->order->value();
    if (state->order->isInAmf3() && zone != 0) {
      throw Misplaced{AMFWireStatus::misuse, "AMF3 has no time zones"};
    }
    state->writer->date(timeMs, zone);
  };
  if (state->order->isInAmf3()) return state->performIndexed(write);
  state->perform(write);
}

void AMFWireWriter::byteArray(const AMFWireString& value) {
  state->performIndexed([&] {
    state->order->value(Format::only3);
    state->writer->byteArray(value);
  });
}

void AMFWireWriter::reference(std::uint32_t index) {
  state->perform([&] {
    state->order->value();
    const bool tooFar = !state->order->isInAmf3() && index > 0xFFFF;
    if (tooFar || index >= state->writer->objectCount()) {
      throw Misplaced{AMFWireStatus::misuse, "a reference to no value that has begun"};
    }
    state->writer->reference(index);
  });
}

void AMFWireWriter::beginAmf3() {
  state->checkAndWrite<&EventOrder::beginAmf3, &AmfWriter::beginAmf3>();
}

void AMFWireWriter::endAmf3() {
  state->checkAndWrite<&EventOrder::endAmf3, &AmfWriter::endAmf3>();
}

void AMFWireWriter::beginArray(const AMFWireArray& array) {
  state->checkAndWriteIndexed<&EventOrder::beginArray, &AmfWriter::beginArray>(array);
}

void AMFWireWriter::beginEcmaArray(std::uint32_t declaredCount) {
  state->performIndexed([&] {
    state->order->beginEcmaArray();
    state->writer->beginEcmaArray(declaredCount);
  });
}

void AMFWireWriter::beginObject(const AMFWireObject& object) {
  state->checkAndWriteIndexed<&EventOrder::beginObject, &AmfWriter::beginObject>(object);
}

void AMFWireWriter::beginExternal(const AMFWireExternal& external) {
  state->checkAndWriteIndexed<&EventOrder::beginExternal, &AmfWriter::beginExternal>(external);
}

void AMFWireWriter::beginVector(const AMFWireVector& vector) {
  state->checkAndWriteIndexed<&EventOrder::beginVector, &AmfWriter::beginVector>(vector);
}

void AMFWireWriter::vectorItems(const char* items, std::uint32_t count) {
  state->perform([&] {
    state->order->vectorItems(count);
    state->writer->vectorItems(items, count);
  });
}

void AMFWireWriter::beginDictionary(std::uint32_t count, bool weak) {
  state->performIndexed([&] {
    state->order->beginDictionary(count);
    state->writer->beginDictionary(count, weak);
  });
}

void AMFWireWriter::member(const AMFWireString& name) {
  state->checkAndWrite<&EventOrder::member, &AmfWriter::member>(name);
}

void AMFWireWriter::denseItems() {
  state->checkAndWrite<&EventOrder::denseItems, &AmfWriter::denseItems>();
}

void AMFWireWriter::fieldGroup(const AMFWireFlags& flags) {
  state->checkAndWrite<&EventOrder::fieldGroup, &AmfWriter::fieldGroup>(flags);
}

void AMFWireWriter::field(const AMFWireField& field) {
  state->checkAndWrite<&EventOrder::field, &AmfWriter::field>(field);
}

void AMFWireWriter::end() {
  state->checkAndWrite<&EventOrder::end, &AmfWriter::end>();
}
