// SPDX-License-Identifier: Apache-2.0
/// @file
/// AMF2JSON: Action Message Format packets to a tree of typed nodes, to JSON and JavaScript, and
/// back to bytes.
///
///     #include <AMF2JSON>
///     #include <cstdio>
///
///     int show(const char* wholePacket) {
///       AMFProtocol protocol;                       // one conversion context
///       try {
///         protocol.parse(wholePacket);              // the tree; owned by `protocol`
///         std::puts(protocol.getPackageInJSON(true).c_str());
///         protocol.compile(protocol.package);       // bytes again, in `resultBuffer`
///         return 0;
///       } catch (const AMFException& e) {           // has no base class: catch it by name
///         std::fputs(e.message, stderr);
///         return 1;
///       }
///     }
///
/// Trust: `parse` is given a bare pointer and NO length. No reader checks the end of the input;
/// counts, lengths and indexes are believed. Pass complete packets only. For bytes that come from
/// elsewhere, call the checks of AMFGuard.h first (and read SECURITY.md).
///
/// Threads: no threads, no locks. An AMFProtocol and its trees are used by one thread at a time;
/// separate objects may work on separate threads at once.
///
/// Errors: every error is an AMFException with a fixed text; memory that cannot be had is
/// std::bad_alloc. Nothing is rolled back; each call below says what an error leaves behind.
///
/// Text and names are byte strings: the UTF-8 bytes received, neither checked nor converted.
#ifndef AMF2JSON_H
#define AMF2JSON_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

/// @def AMF2JSON_API
/// What the library exports. Define AMF2JSON_STATIC to use the static library on Windows.
#if defined(AMF2JSON_STATIC)
#define AMF2JSON_API
#elif defined(_WIN32)
#if defined(AMF2JSON_BUILDING)
#define AMF2JSON_API __declspec(dllexport)
#else
#define AMF2JSON_API __declspec(dllimport)
#endif
#else
#define AMF2JSON_API __attribute__((visibility("default")))
#endif
/// @def AMF2JSON_INLINE
/// Of calls that g++ must see through: it warns of `new` and `delete` that do not look like a pair.
#if defined(__GNUC__)
#define AMF2JSON_INLINE __attribute__((always_inline)) inline
#else
#define AMF2JSON_INLINE inline
#endif

// ---------------------------------------------------------------------------------------------------
// Errors

/// The one exception of the library: a plain type without a base class, thrown by value.
/// `message` points at a fixed text that lives as long as the library; never free it.
struct AMF2JSON_API AMFException {
  AMFException(const char* text) noexcept : message(text) {}  ///< keeps the pointer
  const char* message;                                        ///< one of the texts
};

// ---------------------------------------------------------------------------------------------------
// The node tree

/// The encoding a value node was read from, or is to be written in. `AMFPackage` keeps the packet's
/// version number here exactly as read (0 or 3 in practice, any 16-bit number is kept).
enum AMFVersion : std::uint32_t { AMF_VERSION_0 = 0, AMF_VERSION_3 = 3 };

class AMFString;
/// @cond internal
namespace amf2json {  // nothing in it is for hosts
class NodeMemory;
class Pieces;
struct ProtocolState;
struct Unfilled;
AMF2JSON_API void freeNode(void* node, std::size_t size) noexcept;
AMF2JSON_API void freeNode(void* node, std::align_val_t alignment) noexcept;
}  // namespace amf2json
/// @endcond

/// Abstract root of all nodes: a kind, a version, and an owned, ordered list of children.
///
/// Ownership. Every operation that attaches a node takes a trailing `bool copy`:
///   false  the node is adopted: the tree owns it from then on and deletes it;
///   true   the node stays with the caller, and the tree keeps a deep copy of it.
/// A null node is ignored by every attaching operation (exceptions are named where they stand).
/// When an operation throws, nothing is attached and the caller still owns the node.
/// Replacing an owned member gets the new node first, then deletes the old one. Never pass the very
/// node that is already held with copy false: it would be deleted and kept.
///
/// A tree never shares nodes. Deleting a node deletes its whole subtree.
class AMF2JSON_API AMFNode {
 public:
  /// The node kinds. 0 to 9 and 11 are values; 10, 12, 13 and 14 are structure and are refused
  /// where a value is expected. The test is made on codes 0 to 14 only: a larger code is not
  /// refused.
  enum AMFType : std::uint32_t {
    AMF_NULL = 0,
    AMF_BOOL = 1,
    AMF_INT = 2,
    AMF_DOUBLE = 3,
    AMF_STRING = 4,
    AMF_OBJECT = 5,
    AMF_DATE = 6,
    AMF_XML = 7,
    AMF_ARRAY = 8,
    AMF_RAW = 9,
    AMF_PAIR = 10,
    AMF_UNDEFINED = 11,
    AMF_HEADER = 12,
    AMF_MESSAGE = 13,
    AMF_PACKAGE = 14
  };

  /// `referenceIndex` and `traitsIndex` of what was read (or is to be written) in full.
  static constexpr std::uint32_t kNoReference = 0xFFFFFFFFu;

  /// A node without children. It is not attached to `nodeParent`, which is only noted.
  AMFNode(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent);
  /// Deep copy: kind, version, referenceIndex and complete are copied, children are cloned in order
  /// (null entries stay null), the parent is null.
  AMFNode(const AMFNode& source);
  AMFNode& operator=(const AMFNode&) = delete;

  /// @{ Every node is an object of its own, which anyone may delete, on any thread. A host makes
  /// nodes with any form of `new`, its own placement forms among them. `parse`, the readers and
  /// `clone` take theirs from a pool of chunks, which has these rules:
  ///
  /// - The bytes of a decoded string may be in the same block as the node: change them in place or
  ///   with setValue, and never delete `AMFRaw::data` or give it to somebody else.
  /// - One node that is kept keeps the 64 KiB chunk that it is in: to keep a small part of a large
  ///   tree, keep its clone().
  /// - A tree deletes what it adopts: a node from a placement form must stay outside,
  ///   or be attached with copy true. A node made with `new` in the global namespace is as good as
  ///   any.
  ///
  /// docs/ownership.md says how to build without the pool.
  AMF2JSON_INLINE static void operator delete(void* node, std::size_t size) noexcept {
    amf2json::freeNode(node, size);
  }
  AMF2JSON_INLINE static void operator delete(void* node, std::align_val_t alignment) noexcept {
    amf2json::freeNode(node, alignment);
  }
  AMF2JSON_INLINE static void operator delete(void* node, const std::nothrow_t&) noexcept {
    amf2json::freeNode(node, std::size_t{0});
  }
  AMF2JSON_INLINE static void operator delete(void* node, std::align_val_t alignment,
                                              const std::nothrow_t&) noexcept {
    amf2json::freeNode(node, alignment);
  }
  static void operator delete(void*, void*) noexcept {}
  /// @}

  /// Deletes the children, last first; null entries are skipped.
  virtual ~AMFNode();
  /// A new deep copy of the node with its full subtree, of the same class; the caller owns it.
  virtual AMFNode* clone() const = 0;

  /// Attaches `node` (or its copy) behind the last child and sets its parent to this.
  void appendChild(AMFNode* node, bool copy);
  /// The child at `index`, or null when `index` is not below the number of children.
  AMFNode* getChild(unsigned int index) const;
  /// Replaces the child at `index` and sets the new child's parent. A null node, or an index not
  /// below the number of children: no effect at all (the node stays with the caller, also with copy
  /// false).
  void setChild(unsigned int index, AMFNode* node, bool copy);

  std::vector<AMFNode*>
      children;        ///< owned, in order; null entries only if a copy source held them
  AMFNode* parent;     ///< not owned; not set by the value setters of pairs and messages
  AMFType type;        ///< the kind, which says the class
  AMFVersion version;  ///< the form it was read in, or is to be written in
  /// kNoReference for a node read in full. Otherwise the reference-table index this node was copied
  /// from; the writers then write that reference instead of the value, and the views show it.
  std::uint32_t referenceIndex = kNoReference;
  /// Set by the AMF3 reader once an object or array has been read to its end.
  bool complete = false;

 private:
  friend class amf2json::NodeMemory;
  std::uint8_t memory = 0;  // where the node came from
};

/// The null value.
class AMF2JSON_API AMFNull : public AMFNode {
 public:
  explicit AMFNull(AMFVersion nodeVersion);              ///< null
  AMFNull(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFNull(const AMFNull& source);                        ///< a deep copy
  ~AMFNull() override;
  AMFNull* clone() const override;
};

/// The undefined value.
class AMF2JSON_API AMFUndefined : public AMFNode {
 public:
  explicit AMFUndefined(AMFVersion nodeVersion);              ///< undefined
  AMFUndefined(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFUndefined(const AMFUndefined& source);                   ///< a deep copy
  ~AMFUndefined() override;
  AMFUndefined* clone() const override;
};

/// A truth value.
class AMF2JSON_API AMFBool : public AMFNode {
 public:
  explicit AMFBool(AMFVersion nodeVersion);              ///< false
  AMFBool(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFBool(const AMFBool& source);                        ///< a deep copy
  ~AMFBool() override;
  AMFBool* clone() const override;

  bool value = false;  ///< written as the byte it is
};

/// The AMF3 29-bit integer as decoded: unsigned, without sign extension. AMF0 has no integers;
/// writing one in an AMF0 place is refused.
class AMF2JSON_API AMFInt : public AMFNode {
 public:
  explicit AMFInt(AMFVersion nodeVersion);              ///< 0
  AMFInt(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFInt(const AMFInt& source);                         ///< a deep copy
  ~AMFInt() override;
  AMFInt* clone() const override;

  std::uint32_t value = 0;  ///< values above 0x3FFFFFFF cannot be written
};

/// A number.
class AMF2JSON_API AMFDouble : public AMFNode {
 public:
  explicit AMFDouble(AMFVersion nodeVersion);              ///< 0
  AMFDouble(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFDouble(const AMFDouble& source);                      ///< a deep copy
  ~AMFDouble() override;
  AMFDouble* clone() const override;

  double value = 0;  ///< all its bits are kept, a NaN's too
};

/// A date.
class AMF2JSON_API AMFDate : public AMFNode {
 public:
  explicit AMFDate(AMFVersion nodeVersion);              ///< 1970-01-01
  AMFDate(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFDate(const AMFDate& source);                        ///< a deep copy
  ~AMFDate() override;
  AMFDate* clone() const override;

  double value = 0;  ///< milliseconds since 1970-01-01 UTC; no time zone is kept
};

/// A byte array (an AMF3 ByteArray), and the base of everything that holds bytes.
class AMF2JSON_API AMFRaw : public AMFNode {
 public:
  explicit AMFRaw(AMFVersion nodeVersion);              ///< no bytes
  AMFRaw(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFRaw(const AMFRaw& source);                         ///< a deep copy
  ~AMFRaw() override;
  AMFRaw* clone() const override;

  /// Replaces the bytes by a copy of `byteCount` bytes; no terminator is added. 0 bytes (or null
  /// bytes): `data` is null and `length` 0. std::bad_alloc leaves the node as it was.
  void setValue(const char* bytes, unsigned int byteCount);

  /// Owned; null when empty; not terminated. The bytes may be overwritten in place. A host that
  /// wants the node to own an array of its own calls setValue(nullptr, 0) and stores a `new char[]`
  /// here.
  char* data = nullptr;
  std::uint32_t length = 0;  ///< bytes in `data`

 protected:
  AMFRaw(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent);  ///< for derived kinds
};

/// A string: the bytes as received, UTF-8 by convention, NUL bytes included.
class AMF2JSON_API AMFString : public AMFRaw {
 public:
  explicit AMFString(AMFVersion nodeVersion);              ///< an empty string
  AMFString(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFString(const AMFString& source);                      ///< a deep copy
  ~AMFString() override;
  AMFString* clone() const override;

 protected:
  AMFString(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent);  ///< for derived kinds
};

/// XML text. `document` 1: XML document (AMF0, AMF3 marker 0x07); 0: E4X XML (AMF3 marker 0x0B).
class AMF2JSON_API AMFXML : public AMFString {
 public:
  explicit AMFXML(AMFVersion nodeVersion);              ///< an empty E4X text
  AMFXML(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFXML(const AMFXML& source);                         ///< a deep copy
  ~AMFXML() override;
  AMFXML* clone() const override;

  using AMFRaw::setValue;
  /// Copies the bytes of `text`, which stays with the caller. Null is ignored.
  void setValue(AMFString* text);

  std::uint32_t document = 0;  ///< 1 or 0, see above
};

/// An array. Children: values (the dense part) and AMFPair nodes (the associative part), as
/// appended.
class AMF2JSON_API AMFArray : public AMFNode {
 public:
  explicit AMFArray(AMFVersion nodeVersion);              ///< an empty array
  AMFArray(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFArray(const AMFArray& source);                       ///< a deep copy
  ~AMFArray() override;
  AMFArray* clone() const override;

  /// Attaches a pair without counting it, a value counting it in `denseCount`.
  /// Throws "AMFArray::appendChild(): not a value type node" for a header, message, package or any
  /// larger kind code; nothing changes. `setChild` is the plain one: no check, no change of
  /// `denseCount`.
  void appendChild(AMFNode* node, bool copy);

  std::uint32_t denseCount = 0;  ///< number of value children
  std::uint32_t strict = 0;      ///< AMF0: 1 strict (dense) array, 0 associative (ECMA) array
};

/// One named member: of an object, or of the associative part of an array.
class AMF2JSON_API AMFPair : public AMFNode {
 public:
  /// The name is a new empty string and the value a new AMFUndefined, both of the pair's version.
  explicit AMFPair(AMFVersion nodeVersion);
  AMFPair(AMFVersion nodeVersion, AMFNode* nodeParent, AMFType kind = AMF_PAIR);  ///< the same
  AMFPair(const AMFPair& source);                                                 ///< a deep copy
  ~AMFPair() override;
  AMFPair* clone() const override;

  /// Replaces the name.
  void setName(AMFString* newName, bool copy);
  /// Throws "AMFPair::setValue(): not a value type node" for a structural kind before anything
  /// changes. The value's parent is not touched.
  void setValue(AMFNode* newValue, bool copy);

  AMFString* name;  ///< owned
  AMFNode* value;   ///< owned

  /// \cond internal
  AMFPair(const amf2json::Unfilled&, AMFVersion nodeVersion, AMFType kind) noexcept;
  /// \endcond
};

/// An object. Children: AMFPair nodes, the `sealedCount` sealed members first, then the dynamic
/// ones.
class AMF2JSON_API AMFObject : public AMFNode {
 public:
  explicit AMFObject(AMFVersion nodeVersion);              ///< empty, of no class
  AMFObject(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFObject(const AMFObject& source);                      ///< a deep copy
  ~AMFObject() override;
  AMFObject* clone() const override;

  void appendChild(AMFPair* pair, bool copy);                   ///< AMFNode::appendChild
  void setChild(unsigned int index, AMFPair* pair, bool copy);  ///< AMFNode::setChild
  AMFPair* getChild(unsigned int index) const;                  ///< AMFNode::getChild
  /// With copy true a new AMFString is made from the bytes of `newName`.
  void setClassName(AMFString* newName, bool copy);

  bool dynamic = false;  ///< AMF3: dynamic members follow the sealed ones
  bool externalizable =
      false;  ///< AMF3: the body is one value, kept in a single pair without a name
  std::uint32_t sealedCount = 0;  ///< AMF3: number of leading children that are sealed members
  /// AMF3: index of the traits entry the traits came from; kNoReference when they were inline.
  std::uint32_t traitsIndex = kNoReference;
  AMFString* className;  ///< owned; empty for an anonymous object

  /// \cond internal
  AMFObject(const amf2json::Unfilled&, AMFVersion nodeVersion) noexcept;
  /// \endcond
};

/// A packet header: the name is the pair's name, the content its value.
class AMF2JSON_API AMFHeader : public AMFPair {
 public:
  AMFHeader();                              ///< no name, an undefined value
  explicit AMFHeader(AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFHeader(const AMFHeader& source);       ///< a deep copy
  ~AMFHeader() override;
  AMFHeader* clone() const override;

  bool mustUnderstand = false;  ///< true for every byte but 00; written as 01
  /// Byte length of the value as the sender declared it; 0xFFFFFFFF: unknown. Never checked, never
  /// recomputed; written back as it stands.
  std::uint32_t length = 0xFFFFFFFFu;

  /// \cond internal
  explicit AMFHeader(const amf2json::Unfilled&) noexcept;
  /// \endcond
};

/// A packet message (a call or a reply): two URIs and one value.
class AMF2JSON_API AMFMessage : public AMFNode {
 public:
  /// Version AMF_VERSION_0, both URIs empty strings, the value a new AMFUndefined.
  AMFMessage();
  explicit AMFMessage(AMFNode* nodeParent);  ///< the same, with a noted parent
  AMFMessage(const AMFMessage& source);      ///< a deep copy
  ~AMFMessage() override;
  AMFMessage* clone() const override;

  void setTargetUri(AMFString* uri, bool copy);    ///< replaces the target URI
  void setResponseUri(AMFString* uri, bool copy);  ///< replaces the response URI
  /// Throws "AMFMessage::setValue(): invalid value type node" for a structural kind; nothing
  /// changes.
  void setValue(AMFNode* newValue, bool copy);

  std::uint32_t length = 0xFFFFFFFFu;  ///< as AMFHeader::length
  AMFString* targetUri;                ///< owned
  AMFString* responseUri;              ///< owned
  AMFNode* value;                      ///< owned

  /// \cond internal
  explicit AMFMessage(const amf2json::Unfilled&) noexcept;
  /// \endcond
};

/// A packet: its headers, then its messages, all in `children`.
class AMF2JSON_API AMFPackage : public AMFNode {
 public:
  explicit AMFPackage(AMFVersion packetVersion);  ///< no headers, no messages
  AMFPackage(const AMFPackage& source);           ///< a deep copy
  ~AMFPackage() override;
  AMFPackage* clone() const override;

  /// Attaches a header. Append all headers before the first message: the layout is not checked.
  /// `headerCount` grows even when `header` is null and nothing is attached.
  void appendHeader(AMFHeader* header, bool copy);
  /// Attaches a message.
  void appendMessage(AMFMessage* message, bool copy);
  /// Null when `index` is not below `headerCount`.
  AMFHeader* getHeader(unsigned int index) const;
  /// Null when `index` is not below the number of children less `headerCount`.
  AMFMessage* getMessage(unsigned int index) const;

  std::uint32_t headerCount = 0;  ///< so many of the first children are headers
};

// ---------------------------------------------------------------------------------------------------
// Externalizable classes

/// The eight externalizable classes that the AMF3 reader accepts. Each is read at every comparison,
/// so a host that repoints one changes what is accepted, for all protocol objects: do it before any
/// thread parses. The library never writes or frees them; null matches nothing.
extern AMF2JSON_API const char* cArrayClass;     ///< "flex.messaging.io.ArrayCollection"
extern AMF2JSON_API const char* cObjProxyClass;  ///< "mx.utils.ObjectProxy"
extern AMF2JSON_API const char* cSerialProxy;    ///< "flex.messaging.io.SerializationProxy"
extern AMF2JSON_API const char* cAsyncMsg;       ///< "flex.messaging.messages.AsyncMessageExt"
extern AMF2JSON_API const char* cCommandMsg;     ///< "flex.messaging.CommandMessageExt"
extern AMF2JSON_API const char* cDataMsg;        ///< "flex.data.messages.DataMessageExt"
extern AMF2JSON_API const char* cPagedMsg;       ///< "flex.data.messages.PagedMessageExt"
extern AMF2JSON_API const char*
    cUpdateCollectMsg;  ///< "flex.data.messages.UpdateCollectionMessageExt"

// ---------------------------------------------------------------------------------------------------
// Text

/// An escaped copy of `text` for a double-quoted JavaScript string literal. `text` is only read.
/// Backslashes are doubled, quotes get a backslash, and the star of every "/*" and "*/" becomes
/// `\x2A`. `dropControl` false: bytes 00 to 1F become `\xHH` (upper-case digits), all others are
/// kept.
/// `dropControl` true: only bytes 20 to 7F are kept; that drops every byte of a multi-byte
/// character too.
AMF2JSON_API std::string formatString(std::string& text, bool dropControl);

// ---------------------------------------------------------------------------------------------------
// Encoded pieces

/// The pieces that the writers made, in output order, one per field: a read-only list with random
/// access. Owned by the protocol object. A piece's bytes never move while it is listed.
///
/// The list of `Chunk`s is made when it is first looked at after a write: that look takes linear
/// time and may throw std::bad_alloc (nothing is lost then), every other one constant time.
/// Elements, iterators and references hold until the next write, `clean` or `compile`.
class AMF2JSON_API AMFOutputChunks {
 public:
  /// One field.
  struct Chunk {
    const char* bytes;     ///< not owned
    std::uint32_t length;  ///< 1 or more
  };
  using value_type = Chunk;                                              ///< one field
  using size_type = std::size_t;                                         ///< of counts
  using difference_type = std::ptrdiff_t;                                ///< of distances
  using reference = const Chunk&;                                        ///< pieces are read only
  using const_reference = const Chunk&;                                  ///< \copydoc reference
  using pointer = const Chunk*;                                          ///< \copydoc reference
  using const_pointer = const Chunk*;                                    ///< \copydoc reference
  using const_iterator = const Chunk*;                                   ///< \copydoc reference
  using iterator = const_iterator;                                       ///< \copydoc reference
  using const_reverse_iterator = std::reverse_iterator<const_iterator>;  ///< last piece first
  using reverse_iterator = const_reverse_iterator;                       ///< last piece first

  AMFOutputChunks();
  ~AMFOutputChunks();
  /// A list of its own, with copies of the bytes.
  AMFOutputChunks(const AMFOutputChunks& source);
  /// The same; the pieces that were listed are released. std::bad_alloc leaves them as they were.
  AMFOutputChunks& operator=(const AMFOutputChunks& source);

  bool empty() const noexcept;  ///< whether there is no piece; does not make the list
  std::size_t size() const { return static_cast<std::size_t>(end() - begin()); }  ///< their number
  const Chunk* data() const { return begin(); }      ///< the first, of size() in a row
  const_iterator begin() const;                      ///< the first piece
  const_iterator end() const;                        ///< after the last piece
  const_iterator cbegin() const { return begin(); }  ///< begin()
  const_iterator cend() const { return end(); }      ///< end()
  const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }  ///< the last
  const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }  ///< their end
  const_reverse_iterator crbegin() const { return rbegin(); }                      ///< rbegin()
  const_reverse_iterator crend() const { return rend(); }                          ///< rend()
  const Chunk& front() const { return *begin(); }     ///< the first; there must be one
  const Chunk& back() const { return *(end() - 1); }  ///< the last; there must be one
  const Chunk& operator[](std::size_t index) const { return begin()[index]; }  ///< not checked
  /// Throws std::out_of_range when `index` is not below size().
  const Chunk& at(std::size_t index) const;

 private:
  friend class AMFProtocol;
  std::unique_ptr<amf2json::Pieces> pieces;
};

// ---------------------------------------------------------------------------------------------------
// The protocol object

/// One conversion context: decodes, renders and encodes packets, and owns what that leaves behind.
/// All members are public, so that hosts and tests can look at every state. Neither copied nor
/// moved.
class AMF2JSON_API AMFProtocol {
 public:
  /// The AMF0 type markers. Bytes 80 to FF widen with their sign to large codes that no reader
  /// accepts.
  enum AMF0Markers : std::uint32_t {
    AMF0_NUMBER = 0x00,
    AMF0_BOOLEAN = 0x01,
    AMF0_STRING = 0x02,
    AMF0_OBJECT = 0x03,
    AMF0_MOVIECLIP = 0x04,  // refused
    AMF0_NULL = 0x05,
    AMF0_UNDEFINED = 0x06,  // as a reader's argument: the marker is still to be read
    AMF0_REFERENCE = 0x07,
    AMF0_ECMA_ARRAY = 0x08,
    AMF0_OBJECT_END = 0x09,
    AMF0_STRICT_ARRAY = 0x0A,
    AMF0_DATE = 0x0B,
    AMF0_LONG_STRING = 0x0C,
    AMF0_UNSUPPORTED = 0x0D,  // refused
    AMF0_RECORDSET = 0x0E,    // refused
    AMF0_XML_DOCUMENT = 0x0F,
    AMF0_TYPED_OBJECT = 0x10,
    AMF0_SWITCH_TO_AMF3 = 0x11
  };
  /// The AMF3 type markers; one signed byte on the wire.
  enum AMF3Markers : std::int32_t {
    AMF3_UNDEFINED = 0x00,  // as a reader's argument: the marker is still to be read
    AMF3_NULL = 0x01,
    AMF3_FALSE = 0x02,
    AMF3_TRUE = 0x03,
    AMF3_INTEGER = 0x04,
    AMF3_DOUBLE = 0x05,
    AMF3_STRING = 0x06,
    AMF3_XML_DOC = 0x07,
    AMF3_DATE = 0x08,
    AMF3_ARRAY = 0x09,
    AMF3_OBJECT = 0x0A,
    AMF3_XML = 0x0B,
    AMF3_BYTE_ARRAY = 0x0C
  };

  AMFProtocol();
  /// Deletes `package`, releases `resultBuffer` and all pieces, listed and abandoned. Where nodes
  /// come from the pool, the storage of the texts (some 4 MiB) may stay with the thread, for its
  /// next object.
  ~AMFProtocol();
  AMFProtocol(const AMFProtocol&) = delete;
  AMFProtocol& operator=(const AMFProtocol&) = delete;

  // ---- Decoding
  //
  // All readers read at `readCursor` and move it past what they consumed. All wire numbers are
  // big-endian. Each returns a new node that the caller owns, never null unless said. All bytes
  // must be present: no end is checked. When a reader throws, every node it had made is deleted,
  // the cursor stays where the failure happened (a refused reference leaves it behind its index),
  // and entries already added to the reference tables stay, possibly dangling: after any exception
  // use only `parse`, `getHeader`, `getMessage` (they empty the tables first) or a new object.

  /// Decodes one whole packet. It must be complete and well-meant: see parseVerified in AMFGuard.h
  /// for bytes from elsewhere, and SECURITY.md for what is promised.
  ///   u16 version | u16 header count | headers | u16 message count | messages
  /// Returns `package`, owned by this object until the next parse or its end; the host must not
  /// delete it. Null packet: returns null and changes nothing. The previous package is deleted once
  /// the version has been read. Afterwards `jsonText` holds 716800 and `scriptText` 358400 NUL
  /// bytes (room for the views); bytes that a host put there without changing the size, or while
  /// it changed the size away and back, are not looked for, here and by later objects of the thread
  /// that this one goes on. The tables hold the entries of the last
  /// section read, and `readCursor` points just past the last byte consumed. Throws what the
  /// readers below throw; `package` then keeps the headers and messages completed before.
  AMFPackage* parse(const char* packet);

  /// Empties the four reference tables, then reads one header:
  ///   u16 name length, name | u8 must-understand (non-zero: true) | u32 length | one AMF0 value
  /// A value that is the end mark 09 leaves the header's default AMFUndefined in place.
  AMFHeader* getHeader();
  /// Empties the four reference tables, then reads one message:
  ///   u16 length, target URI | u16 length, response URI | u32 length | one AMF0 value
  AMFMessage* getMessage();

  /// One byte, widened with its sign.
  AMF0Markers getAMF0Marker();
  /// A marker and its value; null for the end mark 09. Marker 11 reads exactly one AMF3 value.
  /// Throws "getAMF0Value: unknown value type" for 04, 0D, 0E and everything above 11.
  AMFNode* getAMF0Value();
  /// u16 length (marker 02) or u32 length (0C), then the bytes. Marker 06: it is read first.
  /// Throws "getAMF0String(): unable to determine the string length" for any other marker.
  AMFString* getAMF0String(AMF0Markers marker);
  /// f64. The marker has been consumed, here and below.
  AMFDouble* getAMF0Number();
  /// u8; any non-zero byte is true.
  AMFBool* getAMF0Bool();
  /// f64 milliseconds since 1970 UTC, then a 2-byte time zone that is skipped unread.
  AMFDate* getAMF0Date();
  /// u32 length, bytes. `document` is 1.
  AMFXML* getAMF0XML();
  /// u16 index; a deep copy of that `amf0References` entry with `referenceIndex` set. Not
  /// registered. Throws "getAMF0ByReference(): invalid reference index" when the table is not that
  /// long, "getAMF0ByReference(): lack of referenced data" when the entry is null.
  AMFNode* getAMF0ByReference();
  /// u16 length, name, then one value. Null at the end mark: a name, whatever it holds, and 09.
  AMFPair* getAMF0Pair();
  /// Marker 03: members up to the end mark. Marker 10: u16 length, class name, then as 03. Marker
  /// 06: it is read first. Any other marker reads an anonymous object. Registered once it has
  /// ended: a nested object or array has a lower index than the one around it.
  AMFObject* getAMF0Object(AMF0Markers marker);
  /// u32 count, then for marker 0A that many values, for 08 that many members (no end mark is
  /// read). Marker 06: it is read first. Registered once it has ended. Throws "getAMF0Array(): lack
  /// of strict array data or bad array size" or "getAMF0Array(): lack of associative array property
  /// or bad array size" at an end mark, "getAMF0Array: unknown array type" for any other marker,
  /// the count already consumed.
  AMFArray* getAMF0Array(AMF0Markers marker);

  /// The AMF3 integer of one to four bytes, most significant group first. The fourth byte is a
  /// signed 8-bit number: FF FF FF FF is 0x1FFFFEFF, 80 80 80 FF is 0xFFFFFFFF.
  std::uint32_t getVLUnsignedInt();
  /// One byte, widened with its sign.
  AMF3Markers getAMF3Marker();
  /// A marker and its value. Throws "getAMF3Value(): unknown value type marker" for all but 00 to
  /// 0C.
  AMFNode* getAMF3Value();
  /// Marker 02 or 03; AMF3_UNDEFINED: it is read first.
  /// Throws "getAMF3Bool(): not a boolen type marker passed" for any other.
  AMFBool* getAMF3Bool(AMF3Markers marker);
  /// The U29 as it stands, without sign extension.
  AMFInt* getAMF3Integer();
  /// f64.
  AMFDouble* getAMF3Double();
  /// U29: bit 0 clear, a reference with index U29 >> 1 into `amf3StringReferences` (a deep copy
  /// with `referenceIndex` set); bit 0 set, U29 >> 1 bytes inline, registered unless empty.
  /// `withMarker` true reads a marker first and throws "getAMF3String(): an string type expected"
  /// unless it is 06. Throws "getAMF3String(): invalid string reference index" (not below the
  /// table's size, or a null entry), "getAMF3String(): not a string type node found in string
  /// reference table".
  AMFString* getAMF3String(bool withMarker);
  /// As a string, over `amf3ObjectReferences`; markers 07 (`document` 1) and 0B (0);
  /// AMF3_UNDEFINED: it is read first. Throws "getAMF3XML(): not a XML type marker passed",
  /// "getAMF3XML(): invalid XML reference index", "getAMF3XML(): reference to the non XML type
  /// node".
  AMFXML* getAMF3XML(AMF3Markers marker);
  /// U29 (reference, or bit 0 set and the rest ignored), f64 milliseconds. Throws "getAMF3Date():
  /// invalid date reference index", "getAMF3Date(): reference to the non date type node".
  AMFDate* getAMF3Date();
  /// As XML. Throws "getAMF3ByteArray(): invalid byte array reference index", "getAMF3ByteArray():
  /// reference to the non byte array type node".
  AMFRaw* getAMF3ByteArray();
  /// A name without marker, then a value; null at the empty name that ends the list.
  AMFPair* getAMF3Pair();
  /// U29: a reference, or the dense count; then members up to the empty name, then the dense
  /// values. Throws "getAMF3Array(): invalid array reference index", "getAMF3Array(): reference to
  /// the non array type node", "getAMF3Array(): array circular reference" (the array is still being
  /// read).
  AMFArray* getAMF3Array();
  /// U29: a reference, or traits (by reference or inline) and the members.
  /// Throws "getAMF3Object(): invalid objects reference index", "getAMF3Object(): reference to the
  /// non object type node", "getAMF3Object(): objects circular reference", "getAMF3Object(): traits
  /// reference index is invalid", "getAMF3Object(): bad amount of sealed properties" (the entry has
  /// fewer members than it says), "getAMF3Object(): lack of string type property name data" (an
  /// entry's member has no name), "getAMF3Object(): unsupported externalizable class type".
  AMFObject* getAMF3Object();

  // ---- Encoding
  //
  // Every writer appends pieces to `outputChunks` or throws. Nothing is rolled back: pieces
  // appended before an error stay until `clean`. References are written exactly where nodes record
  // them
  // (`referenceIndex`, `traitsIndex`); no table is kept and no index is checked.

  /// Encodes a package: writes all pieces, joins them into `resultBuffer` and returns it; its
  /// length is `getResultLength()`. The buffer is this object's until the next compile, or the
  /// host's after `loseResultBuffer`. Null: returns null, nothing changes. The pieces of an earlier
  /// run that are still listed are abandoned, not released: their bytes stay until this object
  /// goes. Call `clean` after each compile to keep memory flat. After an error `outputLength` is 0
  /// and `resultBuffer` still that of the run before; null if there was memory for the pieces but
  /// not for the packet, since the old one goes first. Throws what the writers throw, and
  /// std::bad_alloc when the packet would pass 2^32-1 bytes.
  char* compile(const AMFPackage* source);
  /// u16 name length, name | u8 0 or 1 | u32 length as stored | the value.
  /// Throws "setHeader(): lack of header type node".
  void setHeader(const AMFHeader* header);
  /// u16 length, target URI | u16 length, response URI | u32 length as stored | the value.
  /// Throws "setMessage(): lack of message type node".
  void setMessage(const AMFMessage* message);
  /// Releases every listed piece.
  void clean();
  /// Forgets `resultBuffer`: the host owns those bytes and releases them with `delete[]`.
  void loseResultBuffer();
  /// Bytes in `resultBuffer`.
  std::uint32_t getResultLength() const { return outputLength; }

  /// Writes any value into a place of version `placeVersion`; an AMF3 node in an AMF0 place gets
  /// the switch marker 11 first. Throws "setNodeValue(): lack of value type node", "setNodeValue():
  /// this node can't be placed here", "setNodeValue(): switching AMF3 -> AMF0  is impossible",
  /// "setNodeValue(): integer type is not supported in AMF0 use double instead", "setNodeValue():
  /// byte array type is not supported in AMF0 version of protocol". A kind code above 14 writes
  /// nothing (but the 11).
  void setNodeValue(const AMFNode* node, AMFVersion placeVersion);
  /// The bytes alone. Throws "setByteArray(): lack of byte array", "setByteArray(): lack of byte
  /// array value or bad array size" (a length without bytes).
  void setByteArray(const AMFRaw* node);
  /// [marker] length bytes. Up to 65535 bytes: marker 02 or 0C as given, anything else means 02;
  /// longer: 0C, but "setAMF0String(): string is too large" for a given 02. Throws
  /// "setAMF0String(): lack of string type node".
  void setAMF0String(const AMFString* node, bool withMarker, AMF0Markers marker);
  /// 01, the stored byte as it is. Throws "setAMF0Bool(): lack of boolen type node".
  void setAMF0Bool(const AMFBool* node);
  /// 00, the value as an unsigned number in a double. Throws "setAMF0Int(): lack of integer type
  /// node".
  void setAMF0Int(const AMFInt* node);
  /// 00, f64. Throws "setAMF0Double(): lack of double type node".
  void setAMF0Double(const AMFDouble* node);
  /// 0B, f64, time zone 00 00. Throws "setAMF0Date(): lack of date type node".
  void setAMF0Date(const AMFDate* node);
  /// 0F, u32 length, bytes. Throws "setAMF0XML(): lack of XML type node".
  void setAMF0XML(const AMFXML* node);
  /// Name, value. Throws "setAMF0Pair(): lack of pair type node", "setAMF0Pair(): lack of pair type
  /// node name", "setAMF0Pair(): lack of pair type node value", all before the first byte.
  void setAMF0Pair(const AMFPair* pair);
  /// 03, or 10 and the class name; the pairs; 00 00 09. Throws "setAMF0Object(): lack of object
  /// type node", "setAMF0Object(): lack of object property", "setAMF0Object(): not a pair type node
  /// passed as object property".
  void setAMF0Object(const AMFObject* object);
  /// 0A or 08, u32 count, the elements; no end mark. Throws "setAMF0Array(): lack of array type
  /// node", "setAMF0Object(): lack of array property" (so spelled), "setAMF0Array(): not a pair
  /// type node passed as associative array property".
  void setAMF0Array(const AMFArray* array);
  /// 07, the low 16 bits of `index`.
  void setAMF0Reference(unsigned int index);

  /// A U29 of one to four bytes, each a piece of its own. Throws "setAMF3Integer(): integer value
  /// is to large" above 0x3FFFFFFF. 0x200000 to 0x3FFFFF come out as three bytes, and 0x20000000 to
  /// 0x3FFFFFFF lose bit 29: those values do not read back as they were.
  void setVLInteger(unsigned int value);
  /// 04, U29. Throws "setAMF3Integer: lack of integer type node", and setVLInteger's after the 04.
  void setAMF3Integer(const AMFInt* node);
  /// 05, f64. Throws "setAMF3Double: lack of double type node".
  void setAMF3Double(const AMFDouble* node);
  /// [06] reference or length and bytes. Throws "setAMF3String: lack of string type node".
  void setAMF3String(const AMFString* node, bool omitMarker);
  /// 08, reference or 01 and f64. Throws "setAMF3Date: lack of date type node".
  void setAMF3Date(const AMFDate* node);
  /// 07 or 0B, then as setAMF3Raw. Throws "setAMF3XML: lack of xml type node".
  void setAMF3XML(const AMFXML* node);
  /// 0C (for kind AMF_RAW only), reference or length and bytes.
  /// Throws "setAMF3Raw: lack of binary array type node".
  void setAMF3Raw(const AMFRaw* node);
  /// 09, reference; or dense count, pairs, 01, dense values. Throws "setAMF3Array: lack of array
  /// type node", "setAMF3Array : invalid array size", "setAMF3Array : missing the property name in
  /// associative array", "setAMF3Array : missing the property value in associative array",
  /// "setAMF3Array(): invalid dense array size".
  void setAMF3Array(const AMFArray* array);
  /// 0A, reference; or traits and members. Throws "setAMF3Object: lack of object type node",
  /// "setAMF3Object: invalid object's properties number", "setAMF3Object: invalid sealed properties
  /// number", "setAMF3Object: invalid dynamic properties number".
  void setAMF3Object(const AMFObject* object);

  // ---- Rendering: the four views
  //
  // Each renders `package` and returns a reference to a text of this object, valid until the next
  // view, parse, or the end of the object. `pretty` true: tabs and line ends; false: one run of
  // text, broken by a line feed about every 500 bytes. Without a package the framing alone comes
  // out. The views throw nothing of their own. std::bad_alloc leaves the texts and the path state
  // partly written: use a fresh object then.
  //
  // What one view leaves for the next on the same object, on purpose:
  // - the root of the script path ("amf" or empty) is chosen by the first view and stays;
  // - getPackageAsJSView clears `useTemporaries` for good;
  // - once the texts passed 499999 bytes, `outputLimitReached` stays set, and every script view
  //   writes only its framing from then on; getPackageInJSON always renders in full;
  // - an AMF3 reference right behind a switch marker leaves one closing bracket on `closerStack`.
  // The script views must not be run on untrusted packets: see SECURITY.md.

  /// The JSON text. Returns `jsonText`.
  const std::string& getPackageInJSON(bool pretty);
  /// A script: "\n amf = ", the object literal, "\n\n", then one statement per value. Strings of
  /// 400 bytes and more become variables qxAmfTemporary1, 2, ... defined in front. Returns
  /// `jsonText`, or `scriptPreamble` when such variables were defined. The 499999 bytes do not count
  /// what is defined in front, which can be thousands of times as large as the packet: clear
  /// `useTemporaries` for packets from elsewhere.
  const std::string& getPackageInJS(bool pretty);
  /// The literal, "\n\nJS representaion\n\n" (so spelled), then the statements. Returns `jsonText`.
  const std::string& getPackageInJSON_and_JS(bool pretty);
  /// The statements alone. Returns `scriptText`.
  const std::string& getPackageAsJSView(bool pretty);

  // ---- Rendering: the primitives
  //
  // The views are made of these. A host may call them to add text of its own; it keeps brackets and
  // prefixes balanced. `name` is never escaped: do not pass packet text as a name.

  /// Opens a block in `jsonText`: soft break, `indent`, `open`, `newLine`; one level deeper.
  void openBrackets(char open, char close);
  /// Closes the innermost block; removes the comma behind its last member.
  void closeBrackets();
  /// Makes the root of the script path if there is none: "amf", or empty with `noRootPrefix`.
  void CreatePrefix();
  /// Adds "." and `name` to the script path (without the "." once after `nextPrefixBare`).
  void AddOnePrefix(const std::string& name);
  /// Removes the innermost segment of the script path.
  void RemoveOnePrefix();
  /// Appends the whole script path to `out`.
  void AddPrefixes(std::string& out);
  /// One member line of `jsonText`. `quote` true: the value is escaped (a backslash before each of
  /// \ / BS FF LF CR TAB, three before each quote) and quoted; false: it is written as it is.
  void appendAttr(const std::string& name, const std::string& value, bool quote);
  /// One statement of `scriptText`. `quote` true: BS FF LF CR TAB are dropped, a quote gets one
  /// backslash.
  void appendJSAttr(const std::string& name, const std::string& value, bool quote);
  /// A value into `jsonText` and, unless `jsonOnly`, into `scriptText`, both with the escaping of
  /// appendJSAttr. `named` true: as a member called "value"; false: it continues the line begun
  /// before.
  void appendValue(const std::string& value, bool quote, bool named);
  /// A node and everything below it. Null writes nothing.
  void appendNode(const AMFNode* node, AMFVersion parentVersion);
  /// One named member; a null node is written as null. In script paths the name ends at its first
  /// NUL and after 999 bytes.
  void appendChild(const std::string& name, const AMFNode* node, AMFVersion nodeVersion,
                   bool isInline);
  /// The children of `node` as a named list; for a null node nothing is written. Path segments
  /// ("name[i]") end as in appendChild.
  void appendChildren(const std::string& name, const AMFNode* node);

  // ---- State

  char* resultBuffer = nullptr;          ///< owned (`new char[]`): the packet of the last compile
  const char* readCursor = nullptr;      ///< not owned: where the readers read
  AMFPackage* package = nullptr;         ///< owned: the package of the last parse
  std::vector<AMFNode*> amf0References;  ///< not owned: objects and arrays, as they end
  std::vector<AMFNode*> amf3StringReferences;  ///< not owned: non-empty inline strings
  std::vector<AMFNode*>
      amf3ObjectReferences;  ///< not owned: XML, dates, byte arrays, arrays, objects
  std::vector<AMFNode*> amf3TraitReferences;  ///< not owned: objects with inline traits
  AMFOutputChunks outputChunks;               ///< the pieces of the last compile
  std::uint32_t outputLength = 0;             ///< bytes in `resultBuffer`
  std::string jsonText;                       ///< JSON text, or the literal of the script views
  std::string scriptText;                     ///< script statements
  std::string scriptPreamble;                 ///< definitions of the temporaries
  std::int32_t temporaryCounter = 0;          ///< temporaries issued so far
  std::string newLine;                        ///< "\n" when pretty, else empty
  std::string scriptNewLine = "\n";           ///< end of a statement
  std::string indentUnit;                     ///< "\t" when pretty, else empty
  std::string indent;                         ///< `indentUnit` once per open block
  std::string closerStack;           ///< closing bracket of each open block, innermost last
  bool trackDepth = false;           ///< count `childDepth`
  bool noRootPrefix = false;         ///< CreatePrefix makes an empty root
  bool nextPrefixBare = false;       ///< the next AddOnePrefix writes no "."
  bool scriptStatementStart = true;  ///< a statement has just ended
  std::int32_t childDepth = 0;       ///< nesting of appendChild and appendChildren
  bool jsonOnly = false;             ///< nothing goes to `scriptText`
  bool jsonAndScript = false;        ///< long strings stay inline
  bool scriptView = false;           ///< set by the two views without the "amf" root
  bool outputLimitReached = false;   ///< the texts passed 499999 bytes; never cleared
  bool useTemporaries = true;        ///< long strings become temporaries
  bool valueInline = false;          ///< a value stands inside a statement begun before
  std::int32_t lineBreakCount = 1;   ///< soft breaks in `jsonText`, plus one

 private:
  std::unique_ptr<amf2json::ProtocolState> state;
};

#endif  // AMF2JSON_H
