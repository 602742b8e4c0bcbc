// SPDX-License-Identifier: Apache-2.0
//
// Where nodes come from, and the bytes of short strings with them.
//
// Every node is an object of its own that anyone may delete, anywhere and on any thread. What the
// pool changes is the price: a node is cut from a chunk of 64 KiB by moving a pointer, and given
// back by counting down.
//
// Where memory comes from. Each thread has a heap, made when it first makes a node: one chunk that
// it cuts from, the full ones, and some empty ones. A chunk lies at a multiple of its size, so that
// the chunk of a piece is found by masking the piece's address. Pieces are never reused singly: a
// chunk is used again once all its pieces have been given back. Objects larger than kObjectMax (a
// host's own classes), over-aligned ones, and strings whose bytes are longer than kBytesMax apart
// from their node, come from the global operator new; so do all child vectors.
//
// What that costs. One live node pins its whole chunk: who keeps a few nodes of large trees keeps
// 64 KiB for each, and had better keep clones. And a thread that handed its nodes away and makes
// and deletes none itself keeps their chunks, until it does so again or ends.
//
// When it goes back. An empty chunk is kept for the next packet, up to 16 MiB a thread. Beyond that
// the heap shrinks: all chunks above 4 MiB go back to the system at once, and so does every further
// one until the thread needs a chunk again. While a packet takes the place of another, all chunks
// of the old one stay for the new one (ChunksStay). So a stream of packets runs in warm memory, and
// after a burst the memory falls back.
//
// Across threads. A chunk belongs to the thread that made it. A piece given back elsewhere is
// counted in the chunk's atomic balance; its owner finds such chunks when it needs one. When a
// thread ends, its empty chunks go back and the others become nobody's: whoever gives back the last
// piece of one returns it to the system. After a fork the child goes on with the forking thread's
// heap; what other threads had stays as it is.
//
// When it is off. Under AddressSanitizer (unless the build says otherwise), under LeakSanitizer and
// under Valgrind every node is a block of its own, so that those tools see each of them. With the
// build option AMF2JSON_NODE_POOL=ON it is on under AddressSanitizer too, and pieces that are not
// in use are poisoned. OFF switches it off for good.
//
// A thread also keeps the texts of a protocol object that has gone, for the next one: see
// codec/texts.cpp. Both are a thread's own, and the one state of the library outside protocol
// objects and trees. It shows in nothing but speed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "AMF2JSON.h"
#include "model/hot.h"

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

namespace amf2json::model {

constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kPieceAlignment = 8;
constexpr std::size_t kObjectMax = 1024;
constexpr std::size_t kBytesMax = 2048;

#if defined(AMF2JSON_ADDRESS_SANITIZER)
inline void poison(void* bytes, std::size_t count) {
  ASAN_POISON_MEMORY_REGION(bytes, count);
}
inline void unpoison(void* bytes, std::size_t count) {
  ASAN_UNPOISON_MEMORY_REGION(bytes, count);
}
#else
inline void poison(void*, std::size_t) {}
inline void unpoison(void*, std::size_t) {}
#endif

// What has not been cut yet of a thread's current chunk; nothing where there is no chunk. Nodes of
// the library are cut here, everything else goes through AMFNode's operator new.
struct Cutter {
  char* free = nullptr;
  char* end = nullptr;
  std::int32_t live = 0;  // pieces of the current chunk: cut, less given back by its thread

  static constexpr std::size_t rounded(std::size_t size) {
    return (size + kPieceAlignment - 1) & ~(kPieceAlignment - 1);
  }
  bool hasRoom(std::size_t size) const {
    return static_cast<std::size_t>(end - free) >= rounded(size);
  }
  // Only where there is room.
  void* cut(std::size_t size) {
    char* const piece = free;
    free += rounded(size);
    ++live;
    unpoison(piece, size);
    return piece;
  }
  template <class Node>
  void* take() {
    static_assert(alignof(Node) <= kPieceAlignment && sizeof(Node) <= kObjectMax, "fits a piece");
    return hasRoom(sizeof(Node)) ? cut(sizeof(Node)) : takeElsewhere(sizeof(Node));
  }
  template <class Node>
  Node* make(AMFVersion version) {
    return ::new (take<Node>()) Node(version);
  }
  // A node with a copy of the bytes, right behind it where they are few and there are chunks.
  template <class Node>
  AMF2JSON_HOT Node* makeBytes(AMFVersion version, const char* bytes, std::uint32_t count) {
    const std::size_t size = sizeof(Node) + count;
    if (count > kBytesMax || !hasRoom(size)) return makeBytesElsewhere<Node>(version, bytes, count);
    return putBytes(::new (cut(size)) Node(version), bytes, count);
  }
  // A copy of a byte node's AMFRaw part, so made.
  template <class Node>
  AMF2JSON_HOT Node* copy(const Node& source) {
    const bool isPlain = source.children.empty() && (source.data || source.length == 0);
    if (!isPlain) return copyElsewhere(source);
    Node* const copied = makeBytes<Node>(source.version, source.data, source.length);
    copied->type = source.type;
    copied->referenceIndex = source.referenceIndex;
    copied->complete = source.complete;
    return copied;
  }

 private:
  AMF2JSON_RARE static void* takeElsewhere(std::size_t size);
  template <class Node>
  AMF2JSON_RARE static Node* makeBytesElsewhere(AMFVersion version, const char* bytes,
                                                std::uint32_t count);
  template <class Node>
  AMF2JSON_RARE static Node* copyElsewhere(const Node& source) {
    return new Node(source);
  }
  // Right behind the node.
  template <class Node>
  AMF2JSON_HOT static Node* putBytes(Node* node, const char* bytes, std::uint32_t count) {
    char* const place = reinterpret_cast<char*>(node) + sizeof(Node);
    copyShort(place, bytes, count);
    node->data = count > 0 ? place : nullptr;
    node->length = count;
    return node;
  }
};

// The cutter of the calling thread. It stays where it is as long as the thread.
Cutter& cutterOfThisThread() noexcept;

// A piece of the next chunk; null where there are no chunks.
void* takeFromNextChunk(std::size_t size);

// Gives back `count` pieces of the chunk that `piece` stands in.
void givePieces(void* piece, std::int32_t count) noexcept;

// As Cutter::makeBytes.
std::unique_ptr<AMFString> makeString(AMFVersion version, const char* bytes, std::uint32_t count);
std::unique_ptr<AMFRaw> makeRaw(AMFVersion version, const char* bytes, std::uint32_t count);
std::unique_ptr<AMFXML> makeXML(AMFVersion version, const char* bytes, std::uint32_t count);

// A copy of a byte node, with its bytes right behind it where they are few.
std::unique_ptr<AMFString> copyBytesNode(const AMFString& source);
std::unique_ptr<AMFRaw> copyBytesNode(const AMFRaw& source);
std::unique_ptr<AMFXML> copyBytesNode(const AMFXML& source);

// Whether nodes come from chunks in this process.
bool isPoolOn() noexcept;

// Frees a node's bytes, unless they stand behind it and go with it.
AMF2JSON_HOT void releaseBytes(const AMFRaw* node, bool isPooled) noexcept {
  const std::uintptr_t offset =
      reinterpret_cast<std::uintptr_t>(node->data) - reinterpret_cast<std::uintptr_t>(node);
  // Nothing else can begin between the ends of the two classes.
  if (isPooled && offset - sizeof(AMFString) <= sizeof(AMFXML) - sizeof(AMFString)) {
    poison(node->data, node->length);
  } else {
    delete[] node->data;
  }
}
inline void releaseBytes(const AMFRaw* node) noexcept {
  releaseBytes(node, isPoolOn());
}

// As long as one is there, no empty chunk of this thread goes back to the system.
class ChunksStay {
 public:
  ChunksStay() noexcept;
  ~ChunksStay();
  ChunksStay(const ChunksStay&) = delete;
  ChunksStay& operator=(const ChunksStay&) = delete;
};

// For tests: this thread's chunks, in use and kept.
std::size_t chunksOfThisThread() noexcept;

template <class Node>
Node* Cutter::makeBytesElsewhere(AMFVersion version, const char* bytes, std::uint32_t count) {
  const bool isFew = bytes && count <= kBytesMax;
  void* const piece = isFew ? takeFromNextChunk(sizeof(Node) + count) : nullptr;
  if (piece) return putBytes(::new (piece) Node(version), bytes, count);
  std::unique_ptr<Node> node(new Node(version));
  if (count > 0) node->AMFRaw::setValue(bytes, count);
  return node.release();
}

}  // namespace amf2json::model
