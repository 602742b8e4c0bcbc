// SPDX-License-Identifier: Apache-2.0
//
// What a generated packet can contain: every marker, reference, traits form, length step and odd
// value, by name, so that a run can report how often each of them was met. Filled by
// packet_generator.cpp, reported by random_packets.cpp.
#ifndef TESTS_SUPPORT_PACKET_FEATURES_H
#define TESTS_SUPPORT_PACKET_FEATURES_H

#include <bitset>

namespace packets {

// Identifier, name, whether it is rare: a common feature must be in at least one packet of a
// hundred, a rare one (large or slow to check) is only counted.
#define PACKET_FEATURES(X)                                                         \
  X(kHeaders0, "envelope: no header", false)                                       \
  X(kHeaders1, "envelope: 1 header", false)                                        \
  X(kHeaders2, "envelope: 2 headers", false)                                       \
  X(kHeaders3, "envelope: 3 headers", false)                                       \
  X(kMessages0, "envelope: no message", false)                                     \
  X(kMessages1, "envelope: 1 message", false)                                      \
  X(kMessages2, "envelope: 2 messages", false)                                     \
  X(kMessages3, "envelope: 3 messages", false)                                     \
  X(kMessages4, "envelope: 4 messages", false)                                     \
  X(kVersion0, "envelope: version 0", false)                                       \
  X(kVersion3, "envelope: version 3", false)                                       \
  X(kVersionOther, "envelope: other version", false)                               \
  X(kMustUnderstand00, "envelope: must-understand 00", false)                      \
  X(kMustUnderstand01, "envelope: must-understand 01", false)                      \
  X(kMustUnderstandOther, "envelope: must-understand 02-FF", false)                \
  X(kLengthExact, "envelope: exact length", false)                                 \
  X(kLengthUnknown, "envelope: length FFFFFFFF", false)                            \
  X(kLengthWrong, "envelope: wrong length", false)                                 \
  X(kBodyEndMark, "envelope: end mark as body", false)                             \
  X(kAmf0Marker00, "AMF0 marker 00 number", false)                                 \
  X(kAmf0Marker01, "AMF0 marker 01 boolean", false)                                \
  X(kAmf0Marker02, "AMF0 marker 02 string", false)                                 \
  X(kAmf0Marker03, "AMF0 marker 03 object", false)                                 \
  X(kAmf0Marker05, "AMF0 marker 05 null", false)                                   \
  X(kAmf0Marker06, "AMF0 marker 06 undefined", false)                              \
  X(kAmf0Marker07, "AMF0 marker 07 reference", false)                              \
  X(kAmf0Marker08, "AMF0 marker 08 ECMA array", false)                             \
  X(kAmf0Marker09, "AMF0 marker 09 object end", false)                             \
  X(kAmf0Marker0A, "AMF0 marker 0A strict array", false)                           \
  X(kAmf0Marker0B, "AMF0 marker 0B date", false)                                   \
  X(kAmf0Marker0C, "AMF0 marker 0C long string", false)                            \
  X(kAmf0Marker0F, "AMF0 marker 0F XML document", false)                           \
  X(kAmf0Marker10, "AMF0 marker 10 typed object", false)                           \
  X(kAmf0Marker11, "AMF0 marker 11 switch to AMF3", false)                         \
  X(kAmf0BoolOther, "AMF0 boolean byte 02-FF", false)                              \
  X(kAmf0EndMarkNamed, "AMF0 end mark with a name", false)                         \
  X(kAmf0EmptyClassName, "AMF0 typed object without a class name", false)          \
  X(kAmf0EmptyObject, "AMF0 object without members", false)                        \
  X(kAmf0EmptyArray, "AMF0 array without elements", false)                         \
  X(kAmf0ZoneNotZero, "AMF0 date with a time zone", false)                         \
  X(kAmf0ObjectReference, "AMF0 reference to an object", false)                    \
  X(kAmf0EcmaReference, "AMF0 reference to an ECMA array", false)                  \
  X(kAmf0StrictReference, "AMF0 reference to a strict array", false)               \
  X(kAmf0NestedReference, "AMF0 reference to a value with a reference", false)     \
  X(kAmf3Marker00, "AMF3 marker 00 undefined", false)                              \
  X(kAmf3Marker01, "AMF3 marker 01 null", false)                                   \
  X(kAmf3Marker02, "AMF3 marker 02 false", false)                                  \
  X(kAmf3Marker03, "AMF3 marker 03 true", false)                                   \
  X(kAmf3Marker04, "AMF3 marker 04 integer", false)                                \
  X(kAmf3Marker05, "AMF3 marker 05 double", false)                                 \
  X(kAmf3Marker06, "AMF3 marker 06 string", false)                                 \
  X(kAmf3Marker07, "AMF3 marker 07 XML document", false)                           \
  X(kAmf3Marker08, "AMF3 marker 08 date", false)                                   \
  X(kAmf3Marker09, "AMF3 marker 09 array", false)                                  \
  X(kAmf3Marker0A, "AMF3 marker 0A object", false)                                 \
  X(kAmf3Marker0B, "AMF3 marker 0B XML", false)                                    \
  X(kAmf3Marker0C, "AMF3 marker 0C byte array", false)                             \
  X(kStringReferenceValue, "AMF3 string reference as a value", false)              \
  X(kStringReferenceMember, "AMF3 string reference as a member name", false)       \
  X(kStringReferenceSealed, "AMF3 string reference as a sealed name", false)       \
  X(kStringReferenceClass, "AMF3 string reference as a class name", false)         \
  X(kXmlReference, "AMF3 object reference to XML", false)                          \
  X(kXmlReferenceOtherMarker, "AMF3 XML reference under the other marker", false)  \
  X(kDateReference, "AMF3 object reference to a date", false)                      \
  X(kRawReference, "AMF3 object reference to a byte array", false)                 \
  X(kArrayReference, "AMF3 object reference to an array", false)                   \
  X(kObjectReference, "AMF3 object reference to an object", false)                 \
  X(kReferenceAfterSwitch, "AMF3 reference directly after a switch", false)        \
  X(kReferenceAcrossSwitches, "AMF3 reference across two switches", false)         \
  X(kTraitsReference, "AMF3 traits reference", false)                              \
  X(kTraitsReferenceOpen, "AMF3 traits reference to an open object", false)        \
  X(kTraitsReferenceExternal, "AMF3 traits reference to an externalizable", false) \
  X(kTraitsAnonymous, "AMF3 traits: anonymous", false)                             \
  X(kTraitsTyped, "AMF3 traits: typed", false)                                     \
  X(kTraitsEmpty, "AMF3 traits: neither sealed nor dynamic", false)                \
  X(kTraitsSealed, "AMF3 traits: sealed only", false)                              \
  X(kTraitsDynamic, "AMF3 traits: dynamic only", false)                            \
  X(kTraitsSealedDynamic, "AMF3 traits: sealed and dynamic", false)                \
  X(kTraitsEmptyName, "AMF3 traits: sealed name empty", false)                     \
  X(kExternal0, "AMF3 externalizable: ArrayCollection", false)                     \
  X(kExternal1, "AMF3 externalizable: ObjectProxy", false)                         \
  X(kExternal2, "AMF3 externalizable: SerializationProxy", false)                  \
  X(kExternal3, "AMF3 externalizable: AsyncMessageExt", false)                     \
  X(kExternal4, "AMF3 externalizable: CommandMessageExt", false)                   \
  X(kExternal5, "AMF3 externalizable: DataMessageExt", false)                      \
  X(kExternal6, "AMF3 externalizable: PagedMessageExt", false)                     \
  X(kExternal7, "AMF3 externalizable: UpdateCollectionMessageExt", false)          \
  X(kExternalBits, "AMF3 externalizable with sealed or dynamic bits", false)       \
  X(kArrayEmpty, "AMF3 array: empty", false)                                       \
  X(kArrayDense, "AMF3 array: dense only", false)                                  \
  X(kArrayAssociative, "AMF3 array: associative only", false)                      \
  X(kArrayMixed, "AMF3 array: both parts", false)                                  \
  X(kInteger1, "U29 integer: 1 byte", false)                                       \
  X(kInteger2, "U29 integer: 2 bytes", false)                                      \
  X(kInteger3, "U29 integer: 3 bytes", false)                                      \
  X(kInteger4, "U29 integer: 4 bytes", false)                                      \
  X(kIntegerNegative4, "U29 integer: 4 bytes, the last 80-FF", false)              \
  X(kLength1, "U29 length: 1 byte", false)                                         \
  X(kLength2, "U29 length: 2 bytes", false)                                        \
  X(kLength3, "U29 length: 3 bytes", false)                                        \
  X(kLength4, "U29 length: 4 bytes", false)                                        \
  X(kLengthNegative4, "U29 length: 4 bytes, the last 80-FF", false)                \
  X(kCount1, "U29 dense count: 1 byte", false)                                     \
  X(kCount2, "U29 dense count: 2 bytes", false)                                    \
  X(kCount3, "U29 dense count: 3 bytes", false)                                    \
  X(kCount4, "U29 dense count: 4 bytes", false)                                    \
  X(kCountNegative4, "U29 dense count: 4 bytes, the last 80-FF", true)             \
  X(kIndex1, "U29 reference: 1 byte", false)                                       \
  X(kIndex2, "U29 reference: 2 bytes", false)                                      \
  X(kIndex3, "U29 reference: 3 bytes", false)                                      \
  X(kIndex4, "U29 reference: 4 bytes", false)                                      \
  X(kIndexNegative4, "U29 reference: 4 bytes, the last 80-FF", true)               \
  X(kTraits1, "U29 traits: 1 byte", false)                                         \
  X(kTraits2, "U29 traits: 2 bytes", false)                                        \
  X(kTraits3, "U29 traits: 3 bytes", false)                                        \
  X(kTraits4, "U29 traits: 4 bytes", false)                                        \
  X(kTraitsNegative4, "U29 traits: 4 bytes, the last 80-FF", true)                 \
  X(kIndexMinimal2, "reference index of 64 and more", false)                       \
  X(kIndexMinimal3, "reference index of 8192 and more", true)                      \
  X(kBytes0, "bytes: none", false)                                                 \
  X(kBytes63, "bytes: 63", false)                                                  \
  X(kBytes64, "bytes: 64", false)                                                  \
  X(kBytes127, "bytes: 127", false)                                                \
  X(kBytes128, "bytes: 128", false)                                                \
  X(kBytes399, "bytes: 399", false)                                                \
  X(kBytes400, "bytes: 400", false)                                                \
  X(kBytes8191, "bytes: 8191", false)                                              \
  X(kBytes8192, "bytes: 8192", false)                                              \
  X(kBytes16383, "bytes: 16383", false)                                            \
  X(kBytes16384, "bytes: 16384", false)                                            \
  X(kBytes65535, "bytes: 65535", false)                                            \
  X(kBytes65536, "bytes: 65536", false)                                            \
  X(kBytes1048575, "bytes: 1048575", true)                                         \
  X(kBytes1048576, "bytes: 1048576", true)                                         \
  X(kTextQuotes, "text: quotes and backslashes", false)                            \
  X(kTextControls, "text: control bytes, NUL", false)                              \
  X(kTextComments, "text: comment marks", false)                                   \
  X(kTextUtf8, "text: multi-byte characters", false)                               \
  X(kTextAnyBytes, "text: any bytes", false)                                       \
  X(kDoubleOrdinary, "double: ordinary", false)                                    \
  X(kDoubleZero, "double: 0 or -0", false)                                         \
  X(kDoubleNan, "double: NaN", false)                                              \
  X(kDoubleNegativeNan, "double: NaN with sign and payload", false)                \
  X(kDoubleInfinity, "double: infinity", false)                                    \
  X(kDoubleNegativeInfinity, "double: -infinity", false)                           \
  X(kDoubleTiny, "double: denormal", false)                                        \
  X(kDoubleHuge, "double: above 1e300", false)                                     \
  X(kDoubleAnyBits, "double: any bits", false)                                     \
  X(kDateOrdinary, "date: 1970 to 2100", false)                                    \
  X(kDateEarly, "date: before 1970", false)                                        \
  X(kDateFar, "date: from year 10000", false)                                      \
  X(kDateOdd, "date: any double", false)                                           \
  X(kDeep, "20 levels and more", false)                                            \
  X(kWide, "100 elements and more", false)

enum Feature : unsigned {
#define PACKET_FEATURE_ID(id, name, rare) id,
  PACKET_FEATURES(PACKET_FEATURE_ID)
#undef PACKET_FEATURE_ID
      kFeatureCount
};

using FeatureSet = std::bitset<kFeatureCount>;

struct FeatureText {
  const char* name;
  bool rare;
};

inline FeatureText featureText(unsigned feature) {
  static const FeatureText texts[] = {
#define PACKET_FEATURE_TEXT(id, name, rare) {name, rare},
      PACKET_FEATURES(PACKET_FEATURE_TEXT)
#undef PACKET_FEATURE_TEXT
  };
  return texts[feature];
}

}  // namespace packets

#endif  // TESTS_SUPPORT_PACKET_FEATURES_H
