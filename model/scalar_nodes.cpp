// SPDX-License-Identifier: Apache-2.0
//
// The nodes without owned memory: null, undefined, booleans, integers, doubles, dates.
// Tested by tests/model/model_test.cpp.
#include <cstring>

#include "AMF2JSON.h"
#include "memory/node_pool.h"

using namespace amf2json;

AMFNull::AMFNull(AMFVersion nodeVersion) : AMFNode(AMF_NULL, nodeVersion, nullptr) {}
AMFNull::AMFNull(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_NULL, nodeVersion, nodeParent) {}
AMFNull::AMFNull(const AMFNull& source) = default;
AMFNull::~AMFNull() = default;
AMFNull* AMFNull::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFUndefined::AMFUndefined(AMFVersion nodeVersion) : AMFNode(AMF_UNDEFINED, nodeVersion, nullptr) {}
AMFUndefined::AMFUndefined(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_UNDEFINED, nodeVersion, nodeParent) {}
AMFUndefined::AMFUndefined(const AMFUndefined& source) = default;
AMFUndefined::~AMFUndefined() = default;
AMFUndefined* AMFUndefined::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFBool::AMFBool(AMFVersion nodeVersion) : AMFNode(AMF_BOOL, nodeVersion, nullptr) {}
AMFBool::AMFBool(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_BOOL, nodeVersion, nodeParent) {}
// Copies the byte unchanged, because a host may have stored a value other than 0 and 1.
AMFBool::AMFBool(const AMFBool& source) : AMFNode(source) {
  std::memcpy(&value, &source.value, sizeof value);
}
AMFBool::~AMFBool() = default;
AMFBool* AMFBool::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFInt::AMFInt(AMFVersion nodeVersion) : AMFNode(AMF_INT, nodeVersion, nullptr) {}
AMFInt::AMFInt(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_INT, nodeVersion, nodeParent) {}
AMFInt::AMFInt(const AMFInt& source) = default;
AMFInt::~AMFInt() = default;
AMFInt* AMFInt::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFDouble::AMFDouble(AMFVersion nodeVersion) : AMFNode(AMF_DOUBLE, nodeVersion, nullptr) {}
AMFDouble::AMFDouble(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_DOUBLE, nodeVersion, nodeParent) {}
// Doubles are copied as bytes: on some machines, a floating-point register changes the bits of a
// NaN.
AMFDouble::AMFDouble(const AMFDouble& source) : AMFNode(source) {
  std::memcpy(&value, &source.value, sizeof value);
}
AMFDouble::~AMFDouble() = default;
AMFDouble* AMFDouble::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFDate::AMFDate(AMFVersion nodeVersion) : AMFNode(AMF_DATE, nodeVersion, nullptr) {}
AMFDate::AMFDate(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_DATE, nodeVersion, nodeParent) {}
AMFDate::AMFDate(const AMFDate& source) : AMFNode(source) {
  std::memcpy(&value, &source.value, sizeof value);
}
AMFDate::~AMFDate() = default;
AMFDate* AMFDate::clone() const {
  return allocatorOfThisThread().copy(*this);
}
