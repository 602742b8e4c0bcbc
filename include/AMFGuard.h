// SPDX-License-Identifier: Apache-2.0
/// @file
/// AMFGuard: what a careful host calls before it lets foreign bytes into AMF2JSON, and before it
/// shows what came out of them.
///
///     #include <AMF2JSON>
///     #include <AMFGuard.h>
///
///     bool receive(const std::string& bytes) {       // our own copy: nobody else writes to it
///       AMFProtocol protocol;                        // a fresh object for every foreign packet
///       AMFVerifyResult checked;
///       AMFPackage* const package =
///           parseVerified(protocol, bytes.data(), bytes.size(), AMFVerifyLimits(), &checked);
///       if (!package) {
///         std::fprintf(stderr, "%s: %s at byte %zu\n", describe(checked.status), checked.message,
///                      checked.offset);
///         return false;
///       }
///       ...                            // use the tree; it lives as long as `protocol`
///     }
///
/// Why: `AMFProtocol::parse` is given no length. It believes every count, length and index, so cut
/// or forged bytes make it read past the buffer, nest until the stack ends, or copy a few bytes
/// into gigabytes. `verifyPacket` walks the same bytes first, under bounds, and says what `parse`
/// would do.
///
/// The host's part:
/// - The bytes and the eight class-name variables of AMF2JSON.h must not change between check and
///     parse. Never check memory that somebody else can write: copy it first.
/// - std::bad_alloc from `parse` remains possible, also for a packet that was found in order.
/// - The check says nothing about the texts of the views: a crafted string ends its quotes in the
///     script views, and what follows runs. Do not run, evaluate or inline them; see
///     `escapeForViews`.
/// - Other decoders may see another tree in the same bytes (they count AMF0 references differently,
///     or expect an end mark behind associative arrays). A gateway should forward what `compile`
///     wrote, or insist on `consumed == size` and `lengthMismatches == 0`.
#ifndef AMFGUARD_H
#define AMFGUARD_H

#include <cstddef>
#include <cstdint>

#include "AMF2JSON.h"

// ---------------------------------------------------------------------------------------------------
// The bounded check

/// The bounds of one check. All are inclusive: a value equal to its limit is accepted. The defaults
/// suit a request from the network; a host with bulk data raises `maxNodes` and `maxTreeBytes`
/// knowingly.
struct AMF2JSON_API AMFVerifyLimits {
  /// Size of the buffer.
  std::size_t maxPacketBytes = std::size_t{64} << 20;
  /// Objects and arrays inside one another, copies made by references unfolded. Reading, copying,
  /// rendering and deleting a tree all recurse along it.
  std::uint32_t maxDepth = 64;
  /// Nodes of the tree: package, headers, messages, values, members, and every name, class name and
  /// URI.
  std::uint64_t maxNodes = 1000000;
  /// Heap bytes of the tree: an upper bound for malloc of glibc with its default settings, on pages
  /// of 4 KiB, where each node is an allocation. Nodes from the pool come in chunks, which may take
  /// an eighth and 128 KiB more.
  std::uint64_t maxTreeBytes = std::uint64_t{128} << 20;
  /// The part of them that references copy: values, strings, names from traits.
  std::uint64_t maxCopiedBytes = std::uint64_t{64} << 20;
  /// Bytes of one string, name, class name, URI, XML text or byte array.
  std::uint32_t maxStringBytes = std::uint32_t{8} << 20;
  /// AMF3 references right behind the switch marker 11, unfolded like the rest: each leaves one
  /// bracket open in the texts of the views, for the rest of the protocol object's life.
  std::uint32_t maxSwitchedReferences = 64;

  /// Every limit at its largest value: nothing is refused but what `parse` could not read.
  static AMFVerifyLimits unlimited() noexcept;
};

/// How a check ended.
enum class AMFVerifyStatus : std::uint32_t {
  ok = 0,
  nullPacket,              ///< no packet at all
  packetTooLarge,          ///< `size` is above maxPacketBytes; nothing was read
  truncated,               ///< the next field does not lie in the buffer
  malformed,               ///< `parse` would throw an AMFException
  depthLimit,              ///< above maxDepth
  nodeLimit,               ///< above maxNodes
  treeLimit,               ///< above maxTreeBytes
  copyLimit,               ///< above maxCopiedBytes
  stringLimit,             ///< above maxStringBytes
  switchedReferenceLimit,  ///< above maxSwitchedReferences
  outOfMemory              ///< the check itself could not get memory
};

/// What a check found. Plain data, filled for every status: after a refusal the figures hold what
/// had been measured up to there. Figures that would pass their type stay at its largest value.
struct AMF2JSON_API AMFVerifyResult {
  AMFVerifyStatus status = AMFVerifyStatus::ok;  ///< what came out
  /// Never null. malformed: the very text of the AMFException. Otherwise: describe(status).
  const char* message = "";
  /// Where it failed; 0 when ok. malformed: where `readCursor` would stand at the throw. truncated:
  /// where the field begins that is not there whole (length and text of a string are two fields, so
  /// are the milliseconds and the zone of a date, and each byte of a variable-length integer). A
  /// limit: right behind the field that crossed it.
  std::size_t offset = 0;
  /// Bytes that `parse` will read; after a refusal the same as `offset`. Bytes behind them are no
  /// error.
  std::size_t consumed = 0;
  /// truncated: at least so many bytes are missing. Otherwise 0.
  std::uint64_t needed = 0;
  /// Number of the header or message it failed in, headers first, from 0; kEnvelope outside of them
  /// and when ok.
  std::uint32_t section = kEnvelope;

  std::uint64_t nodes = 0;        ///< nodes of the tree
  std::uint64_t treeBytes = 0;    ///< its heap, at most
  std::uint64_t copiedNodes = 0;  ///< the part of `nodes` that references copy
  std::uint64_t copiedBytes = 0;  ///< the part of `treeBytes` that references copy
  std::uint64_t stringBytes = 0;  ///< bytes of all strings, names and XML texts in the tree
  std::uint64_t rawBytes = 0;     ///< bytes of all byte arrays in the tree
  std::uint32_t depth = 0;        ///< objects and arrays inside one another; 0 for a plain value
  std::uint32_t references = 0;   ///< references in the packet, of all kinds
  std::uint32_t switchedReferences = 0;  ///< see maxSwitchedReferences
  /// Headers and messages whose declared length is neither FFFFFFFF nor that of their value. No
  /// error: `parse` does not look at it.
  std::uint32_t lengthMismatches = 0;
  std::uint32_t headers = 0;   ///< headers read to their end
  std::uint32_t messages = 0;  ///< messages read to their end

  static constexpr std::uint32_t kEnvelope = 0xFFFFFFFFu;  ///< `section` of what is in none
};

/// Says what `AMFProtocol::parse` would do with these bytes, without building anything.
///
/// With unlimited() the status is ok exactly when `parse` would finish and read nothing outside the
/// buffer (given memory and stack enough). Otherwise the first event in reading order is reported;
/// at one field, missing bytes come first, then what `parse` refuses, then the limits in the order
/// of their status codes. The length of a string is held against maxStringBytes before its bytes
/// are looked for. Limits only subtract: they never turn a refusal into ok.
///
/// After ok, `parse` of the same, unchanged bytes reads exactly `consumed` bytes, throws no
/// AMFException and builds a tree of `nodes` nodes, in which objects and arrays stand `depth` deep
/// in one another and which takes at most `treeBytes` bytes of heap (as for maxTreeBytes; the
/// tables that `parse` needs are not counted).
///
/// `packet` may be null (nullPacket) and is never written to. Never throws and keeps no state; any
/// number of threads may call it. Time is linear in `size`, machine stack constant. Heap: none for
/// small packets; else at most 64 bytes per AMF0 object or array (the first 65536 of them), AMF3
/// object, array, date, XML text, byte array, inline traits and non-empty inline string of one
/// header or message, and 64 bytes per level of depth.
AMF2JSON_API AMFVerifyResult
verifyPacket(const void* packet, std::size_t size,
             const AMFVerifyLimits& limits = AMFVerifyLimits()) noexcept;

/// A short English text for a status, such as "depth limit". Never null, lives as long as the
/// library.
AMF2JSON_API const char* describe(AMFVerifyStatus status) noexcept;

/// Checks, then parses: what most hosts want. Returns `protocol.parse(packet)` when the check is
/// ok. Otherwise returns null; `protocol` and its package are then untouched. `result`, unless
/// null, receives what the check found, in both cases. Throws std::bad_alloc as `parse` does,
/// nothing else.
AMF2JSON_API AMFPackage* parseVerified(AMFProtocol& protocol, const void* packet, std::size_t size,
                                       const AMFVerifyLimits& limits = AMFVerifyLimits(),
                                       AMFVerifyResult* result = nullptr);

// ---------------------------------------------------------------------------------------------------
// Texts made from foreign trees

/// Which views a tree is prepared for.
enum class AMFEscapeFor : std::uint32_t {
  script = 0,  ///< any view; the texts of the views are then ASCII
  json = 1     ///< getPackageInJSON alone, for a JSON parser; texts stay readable in any language
};

/// Prepares a tree for the views, so that no text in it ends the quotes that a view puts around it.
/// Changes the tree: to keep the original, pass a copy (`clone()`). Call it once for each tree,
/// because a second call escapes again.
///
/// - In every string, XML text, name, class name and URI:
///   - A backslash becomes two.
///   - Bytes that are not UTF-8 become U+FFFD, one for each longest broken sequence.
///   - `json`: `\u` and four hex digits replace U+0000 to U+001F, U+007F to U+009F, `<`, the line
///     separators U+2028 and U+2029, and the bidirectional controls (U+061C, U+200E, U+200F, U+202A
///     to U+202E, U+2066 to U+2069). A quote stays: the view puts a backslash in front of it.
///   - `script`: the same replaces U+0000 to U+001F, `"`, `&`, `'`, `<`, `>` and everything from
///     U+007F on; a surrogate pair stands for a character beyond U+FFFF.
/// - A double that is not finite becomes an AMFNull of its version, in its place. (`tree` itself is
///   not replaced: the views only take packages.)
/// - An AMF3 value under an AMF0 node loses its `referenceIndex`: the views would open a
///   bracket too many.
///
/// Show the tree with an AMFProtocol that has shown no other packet, and set its `useTemporaries`
/// to false before the first view: otherwise the JS view cuts long strings into pieces, also inside
/// an escape. Then, for the tree of a parsed packet:
///
/// After `json`, the JSON view is valid JSON, and its strings read back as they were (with U+FFFD
/// for what was not UTF-8). Nothing is promised about it as a script or as a part of a page.
///
/// After `script`, the same holds for the JSON view, and the two script views (getPackageInJS,
/// getPackageAsJSView) assign values and do nothing else: strings as they were, the rest as the
/// views write it (numbers with six decimals). A view that set `outputLimitReached` is cut and may
/// be no script at all. The statements in the text of getPackageInJSON_and_JS do the same; that
/// text as a whole is not a script. All this is true in every encoding that extends ASCII (not in
/// UTF-16), declared or guessed, in these places:
/// - a file of its own;
/// - a script element of HTML, XHTML or SVG;
/// - an event attribute (`onclick`) in single quotes. In double quotes the view's own quotes end
///   the attribute: write each `"` of the view as `&quot;` there. In XML (XHTML, SVG files) write
///   each line feed as `&#10;` in an attribute: XML makes a blank of it, and a comment in the view
///   then takes in the statements behind it. An attribute without quotes is no place for a view.
///
/// Nothing is promised about other places: a URL (`javascript:` decodes `%22`), a string or a
/// comment of another script, text or attributes of a page that are not scripts.
///
/// Null does nothing. When memory fails (std::bad_alloc; also for a text that would pass 2^32-1
/// bytes), the tree is as it was. No recursion.
AMF2JSON_API void escapeForViews(AMFNode* tree, AMFEscapeFor view = AMFEscapeFor::script);

// ---------------------------------------------------------------------------------------------------
// The fields of a packet
//
// For tools that show packets: the check calls back for every field as it reads it, so a damaged
// packet can be shown up to the place where it breaks, with nothing built and nothing read outside
// the buffer.

/// What a field is. Those up to `byteArray` take bytes of the packet and follow one another without
/// gaps; those from `end` on take none.
enum class AMFFieldKind : std::uint32_t {
  version,         ///< u16
  headerCount,     ///< u16
  messageCount,    ///< u16
  mustUnderstand,  ///< u8
  declaredLength,  ///< u32
  marker0,         ///< u8, AMF0
  marker3,         ///< u8, AMF3
  length,          ///< u16 or u32 in front of AMF0 texts, names and URIs
  count,           ///< u32, AMF0 arrays
  reference0,      ///< u16, AMF0: the index
  reference3,      ///< AMF3: a variable-length integer with bit 0 clear; the index is value >> 1
  head,            ///< AMF3: a variable-length integer with bit 0 set: lengths, counts, traits
  integer,         ///< AMF3: a variable-length integer that is the value itself
  number,          ///< 8 bytes
  boolean,         ///< u8
  timeMs,          ///< 8 bytes
  timeZone,        ///< 2 bytes, AMF0
  headerName,      ///< text, as the next six
  targetUri,
  responseUri,
  className,
  memberName,
  string,
  xml,
  byteArray,    ///< bytes
  end,          ///< an object or array has ended
  amf0Entry,    ///< the object or array that just ended has this index in the AMF0 table
  objectEntry,  ///< the AMF3 value just read, or the object or array just begun, has this index
  stringEntry,  ///< the AMF3 string just read has this index
  traitsEntry   ///< the AMF3 traits just read have this index
};

/// The name of a kind, spelled as above. Never null, lives as long as the library.
AMF2JSON_API const char* describe(AMFFieldKind kind) noexcept;

/// One field of a packet, or a thing that happened between two.
struct AMF2JSON_API AMFVerifyField {
  AMFFieldKind kind;    ///< what it is
  std::size_t offset;   ///< from the packet's first byte
  std::size_t length;   ///< bytes; may be 0 for texts and byte arrays, is 0 from `end` on
  std::uint64_t value;  ///< of whole numbers, decoded; of entries, the index; else 0
  std::uint32_t depth;  ///< objects and arrays that are open
  /// Of `length`, `head` and `reference3`: the kind of the text or bytes that they announce or
  /// refer to, headerName to byteArray; timeMs for a date. Of everything else, arrays and objects
  /// among it, `kind` itself.
  AMFFieldKind of;
};

/// What visitPacket tells the fields to: derive from it.
class AMF2JSON_API AMFVerifyVisitor {
 public:
  virtual ~AMFVerifyVisitor();
  /// Called for every field that was read whole, in reading order. A field that is refused (an
  /// unknown marker, an index that leads nowhere) or that crosses a limit has been read, and is
  /// shown. May throw: `visitPacket` lets it pass.
  virtual void field(const AMFVerifyField& field) = 0;
};

/// verifyPacket, telling every field. Returns and bounds the same.
AMF2JSON_API AMFVerifyResult visitPacket(const void* packet, std::size_t size,
                                         AMFVerifyVisitor& visitor,
                                         const AMFVerifyLimits& limits = AMFVerifyLimits());

#endif  // AMFGUARD_H
