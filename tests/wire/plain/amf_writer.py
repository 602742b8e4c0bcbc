# SPDX-License-Identifier: Apache-2.0
#
# Writes the values of one section, AMF0 and AMF3, as bytes, in the one way that the writer has for each value.
# Enter at section_bytes(). Tested by rows_test.py and self_test.py.
import struct

from wire_numbers import pack_double
from wire_values import (
    SMALL_MESSAGES, Amf3, Array, Boolean, ByteArray, Date, Dictionary, Double, Ecma, External, Integer, Null, Object,
    Reference, String, Undefined, Unsupported, Vector, Xml)

VECTOR_MARKERS = {"int": 0x0D, "uint": 0x0E, "double": 0x0F, "object": 0x10}


def section_bytes(form, content, marks):
    """The bytes of a section. `form` is "amf0" or "amf3" for a list of values, "sol0" or "sol3" for Entries."""
    writer = SectionWriter(marks)
    if form.startswith("sol"):
        writer.entries(content, form == "sol0")
    else:
        for value in content:
            writer.amf0(value) if form == "amf0" else writer.amf3(value)
    return bytes(writer.out)


def u29_bytes(number):
    """The shortest form of 0 to 2**29 - 1."""
    if number < 0x80:
        return bytes([number])
    if number < 0x4000:
        return bytes([number >> 7 | 0x80, number & 0x7F])
    if number < 0x200000:
        return bytes([number >> 14 | 0x80, number >> 7 & 0x7F | 0x80, number & 0x7F])
    return bytes([number >> 22 | 0x80, number >> 15 & 0x7F | 0x80, number >> 8 & 0x7F | 0x80, number & 0xFF])


def text16(data):
    return struct.pack(">H", len(data)) + data


def text32(data):
    return struct.pack(">I", len(data)) + data


class SectionWriter:
    def __init__(self, marks):
        self.marks = marks
        self.out = bytearray()
        self.amf0_indexes = {}  # id of the value -> index; the values outlive the writer
        self.object_indexes = {}
        self.strings = {}
        self.traits = {}

    def entries(self, content, in_amf0):
        if in_amf0:
            self.begin0(content)
        for name, value in content.members:
            if in_amf0:
                self.out += text16(name)
                self.amf0(value)
            else:
                self.string(name)
                self.amf3(value)
            self.out.append(0x00)

    # --- AMF0 ---

    def amf0(self, value):
        AMF0_WRITERS[type(value)](self, value)

    def begin0(self, value):
        self.amf0_indexes[id(value)] = len(self.amf0_indexes)

    def amf0_string(self, value):
        if len(value.data) <= 65535:
            self.out += b"\x02" + text16(value.data)
        else:
            self.out += b"\x0c" + text32(value.data)

    def amf0_members(self, members):
        for name, value in members:
            self.out += text16(name)
            self.amf0(value)
        self.out += b"\x00\x00\x09"

    def amf0_object(self, value):
        self.begin0(value)
        self.out += b"\x03" if value.class_name is None else b"\x10" + text16(value.class_name)
        self.amf0_members(value.members)

    def amf0_ecma(self, value):
        self.begin0(value)
        self.out += b"\x08" + struct.pack(">I", value.count)
        self.amf0_members(value.members)

    def amf0_strict(self, value):
        self.begin0(value)
        self.out += b"\x0a" + struct.pack(">I", len(value.items))
        for item in value.items:
            self.amf0(item)

    def amf0_reference(self, value):
        self.out += b"\x07" + struct.pack(">H", self.amf0_indexes[id(value.target)])

    def amf0_amf3(self, value):
        self.out.append(0x11)
        self.amf3(value.value)

    # --- AMF3 ---

    def amf3(self, value):
        AMF3_WRITERS[type(value)](self, value)

    def begin3(self, value):
        self.object_indexes[id(value)] = len(self.object_indexes)

    def u29(self, number):
        self.out += u29_bytes(number)

    def string(self, data):
        if not data:
            self.out.append(0x01)
        elif data in self.strings and self.marks.string_references:
            self.u29(self.strings[data] << 1)
        else:
            self.strings.setdefault(data, len(self.strings))
            self.u29(len(data) << 1 | 1)
            self.out += data

    def amf3_string(self, value):
        self.out.append(0x06)
        self.string(value.data)

    def amf3_integer(self, value):
        if self.marks.integers:
            self.out.append(0x04)
            self.u29(value.number & 0x1FFFFFFF)
        else:
            self.out += b"\x05" + pack_double(float(value.number))

    def amf3_data(self, marker, value):
        self.begin3(value)
        self.out.append(marker)
        self.u29(len(value.data) << 1 | 1)
        self.out += value.data

    def amf3_date(self, value):
        self.begin3(value)
        self.out += b"\x08\x01" + value.raw

    def amf3_array(self, value):
        self.begin3(value)
        self.out.append(0x09)
        self.u29(len(value.items) << 1 | 1)
        self.amf3_members(value.members)
        for item in value.items:
            self.amf3(item)

    def amf3_members(self, members):
        for name, value in members:
            self.string(name)
            self.amf3(value)
        self.string(b"")

    def object_head(self, class_name, external, dynamic, sealed):
        self.out.append(0x0A)
        traits = (class_name, external, dynamic, tuple(sealed))
        if traits in self.traits and self.marks.traits_references:
            self.u29(self.traits[traits] << 2 | 1)
            return
        self.traits.setdefault(traits, len(self.traits))
        self.u29(len(sealed) << 4 | dynamic << 3 | external << 2 | 3)
        self.string(class_name)
        for name in sealed:
            self.string(name)

    def amf3_object(self, value):
        self.begin3(value)
        sealed = value.members[:value.sealed]
        self.object_head(value.class_name, False, value.dynamic, [name for name, _ in sealed])
        for _, member in sealed:
            self.amf3(member)
        if value.dynamic:
            self.amf3_members(value.members[value.sealed:])

    def amf3_external(self, value):
        self.begin3(value)
        self.object_head(value.class_name, True, value.dynamic, [])
        if value.fields is None:
            for item in value.values:
                self.amf3(item)
        else:
            for group in range(len(SMALL_MESSAGES[value.class_name])):
                self.message_group([field for field in value.fields if field[0][0] == group])

    def message_group(self, fields):
        flags = [0]
        for (_, byte, bit), _ in fields:
            while len(flags) <= byte:
                flags[-1] |= 0x80
                flags.append(0)
            flags[byte] |= 1 << bit
        self.out += bytes(flags)
        for _, item in fields:
            self.amf3(item)

    def amf3_vector(self, value):
        self.begin3(value)
        self.out.append(VECTOR_MARKERS[value.kind])
        self.u29(len(value.items) << 1 | 1)
        self.out.append(1 if value.fixed else 0)
        if value.kind == "object":
            self.string(value.type_name)
        for item in value.items:
            if value.kind == "object":
                self.amf3(item)
            elif value.kind == "double":
                self.out += item
            else:
                self.out += struct.pack(">i" if value.kind == "int" else ">I", item)

    def amf3_dictionary(self, value):
        self.begin3(value)
        self.out.append(0x11)
        self.u29(len(value.pairs) << 1 | 1)
        self.out.append(1 if value.weak else 0)
        for key, item in value.pairs:
            self.amf3(key)
            self.amf3(item)

    def amf3_reference(self, value):
        self.out.append(amf3_marker(value.target))
        self.u29(self.object_indexes[id(value.target)] << 1)

    def put(self, data):
        self.out += data


def amf3_marker(value):
    if isinstance(value, Vector):
        return VECTOR_MARKERS[value.kind]
    if isinstance(value, Xml):
        return 0x07 if value.document else 0x0B
    return {Date: 0x08, Array: 0x09, Object: 0x0A, External: 0x0A, ByteArray: 0x0C, Dictionary: 0x11}[type(value)]


AMF0_WRITERS = {
    Double: lambda writer, value: writer.put(b"\x00" + value.raw),
    Boolean: lambda writer, value: writer.put(b"\x01\x01" if value.true else b"\x01\x00"),
    String: SectionWriter.amf0_string,
    Object: SectionWriter.amf0_object,
    Null: lambda writer, value: writer.put(b"\x05"),
    Undefined: lambda writer, value: writer.put(b"\x06"),
    Reference: SectionWriter.amf0_reference,
    Ecma: SectionWriter.amf0_ecma,
    Array: SectionWriter.amf0_strict,
    Date: lambda writer, value: writer.put(b"\x0b" + value.raw + struct.pack(">h", value.zone)),
    Unsupported: lambda writer, value: writer.put(b"\x0d"),
    Xml: lambda writer, value: writer.put(b"\x0f" + text32(value.data)),
    Amf3: SectionWriter.amf0_amf3,
}

AMF3_WRITERS = {
    Undefined: lambda writer, value: writer.put(b"\x00"),
    Null: lambda writer, value: writer.put(b"\x01"),
    Boolean: lambda writer, value: writer.put(b"\x03" if value.true else b"\x02"),
    Integer: SectionWriter.amf3_integer,
    Double: lambda writer, value: writer.put(b"\x05" + value.raw),
    String: SectionWriter.amf3_string,
    Xml: lambda writer, value: writer.amf3_data(0x07 if value.document else 0x0B, value),
    Date: SectionWriter.amf3_date,
    Array: SectionWriter.amf3_array,
    Object: SectionWriter.amf3_object,
    External: SectionWriter.amf3_external,
    ByteArray: lambda writer, value: writer.amf3_data(0x0C, value),
    Vector: SectionWriter.amf3_vector,
    Dictionary: SectionWriter.amf3_dictionary,
    Reference: SectionWriter.amf3_reference,
}
