// SPDX-License-Identifier: Apache-2.0
//
// The class-name variables that decide which externalizable classes the AMF3 reader accepts.
// A host may repoint them. Tested by tests/codec/amf3_reader_test.cpp.
#include "AMF2JSON.h"

const char* cArrayClass = "flex.messaging.io.ArrayCollection";
const char* cObjProxyClass = "mx.utils.ObjectProxy";
const char* cSerialProxy = "flex.messaging.io.SerializationProxy";
const char* cAsyncMsg = "flex.messaging.messages.AsyncMessageExt";
// Kept: no ".messages" in this one; it is the name that peers are matched against.
const char* cCommandMsg = "flex.messaging.CommandMessageExt";
const char* cDataMsg = "flex.data.messages.DataMessageExt";
const char* cPagedMsg = "flex.data.messages.PagedMessageExt";
const char* cUpdateCollectMsg = "flex.data.messages.UpdateCollectionMessageExt";
