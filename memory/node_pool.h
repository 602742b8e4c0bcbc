// SPDX-License-Identifier: Apache-2.0
//
// Where the nodes of decoded and cloned trees come from, and the bytes of short strings with them.
//
//     chunk of 64 KiB:  header | node | node + bytes | node | ... | free
//                                                                  ^ next slot
//
// Each thread has a heap: one chunk that it allocates from by moving a pointer, the full chunks,
// and some empty ones. A slot holds one node, and the bytes of a short string after it. Slots are
// never reused singly: a chunk is used again once all its slots have been freed. A chunk is at a
// multiple of its size, so that masking a node's address finds its chunk. AMFNode::memory says
// which nodes are in a slot; all others (those that a host makes with `new`, and all nodes where
// the pool is off) are from the global operator new.
//
// What that costs. One live node keeps its whole chunk. A thread that hands its nodes away and
// decodes and deletes none itself keeps their chunks, until it does so again or ends.
//
// When memory goes back. Up to 16 MiB of empty chunks are cached for the next packet. Beyond that
// the heap shrinks: all empty chunks above 4 MiB go back to the system at once, and so does every
// further one until the thread needs a chunk again. While a packet takes the place of another, all
// chunks of the old one are retained for the new one (RetainChunks). So a stream of packets runs in
// warm memory, and after a burst the memory falls back.
//
// Across threads. A chunk belongs to the heap of one thread, in one copy of the library: a process
// may have several copies. A slot freed elsewhere is counted in the chunk's atomic balance; its
// owner finds such chunks when it needs one. When a thread ends, its empty chunks go back and the
// others become nobody's: whoever frees the last slot of one returns it to the system. Nodes made
// after that are from the global operator new. After a fork the child goes on with the forking
// thread's heap; what other threads had stays as it is.
//
// When it is off. Under AddressSanitizer (unless the build says otherwise) and LeakSanitizer every
// node is a block of its own, so that those tools see each of them. The build option
// AMF2JSON_NODE_POOL=ON has it on under AddressSanitizer too, and unused slots are poisoned. OFF
// switches it off for good, for Valgrind and the like.
//
// Tested by tests/memory/node_pool_test.cpp and tests/memory/pool_threads_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "AMF2JSON.h"
#include "base/compiler.h"
#include "memory/node_memory.h"

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

namespace amf2json {

constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kSlotAlignment = 8;
constexpr std::size_t kBytesMax = 2048;  // in the slot of a node

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

// Frees `count` slots of the chunk that `node` is in.
void freeSlots(void* node, std::int32_t count) noexcept;

// Makes the library's own nodes. There is one for each thread; it stays where it is as long as the
// thread.
class NodeAllocator {
 public:
  template <class Node>
  AMF2JSON_HOT Node* make(AMFVersion version) {
    if (!hasRoom(sizeof(Node))) return makeElsewhere<Node>(version);
    return NodeMemory::markPooled(::new (allocate(sizeof(Node))) Node(version));
  }
  // A composite node whose names and values are null: the reader fills it before anybody else sees
  // it.
  template <class Node, class... Arguments>
  AMF2JSON_HOT std::unique_ptr<Node> makeUnfilled(Arguments... arguments) {
    if (!hasRoom(sizeof(Node))) return makeUnfilledElsewhere<Node>(arguments...);
    return std::unique_ptr<Node>(
        NodeMemory::markPooled(::new (allocate(sizeof(Node))) Node(Unfilled(), arguments...)));
  }
  // A node with a copy of the bytes: in the same slot where they are few.
  template <class Node>
  AMF2JSON_HOT Node* makeWithBytes(AMFVersion version, const char* bytes, std::uint32_t count) {
    const std::size_t size = sizeof(Node) + count;
    if (count > kBytesMax || !hasRoom(size)) {
      return makeWithBytesElsewhere<Node>(version, bytes, count);
    }
    return putBytes(::new (allocate(size)) Node(version), bytes, count);
  }
  // A copy of a string, XML text or byte array, but for what XML adds.
  template <class Node>
  AMF2JSON_HOT Node* copyWithBytes(const Node& source) {
    const bool isPlain = source.children.empty() && (source.data || source.length == 0);
    if (!isPlain) return copyElsewhere(source);
    Node* const copied = makeWithBytes<Node>(source.version, source.data, source.length);
    copied->type = source.type;
    copied->referenceIndex = source.referenceIndex;
    copied->complete = source.complete;
    return copied;
  }
  // A deep copy of any other node.
  template <class Node>
  Node* copy(const Node& source) {
    return makeBy<Node>(source);
  }

 private:
  friend struct Heap;

  static constexpr std::size_t rounded(std::size_t size) {
    return (size + kSlotAlignment - 1) & ~(kSlotAlignment - 1);
  }
  bool hasRoom(std::size_t size) const {
    return static_cast<std::size_t>(end - next) >= rounded(size);
  }
  // Only where there is room.
  void* allocate(std::size_t size) {
    char* const slot = next;
    next += rounded(size);
    ++live;
    unpoison(slot, size);
    return slot;
  }
  // A slot of this chunk or the next one; null where there are no chunks.
  AMF2JSON_RARE static void* allocateElsewhere(std::size_t size);

  // The general way: the constructor may throw.
  template <class Node, class... Arguments>
  static Node* makeBy(Arguments&&... arguments) {
    void* const slot = allocateElsewhere(sizeof(Node));
    if (!slot) return new Node(std::forward<Arguments>(arguments)...);
    try {
      return NodeMemory::markPooled(::new (slot) Node(std::forward<Arguments>(arguments)...));
    } catch (...) {
      freeSlots(slot, 1);
      throw;
    }
  }
  template <class Node>
  AMF2JSON_RARE static Node* makeElsewhere(AMFVersion version) {
    return makeBy<Node>(version);
  }
  template <class Node, class... Arguments>
  AMF2JSON_RARE static std::unique_ptr<Node> makeUnfilledElsewhere(Arguments... arguments) {
    return std::unique_ptr<Node>(makeBy<Node>(Unfilled(), arguments...));
  }
  template <class Node>
  AMF2JSON_RARE static Node* makeWithBytesElsewhere(AMFVersion version, const char* bytes,
                                                    std::uint32_t count) {
    const bool isFew = bytes && count <= kBytesMax;
    void* const slot = isFew ? allocateElsewhere(sizeof(Node) + count) : nullptr;
    if (slot) return putBytes(::new (slot) Node(version), bytes, count);
    std::unique_ptr<Node> node(makeBy<Node>(version));
    if (count > 0) node->AMFRaw::setValue(bytes, count);
    return node.release();
  }
  template <class Node>
  AMF2JSON_RARE static Node* copyElsewhere(const Node& source) {
    return makeBy<Node>(source);
  }
  template <class Node>
  AMF2JSON_HOT static Node* putBytes(Node* node, const char* bytes, std::uint32_t count) {
    char* const place = reinterpret_cast<char*>(node) + sizeof(Node);
    copyShort(place, bytes, count);
    node->data = count > 0 ? place : nullptr;
    node->length = count;
    return NodeMemory::markPooledWithBytes(node);
  }

  char* next = nullptr;
  char* end = nullptr;
  std::int32_t live = 0;  // slots of the current chunk: allocated, less freed by its thread
};

NodeAllocator& allocatorOfThisThread() noexcept;

// Whether decoded nodes come from chunks in this process.
bool isPoolOn() noexcept;

struct Heap;

// As long as one is there, no empty chunk of this thread goes back to the system.
class RetainChunks {
 public:
  RetainChunks() noexcept;
  ~RetainChunks();
  RetainChunks(const RetainChunks&) = delete;
  RetainChunks& operator=(const RetainChunks&) = delete;

 private:
  Heap& heap;  // of this thread
};

// For tests: this thread's chunks, in use and cached.
std::size_t chunksOfThisThread() noexcept;

}  // namespace amf2json
