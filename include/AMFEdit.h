// SPDX-License-Identifier: Apache-2.0
/// @file
/// Helpers for hosts that look for values in decoded trees, change them, or move parts of them,
/// before they encode them again.
///
///     AMFProtocol protocol;
///     AMFPackage* const package = protocol.parse(wholePacket);
///     AMFNode* const user = member(package->getMessage(0)->value, "user");
///     ...                            // change, add, remove or move values
///     clearReferences(package);      // everything is written in full
///     setTrueLengths(package);       // the length fields tell the truth
///     protocol.compile(package);
///
/// Why the last two are needed: the writers keep no tables. They write a reference exactly where a
/// node records one and write each length field as it stands. Whoever removes, adds or moves values
/// makes recorded indexes point at other values, and stored lengths wrong.
#ifndef AMF_EDIT_H
#define AMF_EDIT_H

#include <string_view>

#include "AMF2JSON.h"

/// Returns the value of the member `name` of `node`: a node of the kind AMF_OBJECT, sealed and
/// dynamic members alike, or of the kind AMF_ARRAY, whose named members are those of an associative
/// array (AMF0) or of the associative part (AMF3). Not a copy: the tree owns the value, which stays
/// valid as long as its pair does.
///
/// Returns null if there is no such member, if its pair has no value, for a null `node`, and for a
/// node of any other kind. A member whose value is AMFNull is found: the result is that node.
///
/// Of several members with the same name the last one is found, which is the one that is left where
/// a peer assigns them in the order of the packet. Names are compared byte by byte; NUL bytes
/// count. Looks at the members of `node` alone, not at those of its values. Takes time linear in
/// the number of children; allocates nothing and throws nothing.
AMF2JSON_API const AMFNode* member(const AMFNode* node, std::string_view name) noexcept;

/// The same for a tree that the caller may change.
inline AMFNode* member(AMFNode* node, std::string_view name) noexcept {
  return const_cast<AMFNode*>(member(static_cast<const AMFNode*>(node), name));
}

/// Sets every `referenceIndex` and every `traitsIndex` in `tree` to AMFNode::kNoReference, so that
/// all of it is written in full: the node itself, its children, and what pairs, headers, messages
/// and objects own beside their children (names, values, URIs, class names). Null does nothing.
/// Allocates nothing and throws nothing; recurses once per level of the tree, as its destructor
/// does.
///
/// Nothing is lost by it: what the reader made for a reference is a full copy of what was referred
/// to. The packet grows by those copies. Nothing else is changed:
/// - `sealedCount`, `dynamic` and `className` of an AMF3 object stay. The reader copied them, and
///   the names of the sealed members, from the object that the traits came from; a host that builds
///   an object with a `traitsIndex` and leaves them out has to fill them in before this call.
/// - `externalizable` stays false on an object that took its traits from an externalizable one,
///   since the reader does not copy that flag: such an object is written as an ordinary object of
///   that class.
/// - `complete` stays, it is the reader's note and is never written.
/// - `length` of headers and messages stays: call setTrueLengths afterwards.
///
/// Clear whole headers and messages. References count the values in front of them within one header
/// or one message: a value that is written in full where a reference stood takes an index of its
/// own, and moves those of everything behind it. A reference that is left in the same header or
/// message then points at another value, or at none. To carry a part of one tree to another place,
/// clear the part, and clear the header or message it comes from and the one it goes to.
AMF2JSON_API void clearReferences(AMFNode* tree) noexcept;

/// Stores in every header and message of `package` the number of bytes that its value takes in the
/// packet: the marker and the body, with the 11 in front of a switched value, without the name, the
/// URIs and the length field. Null does nothing.
///
/// The values are written for it, one after another, into the pieces of an object that goes when
/// the call returns; at most one of them is held at a time. A length counts what compile would
/// write now: later changes to the tree are not followed.
///
/// Throws what setHeader and setMessage throw (also for a `headerCount` above the number of
/// children), and std::bad_alloc when memory runs out or a value passes 2^32-2 bytes (2^32-1 in the
/// field means unknown). Nothing is stored then: all values are counted before the first field is
/// changed.
AMF2JSON_API void setTrueLengths(AMFPackage* package);

#endif  // AMF_EDIT_H
