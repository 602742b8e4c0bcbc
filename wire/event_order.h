// SPDX-License-Identifier: Apache-2.0
//
// Checks the order of events, because a host may call the AMF writer in a wrong order. Each call
// throws Misplaced, or records the event. Tested by tests/wire/writer_test.cpp.
#ifndef WIRE_EVENT_ORDER_H
#define WIRE_EVENT_ORDER_H

#include <cstdint>
#include <vector>

#include "AMFWire.h"
#include "wire/external_classes.h"

namespace amf2json::wire {

// An event that is not allowed at this place.
struct Misplaced {
  AMFWireStatus status;
  const char* message;
};

class EventOrder {
 public:
  EventOrder(const ExternalClasses& known, std::uint32_t depthLimit)
      : classes(&known), maxDepth(depthLimit) {}

  void beginDocument(const AMFWireDocument& document);
  void beginMessages();
  void endDocument();
  void beginSection(const AMFWireSection& section);
  void rawSection();
  void endSection();
  enum class Format { both, only0, only3 };
  void value(Format format = Format::both);
  void beginAmf3();
  void endAmf3();
  void beginArray(const AMFWireArray& array);
  void beginEcmaArray();
  void beginObject(const AMFWireObject& object);
  void beginExternal(const AMFWireExternal& external);
  void beginVector(const AMFWireVector& vector);
  void vectorItems(std::uint32_t count);
  void beginDictionary(std::uint32_t count);
  void member(const AMFWireString& name);
  void denseItems();
  void fieldGroup(const AMFWireFlags& flags);
  void field(const AMFWireField& field);
  void end();
  bool isFinished() const { return phase == Phase::finished; }
  bool isInAmf3() const { return amf3; }

 private:
  enum class Phase { fresh, document, section, finished };
  enum class Inside : std::uint8_t { values, items, members, numbers, fields, amf3 };
  struct Level {
    Inside inside;
    bool deep = false;            // counted by the depth limit
    bool named = false;           // member() or field() was called for the next value
    bool dynamic = false;         // dynamic members are allowed
    bool anyName = false;         // members may have an empty name
    bool array = false;           // an AMF3 array with members: dense values follow
    std::uint64_t remaining = 0;  // remaining items or sealed members
    std::uint32_t dense = 0;
    std::uint32_t group = 0;  // of a small message: the next group
    std::uint32_t groups = 0;
    AMFWireFlags flags{};  // of the fields that have not come yet
  };

  void open(Level level, bool deep);
  void checkName(const AMFWireString& name) const;

  const ExternalClasses* classes;  // not owned
  std::uint32_t maxDepth;
  Phase phase = Phase::fresh;
  AMFWireForm form = AMFWireForm::packet;
  bool formIs3 = false;
  bool amf3 = false;
  bool messagesBegun = false;
  std::uint32_t sections = 0;
  std::uint32_t headers = 0;
  std::uint32_t depth = 0;
  std::vector<Level> levels;  // the section is the first one
};

}  // namespace amf2json::wire

#endif  // WIRE_EVENT_ORDER_H
