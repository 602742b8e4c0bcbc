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
// When it goes back. An empty chunk is kept for the next packet, up to 16 MiB a thread. Beyond that
// the heap shrinks: all chunks above 4 MiB go back to the system at once, and so does every further
// one until the thread needs a chunk again. So a stream of ordinary packets runs in warm memory,
// and after a burst the memory falls back.
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
// This is the one state of the library outside protocol objects and trees. It shows in nothing but
// speed.
#pragma once

#include <cstddef>
#include <memory>

#include "AMF2JSON.h"

namespace model {

constexpr std::size_t kObjectMax = 1024;
constexpr std::size_t kBytesMax = 2048;

// New nodes with a copy of `count` bytes; where they are few they stand right behind the node.
std::unique_ptr<AMFString> makeString(AMFVersion version, const char* bytes, std::uint32_t count);
std::unique_ptr<AMFRaw> makeRaw(AMFVersion version, const char* bytes, std::uint32_t count);
std::unique_ptr<AMFXML> makeXML(AMFVersion version, const char* bytes, std::uint32_t count);

// A copy of a byte node, with its bytes right behind it where they are few.
std::unique_ptr<AMFString> copyBytesNode(const AMFString& source);
std::unique_ptr<AMFRaw> copyBytesNode(const AMFRaw& source);
std::unique_ptr<AMFXML> copyBytesNode(const AMFXML& source);

// Frees a node's bytes, unless they stand behind it and go with it.
void releaseBytes(const AMFRaw* node) noexcept;

// For tests: whether nodes come from chunks in this process, and this thread's chunks (in use and
// kept).
bool isPoolOn() noexcept;
std::size_t chunksOfThisThread() noexcept;

}  // namespace model
