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
/// Trust: `parse` receives a pointer and NO length. No reader checks the end of the input. Counts,
/// lengths and indexes are trusted. Pass only complete packets that you made yourself. For packets
/// from somebody else, call parseVerified of AMFGuard.h (docs/untrusted-input.md says why).
///
/// Threads: the library starts no threads and has no locks. One thread at a time may use an
/// AMFProtocol and its trees. Separate objects may work on separate threads at the same time.
///
/// Errors: every error is an AMFException with a fixed text. An allocation that fails is
/// std::bad_alloc. Nothing is rolled back. Each call below says what it has changed when it throws.
///
/// Strings and names are bytes: the UTF-8 bytes as received, neither checked nor converted.
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
/// Marks what the library exports. Define AMF2JSON_STATIC to use the static library on Windows.
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
/// Marks calls that g++ has to inline: otherwise it warns that `new` and `delete` do not match.
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
  AMFException(const char* text) noexcept : message(text) {}  ///< stores the pointer, no copy
  const char* message;                                        ///< one of the fixed texts
};

// ---------------------------------------------------------------------------------------------------
// The node tree

/// The encoding that a value node was read from, or is to be written in. In `AMFPackage` it is the
/// version number of the packet as read: usually 0 or 3, but any 16-bit number is possible.
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

/// Abstract base of all nodes: a kind, a version, and an owned, ordered list of children.
///
/// Ownership. Every call that attaches a node has the last parameter `bool copy`:
///   false  the node is adopted: from then on the tree owns it and deletes it;
///   true   the caller still owns the node, and the tree owns a deep copy of it.
/// Every such call ignores a null node, unless its comment says otherwise.
/// When a call throws, nothing is attached and the caller still owns the node.
/// A call that replaces an owned node first makes or adopts the new node, and then deletes the old
/// one. Never pass, with copy false, the node that is attached there already: it would be deleted,
/// but stay attached.
///
/// A tree never shares nodes. Deleting a node deletes its whole subtree.
class AMF2JSON_API AMFNode {
 public:
  /// The node kinds. 0 to 9 and 11 are values. 10, 12, 13 and 14 are structural kinds, and are
  /// refused where a value is expected. Only AMFArray::appendChild refuses a code above 14.
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

  /// The `referenceIndex` and `traitsIndex` of what was read, or is to be written, in full.
  static constexpr std::uint32_t kNoReference = 0xFFFFFFFFu;

  /// A node without children. `parent` becomes `nodeParent`, but the node is not attached to it.
  AMFNode(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent);
  /// Deep copy: kind, version, referenceIndex and complete are copied, and children are cloned in
  /// order (null entries stay null). The parent is null.
  AMFNode(const AMFNode& source);
  AMFNode& operator=(const AMFNode&) = delete;

  /// @{ Any owner may delete a node, on any thread. A host may create nodes with any form of `new`,
  /// also with its own placement forms. `parse`, the readers and `clone` allocate nodes from a pool
  /// of chunks, which has these rules:
  ///
  /// - The bytes of a decoded string may be in the same block as the node. Change them in place or
  ///   with setValue. Never delete `AMFRaw::data`, and never pass its ownership on.
  /// - A single node keeps its whole chunk of 64 KiB allocated. To keep a small part of a large
  ///   tree, keep a clone() of it.
  /// - A tree deletes what it adopts. So attach a node from a placement form with copy true only.
  ///   A node from a plain `new` may be adopted.
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
  /// Returns a deep copy of the node with its whole subtree, of the same class. The caller owns it.
  virtual AMFNode* clone() const = 0;

  /// Attaches `node` (or its copy) after the last child and sets its parent to this.
  void appendChild(AMFNode* node, bool copy);
  /// Returns the child at `index`, or null if `index` is not below the number of children.
  AMFNode* getChild(unsigned int index) const;
  /// Replaces the child at `index` and sets the parent of the new child. If `node` is null or
  /// `index` is not below the number of children, nothing happens: the caller still owns the node,
  /// also with copy false.
  void setChild(unsigned int index, AMFNode* node, bool copy);

  std::vector<AMFNode*> children;  ///< owned, in order; null entries only if a copied node had them
  AMFNode* parent;     ///< not owned; not set by the value setters of pairs and messages
  AMFType type;        ///< the kind; each kind has one class
  AMFVersion version;  ///< the encoding it was read from, or is to be written in
  /// kNoReference for a node that was read in full. Otherwise the node was read as a reference: it
  /// is a copy of an earlier value, and this is the index of that value in its reference table. The
  /// writers then write the reference instead of the value, and the views show the index.
  std::uint32_t referenceIndex = kNoReference;
  /// Set by the AMF3 reader once an object or array has been read to its end.
  bool complete = false;

 private:
  friend class amf2json::NodeMemory;
  std::uint8_t memory = 0;  // the allocator that the node came from
};

/// The null value.
class AMF2JSON_API AMFNull : public AMFNode {
 public:
  explicit AMFNull(AMFVersion nodeVersion);              ///< null
  AMFNull(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFNull(const AMFNull& source);                        ///< a deep copy
  ~AMFNull() override;
  AMFNull* clone() const override;
};

/// The undefined value.
class AMF2JSON_API AMFUndefined : public AMFNode {
 public:
  explicit AMFUndefined(AMFVersion nodeVersion);              ///< undefined
  AMFUndefined(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFUndefined(const AMFUndefined& source);                   ///< a deep copy
  ~AMFUndefined() override;
  AMFUndefined* clone() const override;
};

/// A boolean.
class AMF2JSON_API AMFBool : public AMFNode {
 public:
  explicit AMFBool(AMFVersion nodeVersion);              ///< false
  AMFBool(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFBool(const AMFBool& source);                        ///< a deep copy
  ~AMFBool() override;
  AMFBool* clone() const override;

  bool value = false;  ///< its byte is written unchanged
};

/// The AMF3 integer of 29 bits as decoded: unsigned, without sign extension. AMF0 has no integers:
/// the writers refuse one of version 0.
class AMF2JSON_API AMFInt : public AMFNode {
 public:
  explicit AMFInt(AMFVersion nodeVersion);              ///< 0
  AMFInt(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFInt(const AMFInt& source);                         ///< a deep copy
  ~AMFInt() override;
  AMFInt* clone() const override;

  std::uint32_t value = 0;  ///< values above 0x3FFFFFFF cannot be written
};

/// A number.
class AMF2JSON_API AMFDouble : public AMFNode {
 public:
  explicit AMFDouble(AMFVersion nodeVersion);              ///< 0
  AMFDouble(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFDouble(const AMFDouble& source);                      ///< a deep copy
  ~AMFDouble() override;
  AMFDouble* clone() const override;

  double value = 0;  ///< all bits are preserved, also those of a NaN
};

/// A date.
class AMF2JSON_API AMFDate : public AMFNode {
 public:
  explicit AMFDate(AMFVersion nodeVersion);              ///< 1970-01-01
  AMFDate(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFDate(const AMFDate& source);                        ///< a deep copy
  ~AMFDate() override;
  AMFDate* clone() const override;

  double value = 0;  ///< milliseconds since 1970-01-01 UTC; the time zone is not stored
};

/// A byte array (an AMF3 ByteArray), and the base class of all nodes that hold bytes.
class AMF2JSON_API AMFRaw : public AMFNode {
 public:
  explicit AMFRaw(AMFVersion nodeVersion);              ///< no bytes
  AMFRaw(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFRaw(const AMFRaw& source);                         ///< a deep copy
  ~AMFRaw() override;
  AMFRaw* clone() const override;

  /// Replaces the bytes by a copy of `byteCount` bytes, without a terminator. If `bytes` is null or
  /// `byteCount` is 0, `data` becomes null and `length` 0. After std::bad_alloc the node is
  /// unchanged.
  void setValue(const char* bytes, unsigned int byteCount);

  /// Owned; null if empty; not terminated. The bytes may be overwritten in place. To make the node
  /// own another array, call setValue(nullptr, 0) and store the result of a `new char[]` here.
  char* data = nullptr;
  std::uint32_t length = 0;  ///< bytes in `data`

 protected:
  AMFRaw(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent);  ///< for derived kinds
};

/// A string: the bytes as received, UTF-8 by convention. NUL bytes are allowed.
class AMF2JSON_API AMFString : public AMFRaw {
 public:
  explicit AMFString(AMFVersion nodeVersion);              ///< an empty string
  AMFString(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
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
  AMFXML(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFXML(const AMFXML& source);                         ///< a deep copy
  ~AMFXML() override;
  AMFXML* clone() const override;

  using AMFRaw::setValue;
  /// Copies the bytes of `text`. The caller still owns `text`. Null is ignored.
  void setValue(AMFString* text);

  std::uint32_t document = 0;  ///< 1 or 0, see above
};

/// An array. Its children are values (the dense part) and AMFPair nodes (the associative part), in
/// the order in which they were appended.
class AMF2JSON_API AMFArray : public AMFNode {
 public:
  explicit AMFArray(AMFVersion nodeVersion);              ///< an empty array
  AMFArray(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFArray(const AMFArray& source);                       ///< a deep copy
  ~AMFArray() override;
  AMFArray* clone() const override;

  /// Attaches a pair, or attaches a value and adds 1 to `denseCount`. Throws
  /// "AMFArray::appendChild(): not a value type node" for a header, message, package or any larger
  /// kind code, before anything changes. `setChild` is that of AMFNode: it checks nothing and does
  /// not change `denseCount`.
  void appendChild(AMFNode* node, bool copy);

  std::uint32_t denseCount = 0;  ///< number of value children
  std::uint32_t strict = 0;      ///< AMF0: 1 strict (dense) array, 0 associative (ECMA) array
};

/// One member (a name and a value) of an object, or of the associative part of an array.
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
  /// Replaces the value. Throws "AMFPair::setValue(): not a value type node" for a structural kind,
  /// before anything changes. The parent of the value is not changed.
  void setValue(AMFNode* newValue, bool copy);

  AMFString* name;  ///< owned
  AMFNode* value;   ///< owned

  /// \cond internal
  AMFPair(const amf2json::Unfilled&, AMFVersion nodeVersion, AMFType kind) noexcept;
  /// \endcond
};

/// An object. Its children are AMFPair nodes: first the `sealedCount` sealed members, then the
/// dynamic ones.
class AMF2JSON_API AMFObject : public AMFNode {
 public:
  explicit AMFObject(AMFVersion nodeVersion);              ///< no members, no class
  AMFObject(AMFVersion nodeVersion, AMFNode* nodeParent);  ///< the same, with this parent
  AMFObject(const AMFObject& source);                      ///< a deep copy
  ~AMFObject() override;
  AMFObject* clone() const override;

  void appendChild(AMFPair* pair, bool copy);                   ///< as AMFNode::appendChild
  void setChild(unsigned int index, AMFPair* pair, bool copy);  ///< as AMFNode::setChild
  AMFPair* getChild(unsigned int index) const;                  ///< as AMFNode::getChild
  /// Replaces the class name. With copy true the new AMFString has only the bytes of `newName`.
  void setClassName(AMFString* newName, bool copy);

  bool dynamic = false;  ///< AMF3: dynamic members follow the sealed ones
  bool externalizable =
      false;  ///< AMF3: the body is one value, stored in one pair with an empty name
  std::uint32_t sealedCount = 0;  ///< AMF3: so many of the first children are sealed members
  /// AMF3: the index in the traits table if the traits are a reference; else kNoReference.
  std::uint32_t traitsIndex = kNoReference;
  AMFString* className;  ///< owned; empty for an anonymous object

  /// \cond internal
  AMFObject(const amf2json::Unfilled&, AMFVersion nodeVersion) noexcept;
  /// \endcond
};

/// A packet header: a pair with the name and value of the header.
class AMF2JSON_API AMFHeader : public AMFPair {
 public:
  AMFHeader();                              ///< no name, an undefined value
  explicit AMFHeader(AMFNode* nodeParent);  ///< the same, with this parent
  AMFHeader(const AMFHeader& source);       ///< a deep copy
  ~AMFHeader() override;
  AMFHeader* clone() const override;

  bool mustUnderstand = false;  ///< true for every byte except 00; written as 01
  /// The declared length of the value in bytes; 0xFFFFFFFF: unknown. It is never checked and never
  /// computed. It is written as stored.
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
  explicit AMFMessage(AMFNode* nodeParent);  ///< the same, with this parent
  AMFMessage(const AMFMessage& source);      ///< a deep copy
  ~AMFMessage() override;
  AMFMessage* clone() const override;

  void setTargetUri(AMFString* uri, bool copy);    ///< replaces the target URI
  void setResponseUri(AMFString* uri, bool copy);  ///< replaces the response URI
  /// Replaces the value. Throws "AMFMessage::setValue(): invalid value type node" for a structural
  /// kind, before anything changes.
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

  /// Attaches a header. Append all headers before the first message: the order is not checked.
  /// `headerCount` grows even if `header` is null and nothing is attached.
  void appendHeader(AMFHeader* header, bool copy);
  /// Attaches a message.
  void appendMessage(AMFMessage* message, bool copy);
  /// Returns a header, or null if `index` is not below `headerCount`.
  AMFHeader* getHeader(unsigned int index) const;
  /// Returns a message, or null if `index` is not below the number of children minus `headerCount`.
  AMFMessage* getMessage(unsigned int index) const;

  std::uint32_t headerCount = 0;  ///< so many of the first children are headers
};

// ---------------------------------------------------------------------------------------------------
// Externalizable classes

/// The eight externalizable classes that the AMF3 reader accepts. The reader uses the variables at
/// every comparison. So a host that points one to another name changes what all protocol objects
/// accept. Do it before any thread parses. The library never writes or frees them. Null matches
/// nothing.
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

/// Returns an escaped copy of `text` for a JavaScript string literal in double quotes. `text` is
/// not changed. Backslashes are doubled, a backslash is put before each quote, and the star of
/// every "/*" and "*/" becomes `\x2A`. With `dropControl` false, bytes 00 to 1F become `\xHH`
/// (upper-case digits), and all others are copied. With `dropControl` true, only bytes 20 to 7F are
/// copied. This drops every byte of a multi-byte character, too.
AMF2JSON_API std::string formatString(std::string& text, bool dropControl);

// ---------------------------------------------------------------------------------------------------
// Encoded pieces

/// The pieces that the writers made, one for each field, in output order: a read-only list with
/// random access. The protocol object owns it. The bytes of a piece do not move while it is listed.
///
/// The list of `Chunk`s is made by the first access after a write. That access takes linear time
/// and may throw std::bad_alloc, which loses nothing. All others take constant time. Elements,
/// iterators and references are valid until the next write, `clean` or `compile`.
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
  /// An independent list, with copies of the bytes.
  AMFOutputChunks(const AMFOutputChunks& source);
  /// The same. The old pieces are released. After std::bad_alloc they are unchanged.
  AMFOutputChunks& operator=(const AMFOutputChunks& source);

  bool empty() const noexcept;  ///< whether there is no piece; takes constant time
  std::size_t size() const { return static_cast<std::size_t>(end() - begin()); }  ///< their number
  const Chunk* data() const { return begin(); }      ///< an array of size() pieces
  const_iterator begin() const;                      ///< the first piece
  const_iterator end() const;                        ///< after the last piece
  const_iterator cbegin() const { return begin(); }  ///< begin()
  const_iterator cend() const { return end(); }      ///< end()
  const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }  ///< the last
  const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }  ///< their end
  const_reverse_iterator crbegin() const { return rbegin(); }                      ///< rbegin()
  const_reverse_iterator crend() const { return rend(); }                          ///< rend()
  const Chunk& front() const { return *begin(); }     ///< the first; must not be empty
  const Chunk& back() const { return *(end() - 1); }  ///< the last; must not be empty
  const Chunk& operator[](std::size_t index) const { return begin()[index]; }  ///< not checked
  /// Throws std::out_of_range if `index` is not below size().
  const Chunk& at(std::size_t index) const;

 private:
  friend class AMFProtocol;
  std::unique_ptr<amf2json::Pieces> pieces;
};

// ---------------------------------------------------------------------------------------------------
// The protocol object

/// One conversion context: it decodes, renders and encodes packets, and owns the results. All
/// members are public, so that hosts and tests can inspect every state. It cannot be copied or
/// moved.
class AMF2JSON_API AMFProtocol {
 public:
  /// The AMF0 type markers. Bytes 80 to FF are sign-extended to large codes that no reader accepts.
  enum AMF0Markers : std::uint32_t {
    AMF0_NUMBER = 0x00,
    AMF0_BOOLEAN = 0x01,
    AMF0_STRING = 0x02,
    AMF0_OBJECT = 0x03,
    AMF0_MOVIECLIP = 0x04,  // refused
    AMF0_NULL = 0x05,
    AMF0_UNDEFINED = 0x06,  // as the argument of a reader: read the marker first
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
    AMF3_UNDEFINED = 0x00,  // as the argument of a reader: read the marker first
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
  /// Deletes `package`, and releases `resultBuffer` and all pieces, also abandoned ones. If nodes
  /// come from the pool, the thread may cache the buffers of the texts (some 4 MiB) for its next
  /// object.
  ~AMFProtocol();
  AMFProtocol(const AMFProtocol&) = delete;
  AMFProtocol& operator=(const AMFProtocol&) = delete;

  // ---- Decoding
  //
  // All readers read at `readCursor` and move it past what they read. All numbers are big-endian.
  // Each reader returns a new node that the caller owns. It is not null, unless the comment says
  // so. All bytes must be present: no reader checks the end. When a reader throws, every node that
  // it made is deleted, and the cursor points after the field that failed (for a refused reference,
  // after its index). Entries that were added to the reference tables remain there and may dangle.
  // So after an exception call only `parse`, `getHeader` or `getMessage`, which empty the tables
  // first, or use a new object.

  /// Decodes one packet. It must be complete, and made by you: for packets from somebody else call
  /// parseVerified of AMFGuard.h.
  ///   u16 version | u16 header count | headers | u16 message count | messages
  /// Returns `package`. This object owns it until the next parse or its destruction; the host must
  /// not delete it. For a null packet, parse returns null and changes nothing. The previous package
  /// is deleted once the version has been read. Afterwards the reference tables hold the entries of
  /// the last section, and `readCursor` points after the last byte that was read. Throws what the
  /// readers below throw; `package` then holds the headers and messages that were complete.
  ///
  /// parse fills `jsonText` with 716800 and `scriptText` with 358400 NUL bytes, as buffers for the
  /// views. Do not write to these texts: if a host does, and their size is the same afterwards, its
  /// bytes may remain, also in later objects of the thread that destroys this one.
  AMFPackage* parse(const char* packet);

  /// Empties the four reference tables, then reads one header:
  ///   u16 name length, name | u8 must-understand (non-zero: true) | u32 length | one AMF0 value
  /// If the value is the end mark 09, the header keeps its default value, an AMFUndefined.
  AMFHeader* getHeader();
  /// Empties the four reference tables, then reads one message:
  ///   u16 length, target URI | u16 length, response URI | u32 length | one AMF0 value
  AMFMessage* getMessage();

  /// One byte, sign-extended.
  AMF0Markers getAMF0Marker();
  /// A marker and its value; null for the end mark 09. Marker 11 reads exactly one AMF3 value.
  /// Throws "getAMF0Value: unknown value type" for 04, 0D, 0E and everything above 11.
  AMFNode* getAMF0Value();
  /// u16 length (marker 02) or u32 length (0C), then the bytes. If `marker` is 06, the real one is
  /// read first. Throws "getAMF0String(): unable to determine the string length" for any other
  /// marker.
  AMFString* getAMF0String(AMF0Markers marker);
  /// f64. The marker has already been read, here and below.
  AMFDouble* getAMF0Number();
  /// u8; any non-zero byte is true.
  AMFBool* getAMF0Bool();
  /// f64 milliseconds since 1970 UTC, then a time zone of 2 bytes, which is skipped.
  AMFDate* getAMF0Date();
  /// u32 length, bytes. `document` is 1.
  AMFXML* getAMF0XML();
  /// u16 index. Returns a deep copy of that entry of `amf0References`, with `referenceIndex` set.
  /// The copy becomes no entry. Throws "getAMF0ByReference(): invalid reference index" if there is
  /// no such entry, "getAMF0ByReference(): lack of referenced data" if the entry is null.
  AMFNode* getAMF0ByReference();
  /// u16 length, name, then one value. Returns null at the end mark: any name, then 09.
  AMFPair* getAMF0Pair();
  /// Marker 03: members up to the end mark. Marker 10: u16 length, class name, then as 03. With 06
  /// the marker is read first. Any other marker reads an anonymous object. The object is entered
  /// into the table when it ends, so a nested object or array has a lower index than its outer one.
  AMFObject* getAMF0Object(AMF0Markers marker);
  /// u32 count, then so many values for marker 0A, or so many members for 08. No end mark is read
  /// after them. If `marker` is 06, the real one is read first. The array is entered into the table
  /// when it ends. Throws "getAMF0Array(): lack of strict array data or bad array size" or
  /// "getAMF0Array(): lack of associative array property or bad array size" at an end mark. Throws
  /// "getAMF0Array: unknown array type" for any other marker, after the count has been read.
  AMFArray* getAMF0Array(AMF0Markers marker);

  /// The AMF3 integer (U29) of one to four bytes, the most significant bits first. The fourth byte
  /// is a signed 8-bit number: FF FF FF FF is 0x1FFFFEFF, 80 80 80 FF is 0xFFFFFFFF.
  std::uint32_t getVLUnsignedInt();
  /// One byte, sign-extended.
  AMF3Markers getAMF3Marker();
  /// A marker and its value. Throws "getAMF3Value(): unknown value type marker" for a marker that
  /// is not 00 to 0C.
  AMFNode* getAMF3Value();
  /// Marker 02 or 03. If `marker` is AMF3_UNDEFINED, the real one is read first.
  /// Throws "getAMF3Bool(): not a boolen type marker passed" for any other.
  AMFBool* getAMF3Bool(AMF3Markers marker);
  /// The U29, without sign extension.
  AMFInt* getAMF3Integer();
  /// f64.
  AMFDouble* getAMF3Double();
  /// U29. If bit 0 is clear, a reference with the index U29 >> 1 into `amf3StringReferences`:
  /// returns a deep copy with `referenceIndex` set. If bit 0 is set, U29 >> 1 bytes follow; the
  /// string is entered into the table unless it is empty. With `withMarker` true a marker is read
  /// first, and "getAMF3String(): an string type expected" is thrown unless it is 06. Throws
  /// "getAMF3String(): invalid string reference index" (no such entry, or a null entry),
  /// "getAMF3String(): not a string type node found in string reference table".
  AMFString* getAMF3String(bool withMarker);
  /// As a string, but with the table `amf3ObjectReferences`. Markers 07 (`document` 1) and 0B (0).
  /// If `marker` is AMF3_UNDEFINED, the real one is read first. Throws "getAMF3XML(): not a XML
  /// type marker passed", "getAMF3XML(): invalid XML reference index", "getAMF3XML(): reference to
  /// the non XML type node".
  AMFXML* getAMF3XML(AMF3Markers marker);
  /// U29 (a reference, or bit 0 set; the other bits are then ignored), f64 milliseconds. Throws
  /// "getAMF3Date(): invalid date reference index", "getAMF3Date(): reference to the non date type
  /// node".
  AMFDate* getAMF3Date();
  /// As getAMF3XML, but the marker has been read. Throws "getAMF3ByteArray(): invalid byte array
  /// reference index", "getAMF3ByteArray(): reference to the non byte array type node".
  AMFRaw* getAMF3ByteArray();
  /// A name without marker, then a value. Returns null at the empty name that ends the list.
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
  /// fewer members than its count says), "getAMF3Object(): lack of string type property name data"
  /// (a member of the entry has no name), "getAMF3Object(): unsupported externalizable class type".
  AMFObject* getAMF3Object();

  // ---- Encoding
  //
  // Every writer appends pieces to `outputChunks` or throws. Nothing is rolled back: pieces that
  // were appended before an error remain until `clean`. A reference is written wherever a node
  // records one (`referenceIndex`, `traitsIndex`). The writers keep no table and check no index.

  /// Encodes a package: writes all pieces, joins them into `resultBuffer` and returns it. Its
  /// length is `getResultLength()`. This object owns the buffer until the next compile; after
  /// `loseResultBuffer` the host owns it. For a null source, compile returns null and changes
  /// nothing. Pieces of an earlier compile that are still listed are abandoned, not released: only
  /// the destructor frees them. So call `clean` after each compile. After an error `outputLength`
  /// is 0, and `resultBuffer` is still that of the previous compile. If there is memory for the
  /// pieces but not for the packet, it is null, because the old buffer is freed first. Throws what
  /// the writers throw, and std::bad_alloc if the packet would exceed 2^32-1 bytes.
  char* compile(const AMFPackage* source);
  /// u16 name length, name | u8 0 or 1 | u32 length as stored | the value.
  /// Throws "setHeader(): lack of header type node".
  void setHeader(const AMFHeader* header);
  /// u16 length, target URI | u16 length, response URI | u32 length as stored | the value.
  /// Throws "setMessage(): lack of message type node".
  void setMessage(const AMFMessage* message);
  /// Releases every listed piece.
  void clean();
  /// Passes `resultBuffer` to the host, which frees it with `delete[]`. The member becomes null.
  void loseResultBuffer();
  /// Bytes in `resultBuffer`.
  std::uint32_t getResultLength() const { return outputLength; }

  /// Writes any value where the encoding `placeVersion` is expected. Before an AMF3 node where AMF0
  /// is expected, the switch marker 11 is written. Throws "setNodeValue(): lack of value type
  /// node", "setNodeValue(): this node can't be placed here", "setNodeValue(): switching AMF3 ->
  /// AMF0  is impossible", "setNodeValue(): integer type is not supported in AMF0 use double
  /// instead", "setNodeValue(): byte array type is not supported in AMF0 version of protocol". For
  /// a kind code above 14 nothing is written, except the 11.
  void setNodeValue(const AMFNode* node, AMFVersion placeVersion);
  /// The bytes alone. Throws "setByteArray(): lack of byte array", "setByteArray(): lack of byte
  /// array value or bad array size" (a length without bytes).
  void setByteArray(const AMFRaw* node);
  /// [marker] length bytes. For up to 65535 bytes, `marker` is written if it is 02 or 0C, else 02.
  /// For more bytes, 0C is written. Throws "setAMF0String(): lack of string type node", and
  /// "setAMF0String(): string is too large" if `marker` is 02 and there are more than 65535 bytes.
  void setAMF0String(const AMFString* node, bool withMarker, AMF0Markers marker);
  /// 01, the stored byte unchanged. Throws "setAMF0Bool(): lack of boolen type node".
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
  /// node", "setAMF0Object(): lack of array property" (this spelling), "setAMF0Array(): not a pair
  /// type node passed as associative array property".
  void setAMF0Array(const AMFArray* array);
  /// 07, the low 16 bits of `index`.
  void setAMF0Reference(unsigned int index);

  /// A U29 of one to four bytes, each in its own piece. Throws "setAMF3Integer(): integer value is
  /// to large" above 0x3FFFFFFF. 0x200000 to 0x3FFFFF are written as three bytes, and 0x20000000 to
  /// 0x3FFFFFFF lose bit 29: those values read back as other values.
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
  // Each renders `package` and returns a reference to a text of this object. It is valid until the
  // next view, the next parse, or the destruction of the object. With `pretty` true the text has
  // tabs and line ends. With false it has a line feed about every 500 bytes only. Without a package
  // a view writes only its beginning and end. The views throw only std::bad_alloc. The texts and the
  // path are then partly written: use a new object.
  //
  // Some state of one view affects the next view of the same object, on purpose:
  // - The first view chooses the root of the script path ("amf" or empty) for all views.
  // - getPackageAsJSView clears `useTemporaries`, and no view sets it again.
  // - When the texts exceed 499999 bytes, `outputLimitReached` is set and never cleared. Every
  //   later script view writes only its beginning and end. getPackageInJSON always renders
  //   everything.
  // - An AMF3 reference directly after a switch marker leaves one closing bracket on `closerStack`.
  // Do not run the script views of untrusted packets: see SECURITY.md.

  /// The JSON text. Returns `jsonText`.
  const std::string& getPackageInJSON(bool pretty);
  /// A script: "\n amf = ", the object literal, "\n\n", then one statement for each value. Strings
  /// of 400 bytes and more become variables qxAmfTemporary1, 2, ... which are defined first.
  /// Returns `jsonText`, or `scriptPreamble` if there are such variables. The 499999 bytes do not
  /// include the definitions, which can be thousands of times as large as the packet. So set
  /// `useTemporaries` to false for packets from somebody else.
  const std::string& getPackageInJS(bool pretty);
  /// The literal, "\n\nJS representaion\n\n" (this spelling), then the statements. Returns
  /// `jsonText`.
  const std::string& getPackageInJSON_and_JS(bool pretty);
  /// The statements only. Returns `scriptText`.
  const std::string& getPackageAsJSView(bool pretty);

  // ---- Rendering: the primitives
  //
  // The views call these. A host may call them to add text of its own, and has to keep brackets and
  // prefixes balanced. `name` is never escaped: do not pass text of a packet as a name.

  /// Opens a block in `jsonText`: soft break, `indent`, `open`, `newLine`. The level grows by one.
  void openBrackets(char open, char close);
  /// Closes the innermost block, and removes the comma after its last member.
  void closeBrackets();
  /// Makes the root of the script path if there is none: "amf", or empty if `noRootPrefix` is set.
  void CreatePrefix();
  /// Adds "." and `name` to the script path. If `nextPrefixBare` is set, omits the "." once.
  void AddOnePrefix(const std::string& name);
  /// Removes the innermost segment of the script path.
  void RemoveOnePrefix();
  /// Appends the whole script path to `out`.
  void AddPrefixes(std::string& out);
  /// One member line of `jsonText`. With `quote` true the value is quoted and escaped: a backslash
  /// before each of \ / BS FF LF CR TAB, three before each quote. With false it is copied.
  void appendAttr(const std::string& name, const std::string& value, bool quote);
  /// One statement of `scriptText`. With `quote` true the value is quoted, BS FF LF CR TAB are
  /// dropped, and one backslash is put before each quote.
  void appendJSAttr(const std::string& name, const std::string& value, bool quote);
  /// Writes a value to `jsonText` and, unless `jsonOnly` is set, to `scriptText`, both escaped as
  /// by appendJSAttr. With `named` true it is a member with the name "value". With false it
  /// continues the current line.
  void appendValue(const std::string& value, bool quote, bool named);
  /// A node and its whole subtree. For null nothing is written.
  void appendNode(const AMFNode* node, AMFVersion parentVersion);
  /// One named member. A null node is written as null. In script paths a name is cut at its first
  /// NUL and after 999 bytes.
  void appendChild(const std::string& name, const AMFNode* node, AMFVersion nodeVersion,
                   bool isInline);
  /// The children of `node` as a named list. For a null node nothing is written. Path segments
  /// ("name[i]") are cut as in appendChild.
  void appendChildren(const std::string& name, const AMFNode* node);

  // ---- State

  char* resultBuffer = nullptr;          ///< owned (`new char[]`): the packet of the last compile
  const char* readCursor = nullptr;      ///< not owned: the readers read here
  AMFPackage* package = nullptr;         ///< owned: the package of the last parse
  std::vector<AMFNode*> amf0References;  ///< not owned: objects and arrays, in order of end
  std::vector<AMFNode*> amf3StringReferences;  ///< not owned: non-empty inline strings
  std::vector<AMFNode*>
      amf3ObjectReferences;  ///< not owned: XML, dates, byte arrays, arrays, objects
  std::vector<AMFNode*> amf3TraitReferences;  ///< not owned: objects with inline traits
  AMFOutputChunks outputChunks;               ///< the pieces of the last compile
  std::uint32_t outputLength = 0;             ///< bytes in `resultBuffer`
  std::string jsonText;                       ///< JSON text, or the literal of the script views
  std::string scriptText;                     ///< script statements
  std::string scriptPreamble;                 ///< definitions of temporaries
  std::int32_t temporaryCounter = 0;          ///< number of temporaries so far
  std::string newLine;                        ///< "\n" if pretty, else empty
  std::string scriptNewLine = "\n";           ///< end of a statement
  std::string indentUnit;                     ///< "\t" if pretty, else empty
  std::string indent;                         ///< `indentUnit` once per open block
  std::string closerStack;           ///< closing bracket of each open block, innermost last
  bool trackDepth = false;           ///< whether `childDepth` is counted
  bool noRootPrefix = false;         ///< CreatePrefix makes an empty root
  bool nextPrefixBare = false;       ///< the next AddOnePrefix writes no "."
  bool scriptStatementStart = true;  ///< a statement has just ended
  std::int32_t childDepth = 0;       ///< nesting of appendChild and appendChildren
  bool jsonOnly = false;             ///< nothing is written to `scriptText`
  bool jsonAndScript = false;        ///< long strings are written inline
  bool scriptView = false;           ///< set by the two views without the "amf" root
  bool outputLimitReached = false;   ///< the texts exceeded 499999 bytes; never cleared
  bool useTemporaries = true;        ///< long strings become temporaries
  bool valueInline = false;          ///< the next value continues the current statement
  std::int32_t lineBreakCount = 1;   ///< soft breaks in `jsonText`, plus one

 private:
  std::unique_ptr<amf2json::ProtocolState> state;
};

#endif  // AMF2JSON_H
