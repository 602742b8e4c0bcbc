// SPDX-License-Identifier: Apache-2.0
/// @file
/// Helpers for hosts that search decoded trees for values, or change the trees before they encode
/// them again.
///
///     AMFProtocol protocol;
///     AMFPackage* const package = protocol.parse(wholePacket);
///     AMFNode* const user = member(package->getMessage(0)->value, "user");
///     ...                            // change, add, remove or move values
///     clearReferences(package);      // everything is written in full
///     setTrueLengths(package);       // the length fields become correct
///     protocol.compile(package);
///
/// Why the last two are needed: the writers keep no tables. They write a reference wherever a node
/// records one, and write each length field as stored. After a value is removed, added or moved,
/// recorded indexes refer to other values, and stored lengths are wrong.
#ifndef AMF_EDIT_H
#define AMF_EDIT_H

#include <string_view>

#include "AMF2JSON.h"

/// Returns the value of the member `name` of `node`, an object or an array. In an object it finds
/// sealed and dynamic members. In an array it finds the members of an associative array (AMF0) or
/// of the associative part (AMF3). The value is not a copy: the tree owns it, and it is valid as
/// long as its pair.
///
/// Returns null if there is no such member, if its pair has no value, for a null `node`, and for a
/// node of any other kind. A member whose value is AMFNull is found: the result is that node.
///
/// If several members have the same name, the last one is found: a peer that assigns them in the
/// order of the packet keeps the last one, too. Names are compared byte by byte, including NUL
/// bytes. The members of the values of `node` are not searched. Time is linear in the number of
/// children. The call allocates nothing and throws nothing.
AMF2JSON_API const AMFNode* member(const AMFNode* node, std::string_view name) noexcept;

/// The same for a tree that the caller may change.
inline AMFNode* member(AMFNode* node, std::string_view name) noexcept {
  return const_cast<AMFNode*>(member(static_cast<const AMFNode*>(node), name));
}

/// Sets every `referenceIndex` and every `traitsIndex` in `tree` to AMFNode::kNoReference, so that
/// everything is written in full: the node, its children, and the names, values, URIs and class
/// names that pairs, headers, messages and objects own besides their children. For a null tree
/// nothing happens. The call allocates nothing and throws nothing. It recurses once for each level
/// of the tree, as the destructor does.
///
/// No value is lost: for each reference the reader made a full copy of its target. The packet grows
/// by those copies. Nothing else is changed:
/// - `sealedCount`, `dynamic` and `className` of an AMF3 object. The reader copied them, and the
///   names of the sealed members, from the object that has the traits. A host that
///   built an object with a `traitsIndex` and did not set them has to set them before this call.
/// - `externalizable`. It is false in an object that took its traits from an externalizable one,
///   because the reader does not copy that flag. Such an object is written as an ordinary object of
///   that class.
/// - `complete`. Only the reader uses it, and it is never written.
/// - `length` of headers and messages. Call setTrueLengths afterwards.
///
/// Clear whole headers and messages. A reference index counts the earlier values of the same header
/// or message. A value that is written in full in place of a reference becomes an entry, and so
/// changes the indexes of all later entries. A reference that remains in the same header or message
/// then refers to another value, or to none. To move a part of a tree, clear the part, the header
/// or message that it comes from, and the one that it goes to.
AMF2JSON_API void clearReferences(AMFNode* tree) noexcept;

/// Stores in every header and message of `package` the length of its value in the packet, in bytes:
/// the marker and the body, with the 11 before a switched value, but without the name, the URIs and
/// the length field. For a null package nothing happens.
///
/// To count the bytes, the call encodes the values one after another and keeps at most one of them
/// in memory. The length is that of the value as it is now. Later changes of the tree do not update
/// it.
///
/// Throws what setHeader and setMessage throw (also if `headerCount` is above the number of
/// children), and std::bad_alloc if an allocation fails or a value exceeds 2^32-2 bytes (2^32-1 in
/// the field means unknown). Nothing is stored then: all values are counted before the first field
/// is changed.
AMF2JSON_API void setTrueLengths(AMFPackage* package);

#endif  // AMF_EDIT_H
