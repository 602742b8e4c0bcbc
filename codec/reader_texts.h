// SPDX-License-Identifier: Apache-2.0
//
// The error messages of the readers, one constant each. The guard reports the same constants, so
// that a host sees one text for one error. Odd spellings are part of the interface.
#pragma once

namespace amf2json::reader_texts {

// AMF0
inline constexpr char kUnknownAMF0Value[] = "getAMF0Value: unknown value type";
inline constexpr char kAMF0StringMarker[] =
    "getAMF0String(): unable to determine the string length";
inline constexpr char kAMF0ReferenceIndex[] = "getAMF0ByReference(): invalid reference index";
inline constexpr char kAMF0ReferenceNull[] = "getAMF0ByReference(): lack of referenced data";
inline constexpr char kAMF0XMLString[] = "getAMF0XML(): lack of XML string";
inline constexpr char kAMF0PairName[] = "getAMF0Pair(): lack of associative pair name";
inline constexpr char kAMF0ClassName[] = "getAMF0Object(): class name string data expected";
inline constexpr char kAMF0StrictArrayEnd[] =
    "getAMF0Array(): lack of strict array data or bad array size";
inline constexpr char kAMF0EcmaArrayEnd[] =
    "getAMF0Array(): lack of associative array property or bad array size";
inline constexpr char kUnknownAMF0Array[] = "getAMF0Array: unknown array type";

// AMF3
inline constexpr char kUnknownAMF3Value[] = "getAMF3Value(): unknown value type marker";
inline constexpr char kAMF3BoolMarker[] = "getAMF3Bool(): not a boolen type marker passed";
inline constexpr char kAMF3StringMarker[] = "getAMF3String(): an string type expected";
inline constexpr char kAMF3StringIndex[] = "getAMF3String(): invalid string reference index";
inline constexpr char kAMF3StringType[] =
    "getAMF3String(): not a string type node found in string reference table";
inline constexpr char kAMF3XMLMarker[] = "getAMF3XML(): not a XML type marker passed";
inline constexpr char kAMF3XMLIndex[] = "getAMF3XML(): invalid XML reference index";
inline constexpr char kAMF3XMLType[] = "getAMF3XML(): reference to the non XML type node";
inline constexpr char kAMF3DateIndex[] = "getAMF3Date(): invalid date reference index";
inline constexpr char kAMF3DateType[] = "getAMF3Date(): reference to the non date type node";
inline constexpr char kAMF3ByteArrayIndex[] =
    "getAMF3ByteArray(): invalid byte array reference index";
inline constexpr char kAMF3ByteArrayType[] =
    "getAMF3ByteArray(): reference to the non byte array type node";
inline constexpr char kAMF3PairName[] = "getAMF3Pair(): string type data expected";
inline constexpr char kAMF3PairValue[] = "getAMF3Pair(): lack of value type data";
inline constexpr char kAMF3ArrayIndex[] = "getAMF3Array(): invalid array reference index";
inline constexpr char kAMF3ArrayType[] = "getAMF3Array(): reference to the non array type node";
inline constexpr char kAMF3ArrayCircular[] = "getAMF3Array(): array circular reference";
inline constexpr char kAMF3ArrayValue[] = "getAMF3Array(): lack of data in array or bad array size";
inline constexpr char kAMF3ObjectIndex[] = "getAMF3Object(): invalid objects reference index";
inline constexpr char kAMF3ObjectType[] = "getAMF3Object(): reference to the non object type node";
inline constexpr char kAMF3ObjectCircular[] = "getAMF3Object(): objects circular reference";
inline constexpr char kAMF3TraitsIndex[] = "getAMF3Object(): traits reference index is invalid";
inline constexpr char kAMF3SealedCount[] = "getAMF3Object(): bad amount of sealed properties";
inline constexpr char kAMF3MemberName[] = "getAMF3Object(): lack of string type property name data";
inline constexpr char kAMF3ClassName[] = "getAMF3Object(): lack of class name string type data";
inline constexpr char kAMF3Externalizable[] =
    "getAMF3Object(): unsupported externalizable class type";
inline constexpr char kAMF3MemberValue[] = "getAMF3Object(): lack of objects property value";

}  // namespace amf2json::reader_texts
