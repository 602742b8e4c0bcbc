// SPDX-License-Identifier: Apache-2.0
/// @file
/// AMFWire: AMF0 and AMF3 as Flash Player, Flex and their servers write them, to JSON and back.
///
///     #include <AMFWire.h>
///
///     bool toJson(const std::string& bytes, std::string& json) {
///       const AMFWireResult result = amfWireExport(bytes.data(), bytes.size(), json);
///       if (result.ok()) return true;
///       std::fprintf(stderr, "%s at byte %zu\n", result.message.c_str(), result.offset);
///       return false;
///     }
///
/// The library of AMF2JSON.h has a dialect of its own. This library reads and writes the published
/// formats instead. It needs nothing of the other one. docs/wire-json.md specifies the JSON.
///
/// Four parts share one vocabulary of events, AMFWireSink:
///
///     bytes --AMF reader--> events --JSON writer--> text          amfWireExport
///     text --JSON reader--> events --AMF writer---> bytes         amfWireImport
///
/// A host can give the AMF reader a sink of its own (amfWireRead), and can drive the AMF writer
/// itself (AMFWireWriter).
///
/// Round trip: with originals, which is the default, amfWireImport of what amfWireExport wrote is
/// the bytes that were exported, for packets, runs of values and shared objects.
///
/// Trust: no call trusts its input. Every read is held against the end of the input, nothing is
/// reserved for a count before the items are there, nothing recurses, and all bounds are in
/// AMFWireLimits. Time is linear in input plus output.
///
/// Errors: each call returns an AMFWireResult. Its strings receive a value only when the call
/// succeeds. Memory that cannot be had is std::bad_alloc; nothing else is thrown but what a host's
/// own sink throws. After an exception the caller's strings are as they were.
///
/// Threads: no global state, no locks. Separate calls may run on separate threads.
#ifndef AMFWIRE_H
#define AMFWIRE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// @def AMFWIRE_API
/// What the library exports. Define AMFWIRE_STATIC to use the static library on Windows.
#if defined(AMFWIRE_STATIC)
#define AMFWIRE_API
#elif defined(_WIN32)
#if defined(AMFWIRE_BUILDING)
#define AMFWIRE_API __declspec(dllexport)
#else
#define AMFWIRE_API __declspec(dllimport)
#endif
#else
#define AMFWIRE_API __attribute__((visibility("default")))
#endif

// ---------------------------------------------------------------------------------------------------
// Forms, bounds, results

/// What the bytes are.
enum class AMFWireForm : std::uint32_t {
  automatic,     ///< found out by amfWireIdentify
  packet,        ///< a remoting packet: version, headers, messages
  amf0,          ///< a run of AMF0 values
  amf3,          ///< a run of AMF3 values
  sharedObject,  ///< a shared object (.sol)
  flv            ///< script tags of an FLV file; read only
};

/// The name of a form: "automatic", "packet", "amf0", "amf3", "sol" or "flv". Never null.
AMFWIRE_API const char* describe(AMFWireForm form) noexcept;

/// How a call ended.
enum class AMFWireStatus : std::uint32_t {
  ok = 0,
  truncated,        ///< bytes: the next field does not lie in the input
  malformed,        ///< bytes: a field is refused
  unknownExternal,  ///< bytes: an externalizable class whose body is not known
  packetLimit,      ///< above maxPacketBytes
  depthLimit,       ///< above maxDepth
  textLimit,        ///< above maxTextBytes
  flagLimit,        ///< above AMFWireLimits::kMaxFlagBytes
  syntax,           ///< text: not JSON, or not UTF-8
  content,          ///< text: JSON that stands for no document of this format
  misuse            ///< AMFWireWriter: the events do not follow one another
};

/// A short English text for a status, such as "depth limit". Never null.
AMFWIRE_API const char* describe(AMFWireStatus status) noexcept;

/// The bounds of one call. All are inclusive: a value equal to its limit is accepted.
struct AMFWIRE_API AMFWireLimits {
  /// Size of the bytes that are read or written.
  std::size_t maxPacketBytes = std::size_t{64} << 20;
  /// Size of the JSON text that is written or read. A short packet can stand for a long text: a
  /// string or a traits entry may be referred to often. No text above 4 GiB is read.
  std::size_t maxTextBytes = std::size_t{256} << 20;
  /// Objects, arrays, vectors of objects, dictionaries and externalizables inside one another.
  std::uint32_t maxDepth = 512;
  /// Flag bytes in one group of a small message. Not adjustable.
  static constexpr std::uint32_t kMaxFlagBytes = 16;
};

/// The outcome of a call.
struct AMFWIRE_API AMFWireResult {
  AMFWireStatus status = AMFWireStatus::ok;  ///< how the call ended
  /// What was found and what was expected; empty when ok.
  std::string message;
  /// Bytes: the first byte of the field that is refused or does not fit. For a depth limit the
  /// marker, for an unknown externalizable class the first byte of its body, for a text limit the
  /// value with which the text becomes too long, for a packet limit 0.
  std::size_t offset = 0;
  /// Text: line and column, from 1, in characters. 0 where the error is not in a text.
  std::size_t line = 0;
  std::size_t column = 0;  ///< as `line`
  /// Text: where in the document, such as `messages[0].value[2].name` or `a["odd name"]`. The
  /// document itself is the empty path. A missing key is an error of its object.
  std::string path;

  /// Whether the call succeeded.
  bool ok() const noexcept { return status == AMFWireStatus::ok; }
};

/// An externalizable class that a host knows: its body is `values` AMF3 values, one after another.
/// These are built in, with one value each: flex.messaging.io.ArrayCollection, ArrayList,
/// ObjectProxy and SerializationProxy, mx.collections.ArrayCollection and ArrayList,
/// mx.utils.ObjectProxy; so are the small messages DSA, DSC, DSK and their long names. A class
/// that is named here replaces a built-in class of the same name.
struct AMFWIRE_API AMFWireExternalClass {
  std::string name;          ///< the class name, byte for byte
  std::uint32_t values = 1;  ///< number of AMF3 values in the body
};

// ---------------------------------------------------------------------------------------------------
// The two usual calls

/// How bytes are read.
struct AMFWIRE_API AMFWireReadOptions {
  AMFWireForm form = AMFWireForm::automatic;  ///< what the bytes are
  /// A section (a header, a message, a script tag) that cannot be read is kept as raw bytes, and
  /// reading goes on behind it, where that is possible. See docs/wire-json.md.
  bool salvage = false;
  AMFWireLimits limits;                               ///< the bounds of the call
  std::vector<AMFWireExternalClass> externalClasses;  ///< classes that the host knows
};

/// How bytes become JSON.
struct AMFWIRE_API AMFWireExportOptions : AMFWireReadOptions {
  /// A section whose bytes the values alone would not bring back gets a key `original` with them.
  bool originals = true;
  /// The same document, indented by two blanks, as JSON.stringify(document, null, 2) writes it.
  /// maxTextBytes counts what is written.
  bool pretty = false;
};

/// What an export met. Filled by a call that succeeded; else all zero.
struct AMFWIRE_API AMFWireStatistics {
  AMFWireForm form = AMFWireForm::automatic;  ///< the form that was read
  std::uint64_t sections = 0;                 ///< headers, messages, script tags; 1 for others
  /// Sections whose bytes the values alone would not bring back: they carry `original`, unless
  /// originals are left out; then they will come back otherwise. Script tags are not counted.
  std::uint64_t originals = 0;
  /// Sections that will come back as other bytes. `originals` where these are left out, else 0.
  std::uint64_t changed = 0;
  /// Lengths that lie: declared lengths of headers and messages that are neither FFFFFFFF nor the
  /// true one, and the size of a shared object.
  std::uint64_t wrongLengths = 0;
  std::uint64_t unknownLengths = 0;  ///< declared lengths of FFFFFFFF
  std::uint64_t salvaged = 0;        ///< sections kept as raw bytes
  std::uint64_t trailingBytes = 0;   ///< bytes behind what was read
  /// Salvage: why trailing bytes begin where a section begins; empty where that is not so.
  std::string trailingError;
};

/// Reads bytes and writes the JSON document, UTF-8, without a line end behind it.
/// `json` and `statistics` (unless null) are replaced when the call succeeds. `bytes` may be null
/// when `size` is 0. Memory: the text, and tables of at most twice the packet.
AMFWIRE_API AMFWireResult amfWireExport(const void* bytes, std::size_t size, std::string& json,
                                        const AMFWireExportOptions& options = {},
                                        AMFWireStatistics* statistics = nullptr);

/// How JSON becomes bytes.
struct AMFWIRE_API AMFWireImportOptions {
  AMFWireLimits limits;                               ///< the bounds of the call
  std::vector<AMFWireExternalClass> externalClasses;  ///< classes that the host knows
};

/// Reads a JSON document and writes the bytes that it stands for. `bytes` is replaced when the
/// call succeeds, `form` (unless null) then receives the document's form. Memory: at most 12 times
/// the text.
AMFWIRE_API AMFWireResult amfWireImport(const char* text, std::size_t size, std::string& bytes,
                                        const AMFWireImportOptions& options = {},
                                        AMFWireForm* form = nullptr);

/// Recognises the form of bytes; never returns `automatic`. In this order: `FLV` at the front is an
/// FLV file; 00 BF at the front and TCSO at byte 6 is a shared object; what reads as a packet to
/// the last byte is one; then what reads as a run of AMF0 values to the last byte, or as one of
/// AMF3 values. Six bytes or more that begin with 00 03 are no run of values, and none of AMF3 if
/// they begin with 00 00: they are a damaged packet. Everything else, no bytes too, is taken for a
/// packet: it has trailing bytes, or the packet's error is the one to show. `options.form` and
/// `options.salvage` are ignored.
AMFWIRE_API AMFWireForm amfWireIdentify(const void* bytes, std::size_t size,
                                        const AMFWireReadOptions& options = {});

// ---------------------------------------------------------------------------------------------------
// Events

/// Bytes of a string or name. They belong to the source of the event and are valid during the call
/// only. Senders are asked for UTF-8 and do not always write it.
struct AMFWIRE_API AMFWireString {
  AMFWireString() = default;
  /// `count` bytes, which must outlive the object.
  AMFWireString(const char* bytes, std::size_t count) : data(bytes), length(count) {}
  /// The string must outlive the object.
  AMFWireString(const std::string& text) : data(text.data()), length(text.size()) {}
  AMFWireString(const char* text);  ///< up to the NUL

  const char* data = "";   ///< not owned, not terminated
  std::size_t length = 0;  ///< bytes in `data`
};

/// The beginning of a document.
struct AMFWIRE_API AMFWireDocument {
  AMFWireForm form = AMFWireForm::packet;  ///< which form begins
  /// Packet: any. Shared object: 0 or 3, the format of its values. Otherwise 0.
  std::uint16_t version = 0;
  AMFWireString name;  ///< of a shared object
  /// Packet: the declared number of headers, unless `trueCounts`.
  std::uint32_t headerCount = 0;
  /// For the writer: write the numbers of headers and messages that come; beginMessages() may be
  /// left out. The reader clears it.
  bool trueCounts = true;
  /// Shared object: the declared size of what follows the size field, unless `trueSize`.
  std::uint32_t declaredSize = 0;
  bool trueSize = true;  ///< for the writer: write the true size. The reader clears it.
};

/// What a section is.
enum class AMFWireSectionKind : std::uint32_t {
  header,    ///< one AMF0 value
  message,   ///< one AMF0 value
  values,    ///< bare values, AMF0 or AMF3 as the form says
  entries,   ///< of a shared object: member(name), value, member(name), value, ...
  scriptTag  ///< of an FLV file: AMF0 values
};

/// The beginning of a section: all tables are empty.
struct AMFWIRE_API AMFWireSection {
  AMFWireSectionKind kind = AMFWireSectionKind::message;  ///< which section begins
  AMFWireString name;                                     ///< of a header; the target of a message
  AMFWireString response;                                 ///< of a message
  std::uint8_t mustUnderstand = 0;                        ///< of a header
  std::uint32_t declaredLength = kUnknownLength;  ///< of a header or message, unless `trueLength`
  bool trueLength = true;   ///< for the writer: write the true length. The reader clears it.
  std::int32_t timeMs = 0;  ///< of a script tag
  std::size_t offset = 0;   ///< from the reader: where the section's value begins
  /// For the writer. False: every string in full. False: all traits in full. False: every AMF3
  /// number as a double. The reader leaves them true.
  bool stringReferences = true;
  bool traitsReferences = true;  ///< as stringReferences
  bool integers = true;          ///< as stringReferences

  /// A declared length that says nothing.
  static constexpr std::uint32_t kUnknownLength = 0xFFFFFFFFu;
};

/// The sealed names of an object, in order. An object of this class belongs to the source of the
/// event.
class AMFWIRE_API AMFWireNames {
 public:
  virtual ~AMFWireNames();
  virtual void rewind() = 0;         ///< the next name is the first again
  virtual AMFWireString next() = 0;  ///< to be called as often as there are names
};

/// Sealed names for AMFWireWriter from a list that outlives this object.
class AMFWIRE_API AMFWireNameList : public AMFWireNames {
 public:
  /// The names of `list`, which must outlive the object.
  explicit AMFWireNameList(const std::vector<std::string>& list) : names(&list) {}
  void rewind() override { index = 0; }
  AMFWireString next() override { return AMFWireString((*names)[index++]); }

 private:
  const std::vector<std::string>* names;  // not owned
  std::size_t index = 0;
};

/// An array: strict (AMF0), or dense values behind members (AMF3).
struct AMFWIRE_API AMFWireArray {
  std::uint32_t count = 0;  ///< values that come without a name, behind all members
  bool hasMembers = false;  ///< AMF3 only
};

/// An object. AMF0 objects have members only.
struct AMFWIRE_API AMFWireObject {
  bool typed = false;       ///< AMF0: marker 10. AMF3: the class name is not empty.
  AMFWireString className;  ///< empty where there is none
  /// AMF3: so many members come first, in the order of `names`, each announced by member() too.
  std::uint32_t sealedCount = 0;
  AMFWireNames* names = nullptr;  ///< null where sealedCount is 0; not owned
  bool dynamic = true;            ///< AMF3: other members may follow
  /// From the AMF reader: index in the section's traits table.
  std::uint32_t traits = kNoTraits;

  /// `traits` of an object that has none.
  static constexpr std::uint32_t kNoTraits = 0xFFFFFFFFu;
};

/// The flags of one group of a small message: bit n of `bits[b]` says that flag byte b, bit n has a
/// value. Bit 7 is clear.
struct AMFWIRE_API AMFWireFlags {
  std::uint32_t group = 0;                               ///< from 0
  std::uint8_t bits[AMFWireLimits::kMaxFlagBytes] = {};  ///< the flag bytes without bit 7
};

/// One field of a small message.
struct AMFWIRE_API AMFWireField {
  std::uint32_t group = 0;     ///< from 0
  std::uint32_t byte = 0;      ///< flag byte of the group, from 0
  std::uint32_t bit = 0;       ///< 0 to 6, lowest first
  const char* name = nullptr;  ///< null where the format names none
};

/// An externalizable. Its values follow. Those of a small message come in groups: fieldGroup() for
/// each group of the class, then field() and a value for each flag that is set.
struct AMFWIRE_API AMFWireExternal {
  AMFWireString className;    ///< of the traits
  bool dynamic = false;       ///< the traits have that bit
  bool smallMessage = false;  ///< the body is that of a small message
  std::uint32_t count = 0;    ///< values that follow, where it is none
};

/// What the items of a vector are.
enum class AMFWireVectorKind : std::uint8_t {
  int32,    ///< s32
  uint32,   ///< u32
  float64,  ///< 8 bytes
  object    ///< values
};

/// A vector. The items of the first three kinds come by vectorItems(), those of objects as values.
struct AMFWIRE_API AMFWireVector {
  AMFWireVectorKind kind = AMFWireVectorKind::int32;  ///< what its items are
  bool fixed = false;                                 ///< its length is fixed
  std::uint32_t count = 0;                            ///< number of items
  AMFWireString typeName;                             ///< of object vectors
};

/// What a packet, a run of values, a shared object or an FLV file is made of, in the order of the
/// bytes: beginDocument, sections, endDocument. A section is beginSection, values, endSection; in a
/// salvaged one, rawSection stands for the values. A value is one call, or a begin call, its
/// content, and end(). The calls do nothing here: a sink overrides those that it needs.
///
/// In a header, a message or a script tag values are AMF0 until beginAmf3(), and again from
/// endAmf3().
class AMFWIRE_API AMFWireSink {
 public:
  virtual ~AMFWireSink();

  virtual void beginDocument(const AMFWireDocument& document);  ///< first of all
  /// Packets, behind the last header. `declaredCount` is the number of messages as it stands in the
  /// packet. A salvaged packet that breaks in a header has no such call.
  virtual void beginMessages(std::uint32_t declaredCount);
  /// `trailing`: the bytes behind what was read. `error`: in a salvaged document, why reading ended
  /// there; else empty.
  virtual void endDocument(const AMFWireString& trailing, const AMFWireString& error);
  virtual void beginSection(const AMFWireSection& section);  ///< its values follow
  /// Salvage: the bytes of a section that cannot be read, and why.
  virtual void rawSection(const AMFWireString& bytes, const AMFWireString& error);
  virtual void endSection();  ///< of the section that has begun

  virtual void undefined();                              ///< undefined
  virtual void null();                                   ///< null
  virtual void unsupported();                            ///< AMF0
  virtual void boolean(bool value);                      ///< true for every byte but 00 in AMF0
  virtual void integer(std::int32_t value);              ///< AMF3: -268435456 to 268435455
  virtual void number(double value);                     ///< AMF0 number, AMF3 double
  virtual void string(const AMFWireString& value);       ///< a string
  virtual void xmlDocument(const AMFWireString& value);  ///< AMF0 and AMF3
  virtual void xml(const AMFWireString& value);          ///< AMF3
  /// Milliseconds since 1970-01-01 UTC; minutes of time zone in AMF0, 0 in AMF3.
  virtual void date(double timeMs, std::int16_t zone);
  virtual void byteArray(const AMFWireString& value);  ///< AMF3
  /// A value that has begun before: its index in the table of the format at hand. In AMF0 objects
  /// and arrays are numbered from 0 in the order in which they begin, in an AMF0 shared object from
  /// 1, where 0 is the shared object itself. In AMF3 XML, dates, arrays, objects, externalizables,
  /// byte arrays, vectors and dictionaries are.
  virtual void reference(std::uint32_t index);

  virtual void beginAmf3();                                     ///< one AMF3 value in an AMF0 place
  virtual void endAmf3();                                       ///< after that value
  virtual void beginArray(const AMFWireArray& array);           ///< members, denseItems(), values
  virtual void beginEcmaArray(std::uint32_t declaredCount);     ///< AMF0; members
  virtual void beginObject(const AMFWireObject& object);        ///< members
  virtual void beginExternal(const AMFWireExternal& external);  ///< values or fields
  virtual void beginVector(const AMFWireVector& vector);        ///< items
  /// The next items of a vector of numbers: `count` items, 4 or 8 bytes each, big-endian.
  virtual void vectorItems(const char* items, std::uint32_t count);
  /// `count` times a key value and a value.
  virtual void beginDictionary(std::uint32_t count, bool weak);
  virtual void member(const AMFWireString& name);  ///< the next value has this name
  /// AMF3 arrays that have members: behind the last member, also where no dense value follows.
  virtual void denseItems();
  virtual void fieldGroup(const AMFWireFlags& flags);  ///< small messages: a group begins
  virtual void field(const AMFWireField& field);       ///< the next value is this field
  virtual void end();                                  ///< of what began last and has not ended
};

/// Reads bytes and calls `sink` as it reads: after a failure the sink has seen everything up to it.
/// With salvage each section is read twice, so that a damaged one shows as rawSection() alone.
/// What the sink throws passes through. Memory: 4 bytes for each AMF3 string, 1 for each object, a
/// few dozen for each traits entry and each level of depth.
AMFWIRE_API AMFWireResult amfWireRead(const void* bytes, std::size_t size, AMFWireSink& sink,
                                      const AMFWireReadOptions& options = {});

// ---------------------------------------------------------------------------------------------------
// Packets from a host's own data

/// Writes the bytes of a document from events. Strings and traits become references by themselves.
///
///     AMFWireWriter writer;
///     writer.beginDocument({});                    // a packet, version 0
///     AMFWireSection call;                         // a message
///     call.name = "Service.echo";
///     call.response = "/1";
///     writer.beginSection(call);
///     writer.beginArray({1});                      // the arguments
///     writer.string("hello");
///     writer.end();
///     writer.endSection();
///     writer.endDocument({}, {});
///     std::string bytes;
///     const AMFWireResult result = writer.finish(bytes);
///
/// Each call checks that it may come now. The first one that may not is the outcome of finish();
/// what follows it is ignored. FLV documents are not written.
class AMFWIRE_API AMFWireWriter : public AMFWireSink {
 public:
  /// Ready for a document; `options` are copied.
  explicit AMFWireWriter(const AMFWireImportOptions& options = {});
  ~AMFWireWriter() override;
  AMFWireWriter(const AMFWireWriter&) = delete;
  AMFWireWriter& operator=(const AMFWireWriter&) = delete;

  /// Moves what was written into `bytes`, which stays as it is after a failure, and makes the
  /// writer ready for another document.
  AMFWireResult finish(std::string& bytes);
  /// What reference() needs to point at the value that began last, in its format.
  std::uint32_t lastIndex() const noexcept;

  /// @name The events of AMFWireSink
  /// @{
  void beginDocument(const AMFWireDocument& document) override;  ///< as in AMFWireSink
  void beginMessages(std::uint32_t declaredCount) override;      ///< as in AMFWireSink
  void endDocument(const AMFWireString& trailing,
                   const AMFWireString& error) override;      ///< as in AMFWireSink
  void beginSection(const AMFWireSection& section) override;  ///< as in AMFWireSink
  void rawSection(const AMFWireString& bytes,
                  const AMFWireString& error) override;               ///< as in AMFWireSink
  void endSection() override;                                         ///< as in AMFWireSink
  void undefined() override;                                          ///< as in AMFWireSink
  void null() override;                                               ///< as in AMFWireSink
  void unsupported() override;                                        ///< as in AMFWireSink
  void boolean(bool value) override;                                  ///< as in AMFWireSink
  void integer(std::int32_t value) override;                          ///< as in AMFWireSink
  void number(double value) override;                                 ///< as in AMFWireSink
  void string(const AMFWireString& value) override;                   ///< as in AMFWireSink
  void xmlDocument(const AMFWireString& value) override;              ///< as in AMFWireSink
  void xml(const AMFWireString& value) override;                      ///< as in AMFWireSink
  void date(double timeMs, std::int16_t zone) override;               ///< as in AMFWireSink
  void byteArray(const AMFWireString& value) override;                ///< as in AMFWireSink
  void reference(std::uint32_t index) override;                       ///< as in AMFWireSink
  void beginAmf3() override;                                          ///< as in AMFWireSink
  void endAmf3() override;                                            ///< as in AMFWireSink
  void beginArray(const AMFWireArray& array) override;                ///< as in AMFWireSink
  void beginEcmaArray(std::uint32_t declaredCount) override;          ///< as in AMFWireSink
  void beginObject(const AMFWireObject& object) override;             ///< as in AMFWireSink
  void beginExternal(const AMFWireExternal& external) override;       ///< as in AMFWireSink
  void beginVector(const AMFWireVector& vector) override;             ///< as in AMFWireSink
  void vectorItems(const char* items, std::uint32_t count) override;  ///< as in AMFWireSink
  void beginDictionary(std::uint32_t count, bool weak) override;      ///< as in AMFWireSink
  void member(const AMFWireString& name) override;                    ///< as in AMFWireSink
  void denseItems() override;                                         ///< as in AMFWireSink
  void fieldGroup(const AMFWireFlags& flags) override;                ///< as in AMFWireSink
  void field(const AMFWireField& field) override;                     ///< as in AMFWireSink
  void end() override;                                                ///< as in AMFWireSink
                                                                      /// @}

 private:
  struct State;
  std::unique_ptr<State> state;
};

#endif  // AMFWIRE_H
