// SPDX-License-Identifier: Apache-2.0
/// @file
/// AMFGuard: checks packets from somebody else before AMF2JSON decodes them, and escapes their
/// strings before a view shows them.
///
///     #include <AMF2JSON>
///     #include <AMFGuard.h>
///
///     bool receive(const std::string& bytes) {       // our own copy: nobody else writes to it
///       AMFProtocol protocol;                        // a new object for each packet
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
/// Why: `AMFProtocol::parse` receives no length and trusts every number that it reads
/// (docs/untrusted-input.md). `verifyPacket` reads the same bytes first, within limits, and reports
/// what `parse` would do.
///
/// Rules for the host:
/// - The bytes and the eight class-name variables of AMF2JSON.h must not change between the check
///   and `parse`. If somebody else can write to the memory, copy the bytes first.
/// - `parse` can throw std::bad_alloc, also for a packet that the check accepted.
/// - The check does not make the views safe: a crafted string ends its quotes in a script view, and
///   what follows runs. Do not run, evaluate or inline the script views; see `escapeForViews`.
/// - Other decoders may decode the same bytes to another tree: they count AMF0 references
///   differently, or expect an end mark after associative arrays. A gateway should forward what
///   `compile` wrote. SECURITY.md lists what it has to require otherwise.
#ifndef AMFGUARD_H
#define AMFGUARD_H

#include <cstddef>
#include <cstdint>

#include "AMF2JSON.h"

// ---------------------------------------------------------------------------------------------------
// The bounded check

/// The limits of one check. All are inclusive: a value equal to its limit is accepted. The defaults
/// suit a request from the network. For bulk data raise `maxNodes` and `maxTreeBytes`.
struct AMF2JSON_API AMFVerifyLimits {
  /// Size of the buffer.
  std::size_t maxPacketBytes = std::size_t{64} << 20;
  /// Depth of nested objects and arrays, including those in copies that references make. Decoding,
  /// copying, rendering, encoding and deleting recurse along the tree.
  std::uint32_t maxDepth = 64;
  /// Nodes of the tree: package, headers, messages, values, members, and every name, class name and
  /// URI.
  std::uint64_t maxNodes = 1000000;
  /// Heap bytes of the tree: an upper bound if each node is an allocation by malloc of glibc, with
  /// its default settings, on pages of 4 KiB. If nodes come from the pool, the tree may take one
  /// eighth more, plus 128 KiB.
  std::uint64_t maxTreeBytes = std::uint64_t{128} << 20;
  /// The part of maxTreeBytes that references may copy: values, strings, names from traits.
  std::uint64_t maxCopiedBytes = std::uint64_t{64} << 20;
  /// Bytes of one string, name, class name, URI, XML text or byte array.
  std::uint32_t maxStringBytes = std::uint32_t{8} << 20;
  /// AMF3 references directly after the switch marker 11, including those in copies. Each leaves
  /// one bracket open, in the current view and in all later views of the protocol object.
  std::uint32_t maxSwitchedReferences = 64;

  /// Every limit at its largest value: only packets that `parse` could not read are refused.
  static AMFVerifyLimits unlimited() noexcept;
};

/// The outcome of a check.
enum class AMFVerifyStatus : std::uint32_t {
  ok = 0,
  nullPacket,              ///< `packet` is null
  packetTooLarge,          ///< `size` is above maxPacketBytes; nothing was read
  truncated,               ///< the buffer ends before the end of the next field
  malformed,               ///< `parse` would throw an AMFException
  depthLimit,              ///< above maxDepth
  nodeLimit,               ///< above maxNodes
  treeLimit,               ///< above maxTreeBytes
  copyLimit,               ///< above maxCopiedBytes
  stringLimit,             ///< above maxStringBytes
  switchedReferenceLimit,  ///< above maxSwitchedReferences
  outOfMemory              ///< the check itself could not get memory
};

/// What a check found. It is filled for every status: after a refusal the numbers hold what was
/// counted up to the refused field. A number that would overflow stays at the largest value of its
/// type.
struct AMF2JSON_API AMFVerifyResult {
  AMFVerifyStatus status = AMFVerifyStatus::ok;  ///< the outcome
  /// Never null. malformed: the text of the AMFException that `parse` would throw. Otherwise:
  /// describe(status).
  const char* message = "";
  /// Where the check failed; 0 if ok. malformed: where `readCursor` would point when `parse`
  /// throws. truncated: the first byte of the field that is not complete (the length and the text
  /// of a string are two fields; so are the milliseconds and the zone of a date, and each byte of a
  /// variable-length integer). A limit: directly after the field that exceeded it.
  std::size_t offset = 0;
  /// The number of bytes that `parse` will read; after a refusal the same as `offset`. Bytes after
  /// them are no error.
  std::size_t consumed = 0;
  /// truncated: at least so many bytes are missing. Otherwise 0.
  std::uint64_t needed = 0;
  /// The index of the header or message in which the check failed, from 0, headers first. kEnvelope
  /// if it failed elsewhere, and if ok.
  std::uint32_t section = kEnvelope;

  std::uint64_t nodes = 0;        ///< nodes of the tree
  std::uint64_t treeBytes = 0;    ///< upper bound of its heap, as for maxTreeBytes
  std::uint64_t copiedNodes = 0;  ///< the part of `nodes` that references copy
  std::uint64_t copiedBytes = 0;  ///< the part of `treeBytes` that references copy
  std::uint64_t stringBytes = 0;  ///< bytes of all strings, names and XML texts in the tree
  std::uint64_t rawBytes = 0;     ///< bytes of all byte arrays in the tree
  std::uint32_t depth = 0;        ///< depth of nested objects and arrays; 0 if there are none
  std::uint32_t references = 0;   ///< references in the packet, of all kinds
  std::uint32_t switchedReferences = 0;  ///< see maxSwitchedReferences
  /// Headers and messages whose declared length is neither FFFFFFFF nor correct. This is no error:
  /// `parse` ignores declared lengths.
  std::uint32_t lengthMismatches = 0;
  std::uint32_t headers = 0;   ///< headers that were read completely
  std::uint32_t messages = 0;  ///< messages that were read completely

  static constexpr std::uint32_t kEnvelope =
      0xFFFFFFFFu;  ///< `section` outside of headers and messages
};

/// Reports what `AMFProtocol::parse` would do with these bytes, without making a tree.
///
/// With unlimited() the status is ok exactly if `parse` would finish and read nothing outside the
/// buffer, provided it has enough memory and stack. Otherwise the first failure in reading order is
/// reported. At one field, missing bytes come first, then what `parse` refuses, then the limits in
/// the order of their status codes. The length of a string is compared with maxStringBytes before
/// the check looks for its bytes. Limits never turn a refusal into ok.
///
/// After ok, `parse` of the same, unchanged bytes reads exactly `consumed` bytes, throws no
/// AMFException and builds a tree of `nodes` nodes, in which objects and arrays are nested
/// `depth` deep. The tree takes at most `treeBytes` bytes of heap (as for maxTreeBytes; the
/// reference tables of `parse` are not counted).
///
/// `packet` may be null (nullPacket). It is never written to. The call never throws and keeps no
/// state. Any number of threads may call it. Time is linear in `size`, and the stack is constant.
/// Small packets need no heap. Others need at most 64 bytes for each AMF0 object or array (the
/// first 65536 of them), AMF3 object, array, date, XML text, byte array, inline traits and
/// non-empty inline string of one header or message, and 64 bytes for each level of depth.
AMF2JSON_API AMFVerifyResult
verifyPacket(const void* packet, std::size_t size,
             const AMFVerifyLimits& limits = AMFVerifyLimits()) noexcept;

/// A short English text for a status, such as "depth limit". Never null, valid as long as the
/// library is loaded.
AMF2JSON_API const char* describe(AMFVerifyStatus status) noexcept;

/// Checks and parses: the call for most hosts. Returns `protocol.parse(packet)` if the check is ok.
/// Otherwise returns null and does not change `protocol`. `result`, unless null, receives what the
/// check found, in both cases. Throws only std::bad_alloc, from `parse`.
AMF2JSON_API AMFPackage* parseVerified(AMFProtocol& protocol, const void* packet, std::size_t size,
                                       const AMFVerifyLimits& limits = AMFVerifyLimits(),
                                       AMFVerifyResult* result = nullptr);

// ---------------------------------------------------------------------------------------------------
// Views of packets from somebody else

/// Which views a tree is prepared for.
enum class AMFEscapeFor : std::uint32_t {
  script = 0,  ///< any view; its text is then ASCII
  json = 1     ///< getPackageInJSON only, for a JSON parser; strings stay readable in any language
};

/// Prepares a tree for the views, so that no string in it can end the quotes that a view puts
/// around it. Changes the tree: to keep the original, pass a copy (`clone()`). Call it only once
/// for each tree, because a second call escapes again.
///
/// - In every string, XML text, name, class name and URI:
///   - A backslash becomes two.
///   - Bytes that are not UTF-8 become U+FFFD, one for each longest invalid sequence.
///   - `json`: `\u` and four hex digits replace U+0000 to U+001F, U+007F to U+009F, `<`, the line
///     separators U+2028 and U+2029, and the bidirectional controls (U+061C, U+200E, U+200F, U+202A
///     to U+202E, U+2066 to U+2069). A quote is not changed: the view puts a backslash before it.
///   - `script`: `\u` and four hex digits replace U+0000 to U+001F, `"`, `&`, `'`, `<`, `>` and
///     everything from U+007F on. A character beyond U+FFFF becomes a surrogate pair.
/// - An AMFNull of the same version replaces each double that is not finite. (`tree` itself is not
///   replaced: the views only render packages.)
/// - The `referenceIndex` of an AMF3 value under an AMF0 node is cleared: otherwise the views would
///   open one bracket too many.
///
/// Make the view with an AMFProtocol that has shown no other packet, and set its `useTemporaries`
/// to false before the first view: otherwise the JS view cuts long strings into pieces, also inside
/// an escape. Then, for the tree of a parsed packet:
///
/// After `json`, the JSON view is valid JSON. Its strings parse to the original ones, with U+FFFD
/// for bytes that were not UTF-8. The view is not safe as a script or as a part of a page.
///
/// After `script`, the JSON view is valid JSON in the same way. The two script views
/// (getPackageInJS, getPackageAsJSView) assign values and do nothing else: the original strings,
/// and all other values as the views write them (numbers with six decimals). A view that set
/// `outputLimitReached` is cut, and may not be a script. The statements in the text of
/// getPackageInJSON_and_JS do the same, but that text as a whole is not a script. All this is true
/// in every encoding that extends ASCII (not in UTF-16), declared or guessed, in these places:
/// - a separate file;
/// - a script element of HTML, XHTML or SVG;
/// - an event attribute (`onclick`) in single quotes. In double quotes the quotes of the view would
///   end the attribute: write each `"` of the view as `&quot;` there. In an attribute of XML
///   (XHTML, SVG files) write each line feed as `&#10;`: XML would convert it to a space, and a
///   comment in the view would then include the statements after it. Do not use a view in an
///   attribute without quotes.
///
/// No other place is safe: a URL (`javascript:` decodes `%22`), a string or a comment of another
/// script, text or attributes of a page that are not scripts.
///
/// For a null tree nothing happens. Throws std::bad_alloc, also for a string that would exceed
/// 2^32-1 bytes; the tree is then unchanged. The call does not recurse.
AMF2JSON_API void escapeForViews(AMFNode* tree, AMFEscapeFor view = AMFEscapeFor::script);

// ---------------------------------------------------------------------------------------------------
// The fields of a packet
//
// For tools that show packets: the check calls a visitor for every field that it reads. So a tool
// can show a damaged packet up to the damaged field, without a tree and without a read outside the
// buffer.

/// The kinds of fields. Fields of the kinds up to `byteArray` are bytes of the packet, without gaps
/// between them. Those from `end` on are events and have no bytes.
enum class AMFFieldKind : std::uint32_t {
  version,         ///< u16
  headerCount,     ///< u16
  messageCount,    ///< u16
  mustUnderstand,  ///< u8
  declaredLength,  ///< u32
  marker0,         ///< u8, AMF0
  marker3,         ///< u8, AMF3
  length,          ///< u16 or u32 before AMF0 strings, names and URIs
  count,           ///< u32, AMF0 arrays
  reference0,      ///< u16, AMF0: the index
  reference3,      ///< AMF3: a variable-length integer with bit 0 clear; the index is value >> 1
  head,            ///< AMF3: a variable-length integer with bit 0 set: lengths, counts, traits
  integer,         ///< AMF3: a variable-length integer that is a value
  number,          ///< 8 bytes
  boolean,         ///< u8
  timeMs,          ///< 8 bytes
  timeZone,        ///< 2 bytes, AMF0
  headerName,      ///< text; so are the next six
  targetUri,
  responseUri,
  className,
  memberName,
  string,
  xml,
  byteArray,    ///< bytes
  end,          ///< an object or array has ended
  amf0Entry,    ///< the object or array that has just ended has this index in the AMF0 table
  objectEntry,  ///< the AMF3 value that was just read or has just begun has this index
  stringEntry,  ///< the AMF3 string that was just read has this index
  traitsEntry   ///< the AMF3 traits that were just read have this index
};

/// The name of a kind, spelled as above. Never null, valid as long as the library is loaded.
AMF2JSON_API const char* describe(AMFFieldKind kind) noexcept;

/// One field of a packet, or an event between two fields.
struct AMF2JSON_API AMFVerifyField {
  AMFFieldKind kind;    ///< what it is
  std::size_t offset;   ///< from the packet's first byte
  std::size_t length;   ///< in bytes; may be 0 for text and byte arrays; is 0 from `end` on
  std::uint64_t value;  ///< whole numbers: the number; entries: the index; else 0
  std::uint32_t depth;  ///< number of open objects and arrays
  /// For `length`, `head` and `reference3`: the kind of the text or bytes that follow or that the
  /// reference refers to, headerName to byteArray; timeMs for a date. For all others, also arrays
  /// and objects, `kind` itself.
  AMFFieldKind of;
};

/// The receiver of the fields of visitPacket. Derive from it.
class AMF2JSON_API AMFVerifyVisitor {
 public:
  virtual ~AMFVerifyVisitor();
  /// Called for every field that was read completely, in reading order. This includes a field that
  /// is then refused (an unknown marker, an index without an entry) or that exceeds a limit. May
  /// throw: the exception leaves `visitPacket`.
  virtual void field(const AMFVerifyField& field) = 0;
};

/// verifyPacket that also calls `visitor` for every field. It has the same result and bounds.
AMF2JSON_API AMFVerifyResult visitPacket(const void* packet, std::size_t size,
                                         AMFVerifyVisitor& visitor,
                                         const AMFVerifyLimits& limits = AMFVerifyLimits());

#endif  // AMFGUARD_H
