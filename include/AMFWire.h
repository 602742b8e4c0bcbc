// SPDX-License-Identifier: Apache-2.0
/// @file
/// AMFWire converts AMF0 and AMF3, as Flash Player, Flex and their servers write them, to JSON and
/// back.
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
/// The library of AMF2JSON.h has its own dialect. This library reads and writes the published
/// formats instead, and does not depend on the other one. docs/wire-json.md specifies the JSON.
///
/// Four parts exchange events, the calls of AMFWireSink:
///
///     bytes --AMF reader--> events --JSON writer--> text          amfWireExport
///     text --JSON reader--> events --AMF writer---> bytes         amfWireImport
///
/// A host can read events with its own sink (amfWireRead), and can write bytes from its own events
/// (AMFWireWriter).
///
/// Round trip: with originals, which is the default, amfWireImport turns what amfWireExport wrote
/// into the same bytes. This is true for packets, runs of values and shared objects.
///
/// Trust: no call trusts its input. Every read is checked against the end of the input. No memory
/// is reserved for items that the input only announces. Nothing recurses. AMFWireLimits has all
/// limits. Time is linear in input plus output.
///
/// Errors: each call returns an AMFWireResult. The strings of the caller are changed only if the
/// call succeeds. The calls throw std::bad_alloc, and what the sink of a host throws, and nothing
/// else. After an exception the strings of the caller are unchanged.
///
/// Threads: there is no global state and there are no locks. Separate calls may run on separate
/// threads.
#ifndef AMFWIRE_H
#define AMFWIRE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// @def AMFWIRE_API
/// Marks what the library exports. Define AMFWIRE_STATIC to use the static library on Windows.
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
// Forms, limits, results

/// The forms of input.
enum class AMFWireForm : std::uint32_t {
  automatic,     ///< amfWireIdentify decides
  packet,        ///< a remoting packet: version, headers, messages
  amf0,          ///< a run of AMF0 values
  amf3,          ///< a run of AMF3 values
  sharedObject,  ///< a shared object (.sol)
  flv            ///< script tags of an FLV file; read only
};

/// The name of a form: "automatic", "packet", "amf0", "amf3", "sol" or "flv". Never null.
AMFWIRE_API const char* describe(AMFWireForm form) noexcept;

/// The outcome of a call.
enum class AMFWireStatus : std::uint32_t {
  ok = 0,
  truncated,        ///< bytes: the input ends before the end of the next field
  malformed,        ///< bytes: a field is refused
  unknownExternal,  ///< bytes: an externalizable class with an unknown body
  packetLimit,      ///< above maxPacketBytes
  depthLimit,       ///< above maxDepth
  textLimit,        ///< above maxTextBytes
  flagLimit,        ///< above AMFWireLimits::kMaxFlagBytes
  syntax,           ///< text: not JSON, or not UTF-8
  content,          ///< text: JSON that is no document of this format
  misuse            ///< AMFWireWriter: an event came at the wrong time
};

/// A short English text for a status, such as "depth limit". Never null.
AMFWIRE_API const char* describe(AMFWireStatus status) noexcept;

/// The limits of one call. All are inclusive: a value equal to its limit is accepted.
struct AMFWIRE_API AMFWireLimits {
  /// Size of the bytes that are read or written.
  std::size_t maxPacketBytes = std::size_t{64} << 20;
  /// Size of the JSON text that is written or read. A short packet can make a long text, because
  /// many references may refer to one string or traits entry. No text above 4 GiB is read.
  std::size_t maxTextBytes = std::size_t{256} << 20;
  /// Depth of nested objects, arrays, vectors of objects, dictionaries and externalizables.
  std::uint32_t maxDepth = 512;
  /// Flag bytes in one group of a small message. This limit cannot be changed.
  static constexpr std::uint32_t kMaxFlagBytes = 16;
};

/// The outcome of a call.
struct AMFWIRE_API AMFWireResult {
  AMFWireStatus status = AMFWireStatus::ok;  ///< the outcome
  /// What was found and what was expected; empty if ok.
  std::string message;
  /// For errors in bytes: the first byte of the field that is refused or incomplete. For a depth
  /// limit, the marker. For an unknown externalizable class, the first byte of its body. For a text
  /// limit, the value with which the text becomes too long. For a packet limit, 0.
  std::size_t offset = 0;
  /// For errors in text: line and column, from 1, in characters. Otherwise 0.
  std::size_t line = 0;
  std::size_t column = 0;  ///< as `line`
  /// For errors in text: the place in the document, such as `messages[0].value[2].name` or
  /// `a["odd name"]`. The path of the document itself is empty. If a key is missing, this is the
  /// path of its object.
  std::string path;

  /// Whether the call succeeded.
  bool ok() const noexcept { return status == AMFWireStatus::ok; }
};

/// An externalizable class that the host knows. Its body is `values` AMF3 values, one after
/// another. Built in, with one value each, are flex.messaging.io.ArrayCollection, ArrayList,
/// ObjectProxy and SerializationProxy, mx.collections.ArrayCollection and ArrayList, and
/// mx.utils.ObjectProxy. The small messages DSA, DSC and DSK and their long names are built in,
/// too. A class in this list replaces a built-in class of the same name.
struct AMFWIRE_API AMFWireExternalClass {
  std::string name;          ///< the class name, byte for byte
  std::uint32_t values = 1;  ///< number of AMF3 values in the body
};

// ---------------------------------------------------------------------------------------------------
// Export and import

/// How bytes are read.
struct AMFWIRE_API AMFWireReadOptions {
  AMFWireForm form = AMFWireForm::automatic;  ///< what the bytes are
  /// Keep the raw bytes of a section (a header, a message, a script tag) that cannot be read, and go
  /// on with the next section if possible. See docs/wire-json.md.
  bool salvage = false;
  AMFWireLimits limits;                               ///< the limits of the call
  std::vector<AMFWireExternalClass> externalClasses;  ///< classes that the host knows
};

/// How bytes become JSON.
struct AMFWIRE_API AMFWireExportOptions : AMFWireReadOptions {
  /// Write a key `original` with the bytes of each section that its values alone do not reproduce.
  bool originals = true;
  /// Indent by two spaces, as JSON.stringify(document, null, 2) does. maxTextBytes counts the
  /// indented text.
  bool pretty = false;
};

/// What an export found. A call that succeeds fills it; otherwise all numbers are zero.
struct AMFWIRE_API AMFWireStatistics {
  AMFWireForm form = AMFWireForm::automatic;  ///< the form that was read
  std::uint64_t sections = 0;  ///< headers, messages or script tags; 1 for other forms
  /// Sections whose values alone do not reproduce their bytes. They have a key `original`, unless
  /// originals are switched off. Script tags are not counted.
  std::uint64_t originals = 0;
  /// Sections that import will write as other bytes: `originals` if these are switched off, else 0.
  std::uint64_t changed = 0;
  /// Wrong lengths: declared lengths of headers and messages that are neither FFFFFFFF nor correct,
  /// and a wrong size of a shared object.
  std::uint64_t wrongLengths = 0;
  std::uint64_t unknownLengths = 0;  ///< declared lengths of FFFFFFFF
  std::uint64_t salvaged = 0;        ///< sections that were kept as raw bytes
  std::uint64_t trailingBytes = 0;   ///< bytes after the last one that was read
  /// With salvage: why trailing bytes begin where a section begins; empty if they do not.
  std::string trailingError;
};

/// Reads bytes and writes the JSON document, in UTF-8, without a line end after it. `json` and
/// `statistics` (unless null) are replaced if the call succeeds. `bytes` may be null if `size` is
/// 0. Memory: the text, tables of mostly less than twice and at most ten times the packet, 64 KiB,
/// and 512 bytes for each level of depth.
AMFWIRE_API AMFWireResult amfWireExport(const void* bytes, std::size_t size, std::string& json,
                                        const AMFWireExportOptions& options = {},
                                        AMFWireStatistics* statistics = nullptr);

/// How JSON becomes bytes.
struct AMFWIRE_API AMFWireImportOptions {
  AMFWireLimits limits;                               ///< the limits of the call
  std::vector<AMFWireExternalClass> externalClasses;  ///< classes that the host knows
};

/// Reads a JSON document and writes its bytes. If the call succeeds, `bytes` is replaced, and
/// `form` (unless null) receives the form of the document. Memory: at most 12 times the text,
/// 64 KiB, and 512 bytes for each level of depth, if `realloc` does not copy large blocks.
AMFWIRE_API AMFWireResult amfWireImport(const char* text, std::size_t size, std::string& bytes,
                                        const AMFWireImportOptions& options = {},
                                        AMFWireForm* form = nullptr);

/// Recognises the form of bytes. Never returns `automatic`. The first rule that applies decides:
/// - Bytes that begin with `FLV` are an FLV file.
/// - Bytes that begin with 00 BF and have TCSO at byte 6 are a shared object.
/// - Bytes that can be read as a packet to the last byte are a packet.
/// - Bytes that can be read as AMF0 values to the last byte are a run of AMF0 values, and in the
///   same way AMF3 values. Exceptions: six or more bytes that begin with 00 03 are no run of
///   values, and six or more that begin with 00 00 are no run of AMF3 values. They are damaged
///   packets.
/// - Everything else, also an empty input, is a packet: it has trailing bytes or an error.
///
/// `options.form` and `options.salvage` are ignored.
AMFWIRE_API AMFWireForm amfWireIdentify(const void* bytes, std::size_t size,
                                        const AMFWireReadOptions& options = {});

// ---------------------------------------------------------------------------------------------------
// Events

/// Bytes of a string or name. The caller of the sink owns them, and they are valid during the call
/// only. They should be UTF-8, but some senders write other bytes.
struct AMFWIRE_API AMFWireString {
  AMFWireString() = default;
  /// `count` bytes, which must outlive the object.
  AMFWireString(const char* bytes, std::size_t count) : data(bytes), length(count) {}
  /// The string must outlive the object.
  AMFWireString(const std::string& text) : data(text.data()), length(text.size()) {}
  AMFWireString(const char* text);  ///< the bytes before the NUL

  const char* data = "";   ///< not owned, not terminated
  std::size_t length = 0;  ///< bytes in `data`
};

/// The beginning of a document.
struct AMFWIRE_API AMFWireDocument {
  AMFWireForm form = AMFWireForm::packet;  ///< its form
  /// Packet: any number. Shared object: 0 or 3, the format of its values. Otherwise 0.
  std::uint16_t version = 0;
  AMFWireString name;  ///< of a shared object
  /// Packet: the declared number of headers, unless `trueCounts`.
  std::uint32_t headerCount = 0;
  /// For the writer: write the true numbers of headers and messages. beginMessages() may be omitted
  /// then. The reader sets it to false.
  bool trueCounts = true;
  /// Shared object: the declared size of what follows the size field, unless `trueSize`.
  std::uint32_t declaredSize = 0;
  bool trueSize = true;  ///< for the writer: write the true size. The reader sets it to false.
};

/// The kinds of sections.
enum class AMFWireSectionKind : std::uint32_t {
  header,    ///< one AMF0 value
  message,   ///< one AMF0 value
  values,    ///< bare values, AMF0 or AMF3 as the form says
  entries,   ///< of a shared object: member(name), value, member(name), value, ...
  scriptTag  ///< of an FLV file: AMF0 values
};

/// The beginning of a section. All reference tables are empty here.
struct AMFWIRE_API AMFWireSection {
  AMFWireSectionKind kind = AMFWireSectionKind::message;  ///< its kind
  AMFWireString name;                                     ///< of a header; the target of a message
  AMFWireString response;                                 ///< of a message
  std::uint8_t mustUnderstand = 0;                        ///< of a header
  std::uint32_t declaredLength = kUnknownLength;  ///< of a header or message, unless `trueLength`
  bool trueLength = true;   ///< for the writer: write the true length. The reader sets it to false.
  std::int32_t timeMs = 0;  ///< of a script tag
  std::size_t offset = 0;   ///< from the reader: where the value of the section begins
  /// For the writer: write repeated strings as references. The reader never changes this, nor the
  /// next two.
  bool stringReferences = true;
  bool traitsReferences = true;  ///< for the writer: write repeated traits as references
  bool integers = true;          ///< for the writer: write AMF3 whole numbers as integers

  /// The declared length that means unknown.
  static constexpr std::uint32_t kUnknownLength = 0xFFFFFFFFu;
};

/// The names of the sealed members of an object, in order. The caller of the sink owns the object
/// of this class.
class AMFWIRE_API AMFWireNames {
 public:
  virtual ~AMFWireNames();
  virtual void rewind() = 0;         ///< next() returns the first name again
  virtual AMFWireString next() = 0;  ///< call it at most once for each name
};

/// Sealed names for AMFWireWriter, from a list.
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

/// An array: strict (AMF0), or members and then the dense part (AMF3).
struct AMFWIRE_API AMFWireArray {
  std::uint32_t count = 0;  ///< number of values without a name, after all members
  bool hasMembers = false;  ///< whether there are members; AMF3 only
};

/// An object. AMF0 objects have members only.
struct AMFWIRE_API AMFWireObject {
  bool typed = false;       ///< AMF0: marker 10. AMF3: the class name is not empty.
  AMFWireString className;  ///< empty if there is none
  /// AMF3: so many members come first, in the order of `names`. member() is called for them, too.
  std::uint32_t sealedCount = 0;
  AMFWireNames* names = nullptr;  ///< null if sealedCount is 0; not owned
  bool dynamic = true;            ///< AMF3: dynamic members may follow
  /// From the AMF reader: the index in the traits table of the section.
  std::uint32_t traits = kNoTraits;

  /// `traits` of an object without traits.
  static constexpr std::uint32_t kNoTraits = 0xFFFFFFFFu;
};

/// The flags of one group of a small message. Bit n of `bits[b]` says that a value follows for bit
/// n of flag byte b. Bit 7 is clear.
struct AMFWIRE_API AMFWireFlags {
  std::uint32_t group = 0;                               ///< from 0
  std::uint8_t bits[AMFWireLimits::kMaxFlagBytes] = {};  ///< the flag bytes without bit 7
};

/// One field of a small message.
struct AMFWIRE_API AMFWireField {
  std::uint32_t group = 0;     ///< from 0
  std::uint32_t byte = 0;      ///< flag byte of the group, from 0
  std::uint32_t bit = 0;       ///< 0 to 6, lowest first
  const char* name = nullptr;  ///< null if the field has no name
};

/// An externalizable object. Its values follow. Those of a small message come in groups:
/// fieldGroup() for each group of the class, then field() and a value for each flag that is set.
struct AMFWIRE_API AMFWireExternal {
  AMFWireString className;    ///< of the traits
  bool dynamic = false;       ///< the traits have the dynamic bit
  bool smallMessage = false;  ///< the body has the fields of a small message
  std::uint32_t count = 0;    ///< number of values, if it is no small message
};

/// The kinds of vectors.
enum class AMFWireVectorKind : std::uint8_t {
  int32,    ///< s32
  uint32,   ///< u32
  float64,  ///< 8 bytes
  object    ///< values
};

/// A vector. vectorItems() passes the items of the first three kinds. Those of objects are values.
struct AMFWIRE_API AMFWireVector {
  AMFWireVectorKind kind = AMFWireVectorKind::int32;  ///< the kind of its items
  bool fixed = false;                                 ///< its length is fixed
  std::uint32_t count = 0;                            ///< number of items
  AMFWireString typeName;                             ///< vectors of objects: the class name
};

/// The receiver of the events of a packet, a run of values, a shared object or an FLV file, in the
/// order of the bytes:
/// - a document: beginDocument, sections, endDocument;
/// - a section: beginSection, values, endSection; a salvaged section has rawSection in place of the
///   values;
/// - a value: one call, or a begin call, its content, and end().
///
/// The calls do nothing in this class: a sink overrides those that it needs. In a header, a message
/// or a script tag, values are AMF0, except between beginAmf3() and endAmf3().
class AMFWIRE_API AMFWireSink {
 public:
  virtual ~AMFWireSink();

  virtual void beginDocument(const AMFWireDocument& document);  ///< the first event
  /// Packets: after the last header. `declaredCount` is the number of messages in the packet. This
  /// call is missing if a salvaged packet ends in a header.
  virtual void beginMessages(std::uint32_t declaredCount);
  /// `trailing`: the bytes after the last one that was read. `error`: with salvage, why reading
  /// ended there; else empty.
  virtual void endDocument(const AMFWireString& trailing, const AMFWireString& error);
  virtual void beginSection(const AMFWireSection& section);  ///< its values follow
  /// With salvage: the bytes of a section that cannot be read, and the reason.
  virtual void rawSection(const AMFWireString& bytes, const AMFWireString& error);
  virtual void endSection();  ///< the section ends

  virtual void undefined();                              ///< undefined
  virtual void null();                                   ///< null
  virtual void unsupported();                            ///< AMF0
  virtual void boolean(bool value);                      ///< AMF0: true for every byte except 00
  virtual void integer(std::int32_t value);              ///< AMF3: -268435456 to 268435455
  virtual void number(double value);                     ///< AMF0 number, AMF3 double
  virtual void string(const AMFWireString& value);       ///< a string
  virtual void xmlDocument(const AMFWireString& value);  ///< AMF0 and AMF3
  virtual void xml(const AMFWireString& value);          ///< AMF3
  /// Milliseconds since 1970-01-01 UTC; minutes of time zone in AMF0, 0 in AMF3.
  virtual void date(double timeMs, std::int16_t zone);
  virtual void byteArray(const AMFWireString& value);  ///< AMF3
  /// A reference to an earlier value: its index in the table of the current format. In AMF0,
  /// objects and arrays are numbered in the order in which they begin, from 0. In an AMF0 shared
  /// object they are numbered from 1, and 0 is the shared object itself. In AMF3, XML, dates,
  /// arrays, objects, externalizables, byte arrays, vectors and dictionaries are numbered in the
  /// order in which they begin, from 0.
  virtual void reference(std::uint32_t index);

  virtual void beginAmf3();                            ///< one AMF3 value follows, within AMF0
  virtual void endAmf3();                              ///< after that value
  virtual void beginArray(const AMFWireArray& array);  ///< then members, denseItems(), values
  virtual void beginEcmaArray(std::uint32_t declaredCount);     ///< AMF0; then members
  virtual void beginObject(const AMFWireObject& object);        ///< then members
  virtual void beginExternal(const AMFWireExternal& external);  ///< then values or fields
  virtual void beginVector(const AMFWireVector& vector);        ///< then items
  /// The next items of a vector of numbers: `count` items, 4 or 8 bytes each, big-endian.
  virtual void vectorItems(const char* items, std::uint32_t count);
  /// Then `count` pairs of values: a key and its value.
  virtual void beginDictionary(std::uint32_t count, bool weak);
  virtual void member(const AMFWireString& name);  ///< the next value has this name
  /// AMF3 arrays with members: after the last member, also if no dense value follows.
  virtual void denseItems();
  virtual void fieldGroup(const AMFWireFlags& flags);  ///< small messages: a group begins
  virtual void field(const AMFWireField& field);       ///< the next value is this field
  virtual void end();                                  ///< the innermost open value ends
};

/// Reads bytes and calls `sink` while it reads. After an error the sink has received all events up
/// to the error. With salvage each section is read twice, so that a damaged one is reported by
/// rawSection() only. An exception of the sink leaves this call. Memory: 4 bytes for each AMF3
/// string, 1 for each object, a few dozen for each traits entry and each level of depth.
AMFWIRE_API AMFWireResult amfWireRead(const void* bytes, std::size_t size, AMFWireSink& sink,
                                      const AMFWireReadOptions& options = {});

// ---------------------------------------------------------------------------------------------------
// Packets from the data of a host

/// Writes the bytes of a document from events. It writes repeated strings and traits as references.
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
/// Each call checks that it is allowed at this place. The first one that is not becomes the result
/// of finish(), and all later calls are ignored. FLV documents cannot be written.
class AMFWIRE_API AMFWireWriter : public AMFWireSink {
 public:
  /// A writer that is ready for a document. `options` are copied.
  explicit AMFWireWriter(const AMFWireImportOptions& options = {});
  ~AMFWireWriter() override;
  AMFWireWriter(const AMFWireWriter&) = delete;
  AMFWireWriter& operator=(const AMFWireWriter&) = delete;

  /// Moves the written bytes to `bytes`, and makes the writer ready for another document. After an
  /// error `bytes` is unchanged.
  AMFWireResult finish(std::string& bytes);
  /// The argument of reference() for the value that began last.
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
