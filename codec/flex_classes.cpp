// SPDX-License-Identifier: Apache-2.0
//
// The class-name variables that decide which externalizable classes the AMF3 reader accepts.
// A host may change these variables. Tested by tests/codec/amf3_reader_test.cpp.
#include "AMF2JSON.h"

const char* cArrayClass = "flex.messaging.io.ArrayCollection";
const char* cObjProxyClass = "mx.utils.ObjectProxy";
const char* cSerialProxy = "flex.messaging.io.SerializationProxy";
const char* cAsyncMsg = "flex.messaging.messages.AsyncMessageExt";
// Kept: no ".messages" in this name. Class names of peers are compared with exactly this text.
const char* cCommandMsg = "flex.messaging.CommandMessageExt";
const char* cDataMsg = "flex.data.messages.DataMessageExt";
const char* cPagedMsg = "flex.data.messages.PagedMessageExt";
const char* cUpdateCollectMsg = "flex.data.messages.UpdateCollectionMessageExt";
