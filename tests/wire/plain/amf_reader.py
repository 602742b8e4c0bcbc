# SPDX-License-Identifier: Apache-2.0
#
# Reads the values of one section, AMF0 and AMF3, from bytes. Enter at SectionReader.amf0(), .amf3(), .entries().
# Tested by rows_test.py and self_test.py.
import struct

from wire_numbers import MINUS_ZERO, unpack_double
from wire_values import (
    INTEGER_MAX, INTEGER_MIN, MAX_DEPTH, MAX_FLAG_BYTES, SMALL_MESSAGES, Amf3, Array, Boolean, ByteArray, BytesError,
    Date, Dictionary, Double, Ecma, Entries, External, Integer, Marks, Null, Object, Reference, String, Undefined,
    Unsupported, Vector, Xml)

REFUSED_AMF0 = {
    0x04: "movie clip (04) is reserved",
    0x09: "object end (09) without an object",
    0x0E: "record set (0E) is reserved",
}
VECTOR_KINDS = {0x0D: "int", 0x0E: "uint", 0x0F: "double", 0x10: "object"}


class Cursor:
    """The primitives: each reads one field at `pos` and names the field's first byte where it does not fit."""

    def __init__(self, data, pos, end):
        self.data = data
        self.pos = pos
        self.end = end

    def take(self, length, what):
        if length > self.end - self.pos:
            raise BytesError(self.pos, "%s of %d bytes does not fit, %d remain" % (what, length, self.end - self.pos))
        start = self.pos
        self.pos += length
        return self.data[start:self.pos]

    def u8(self, what):
        return self.take(1, what)[0]

    def u16(self, what):
        return int.from_bytes(self.take(2, what), "big")

    def u32(self, what):
        return int.from_bytes(self.take(4, what), "big")

    def text16(self, what):
        return self.take(self.u16("length of " + what), what)

    def text32(self, what):
        return self.take(self.u32("length of " + what), what)

    def u29(self, what):
        start = self.pos
        number = 0
        for index in range(4):
            if self.pos == self.end:
                raise BytesError(start, "%s (U29) is cut" % what)
            byte = self.data[self.pos]
            self.pos += 1
            if index == 3:
                return number << 8 | byte
            number = number << 7 | byte & 0x7F
            if byte < 0x80:
                return number
        raise AssertionError("unreachable")


class SectionReader(Cursor):
    """One section: the tables, the depth and the facts that its marks follow from."""

    def __init__(self, data, pos, end, externals):
        super().__init__(data, pos, end)
        self.externals = externals
        self.depth = 0
        self.begun = []  # all referable values, in the order in which they begin
        self.amf0_table = []
        self.strings = []
        self.string_set = set()
        self.traits = []
        self.traits_set = set()
        self.objects = []  # (marker, value)
        self.strings_repeat = self.strings_referred = False
        self.traits_repeat = self.traits_referred = False
        self.has_integer = self.has_whole_double = False

    def marks(self):
        return Marks(
            not (self.strings_repeat and not self.strings_referred),
            not (self.traits_repeat and not self.traits_referred),
            not (self.has_whole_double and not self.has_integer))

    def enter(self, offset):
        if self.depth == MAX_DEPTH:
            raise BytesError(offset, "deeper than %d levels" % MAX_DEPTH)
        self.depth += 1

    def leave(self):
        self.depth -= 1

    # --- AMF0 ---

    def amf0(self):
        at = self.pos
        marker = self.u8("marker")
        read = AMF0_READERS.get(marker)
        if read is None:
            raise BytesError(at, REFUSED_AMF0.get(marker, "unknown AMF0 marker %02X" % marker))
        return read(self, at)

    def begin0(self, at, value):
        self.enter(at)
        self.amf0_table.append(value)
        self.begun.append(value)
        return value

    def amf0_members(self, value):
        while True:
            name = self.text16("member name")
            if self.pos < self.end and self.data[self.pos] == 0x09:
                if name:
                    raise BytesError(self.pos, "object end (09) behind a name that is not empty")
                self.pos += 1
                break
            value.members.append((name, self.amf0()))
        self.leave()
        return value

    def amf0_object(self, at):
        return self.amf0_members(self.begin0(at, Object(None)))

    def amf0_typed_object(self, at):
        value = self.begin0(at, Object(None))
        value.class_name = self.text16("class name")
        return self.amf0_members(value)

    def amf0_ecma(self, at):
        value = self.begin0(at, Ecma(0))
        value.count = self.u32("count")
        return self.amf0_members(value)

    def amf0_strict(self, at):
        value = self.begin0(at, Array())
        for _ in range(self.u32("count")):
            value.items.append(self.amf0())
        self.leave()
        return value

    def amf0_reference(self, _):
        at = self.pos
        index = self.u16("reference")
        if index >= len(self.amf0_table):
            raise BytesError(at, "reference %d, but %d values have begun" % (index, len(self.amf0_table)))
        self.amf0_table[index].pointed = True
        return Reference(self.amf0_table[index])

    def amf0_date(self, _):
        raw = self.take(8, "date")
        return Date(raw, struct.unpack(">h", self.take(2, "time zone"))[0])

    # --- Shared objects ---

    def entries(self, version, stop=None):
        """Entries up to the end, or up to `stop` if one ends exactly there or none has begun."""
        value = Entries()
        self.begun.append(value)
        if version == 0:
            self.amf0_table.append(value)
        while self.pos < self.end and self.pos != stop:
            name = self.text16("entry name") if version == 0 else self.string("entry name")
            value.members.append((name, self.amf0() if version == 0 else self.amf3()))
            if self.pos == self.end:
                break
            if self.data[self.pos] != 0:
                raise BytesError(self.pos, "00 expected behind an entry, %02X found" % self.data[self.pos])
            self.pos += 1
        return value

    # --- AMF3 ---

    def amf3(self):
        at = self.pos
        marker = self.u8("marker")
        read = AMF3_READERS.get(marker)
        if read is None:
            raise BytesError(at, "unknown AMF3 marker %02X" % marker)
        return read(self, at, marker)

    def string(self, what):
        at = self.pos
        head = self.u29(what)
        if head & 1 == 0:
            if head >> 1 >= len(self.strings):
                raise BytesError(at, "%s: string reference %d of %d" % (what, head >> 1, len(self.strings)))
            self.strings_referred = True
            return self.strings[head >> 1]
        data = self.take(head >> 1, what)
        if data:
            self.strings_repeat = self.strings_repeat or data in self.string_set
            self.strings.append(data)
            self.string_set.add(data)
        return data

    def reference_or_head(self, marker, what):
        """(Reference, None), or (None, what stands in the U29 above bit 0)."""
        at = self.pos
        head = self.u29(what)
        if head & 1:
            return None, head >> 1
        return self.object_reference(at, marker, head >> 1), None

    def object_reference(self, at, marker, index):
        if index >= len(self.objects):
            raise BytesError(at, "object reference %d of %d" % (index, len(self.objects)))
        kind, value = self.objects[index]
        if kind != marker:
            raise BytesError(at, "object reference %d of marker %02X leads to marker %02X" % (index, marker, kind))
        value.pointed = True
        return Reference(value)

    def begin3(self, marker, value):
        self.objects.append((marker, value))
        self.begun.append(value)
        return value

    def amf3_integer(self, _at, _marker):
        self.has_integer = True
        number = self.u29("integer")
        return Integer(number - (1 << 29) if number > INTEGER_MAX else number)

    def amf3_double(self, _at, _marker):
        raw = self.take(8, "double")
        number = unpack_double(raw)
        if INTEGER_MIN <= number <= INTEGER_MAX and number == int(number) and raw != MINUS_ZERO:
            self.has_whole_double = True
        return Double(raw)

    def amf3_xml(self, _at, marker):
        reference, length = self.reference_or_head(marker, "XML")
        return reference or self.begin3(marker, Xml(self.take(length, "XML"), marker == 0x07))

    def amf3_date(self, _at, marker):
        reference, _ = self.reference_or_head(marker, "date")
        return reference or self.begin3(marker, Date(self.take(8, "date")))

    def amf3_bytes(self, _at, marker):
        reference, length = self.reference_or_head(marker, "byte array")
        return reference or self.begin3(marker, ByteArray(self.take(length, "byte array")))

    def amf3_array(self, at, marker):
        reference, count = self.reference_or_head(marker, "array")
        if reference:
            return reference
        self.enter(at)
        value = self.begin3(marker, Array())
        self.amf3_members(value)
        for _ in range(count):
            value.items.append(self.amf3())
        self.leave()
        return value

    def amf3_members(self, value):
        while True:
            name = self.string("member name")
            if not name:
                return
            value.members.append((name, self.amf3()))

    def amf3_object(self, at, marker):
        head_at = self.pos
        head = self.u29("object")
        if head & 1 == 0:
            return self.object_reference(head_at, marker, head >> 1)
        self.enter(at)
        class_name, external, dynamic, sealed = self.object_traits(head_at, head)
        if external:
            value = self.begin3(marker, External(class_name, dynamic))
            self.external_body(value)
        else:
            value = self.begin3(marker, Object(class_name))
            value.sealed = len(sealed)
            value.dynamic = dynamic
            for name in sealed:
                value.members.append((name, self.amf3()))
            if dynamic:
                self.amf3_members(value)
        self.leave()
        return value

    def object_traits(self, at, head):
        if head & 2 == 0:
            index = head >> 2
            if index >= len(self.traits):
                raise BytesError(at, "traits reference %d of %d" % (index, len(self.traits)))
            self.traits_referred = True
            return self.traits[index]
        class_name = self.string("class name")
        external = head & 4 != 0
        sealed = []
        for _ in range(head >> 4):
            sealed.append(self.string("sealed name"))
        traits = (class_name, external, head & 8 != 0, tuple(sealed))
        self.traits_repeat = self.traits_repeat or traits in self.traits_set
        self.traits.append(traits)
        self.traits_set.add(traits)
        return traits

    def external_body(self, value):
        count = self.externals.get(value.class_name)
        groups = SMALL_MESSAGES.get(value.class_name)
        if count is not None:
            value.values = []
            for _ in range(count):
                value.values.append(self.amf3())
        elif groups is not None:
            value.fields = []
            for group in range(len(groups)):
                self.message_group(value, group)
        else:
            shown = value.class_name.decode("utf-8", "backslashreplace")
            raise BytesError(self.pos, "unknown externalizable class %s" % shown)

    def message_group(self, value, group):
        flags = []
        while not flags or flags[-1] & 0x80:
            if len(flags) == MAX_FLAG_BYTES:
                raise BytesError(self.pos, "more than %d flag bytes" % MAX_FLAG_BYTES)
            flags.append(self.u8("flag byte"))
        for byte, flag in enumerate(flags):
            for bit in range(7):
                if flag >> bit & 1:
                    value.fields.append(((group, byte, bit), self.amf3()))

    def amf3_vector(self, at, marker):
        reference, count = self.reference_or_head(marker, "vector")
        if reference:
            return reference
        value = Vector(VECTOR_KINDS[marker])
        if value.kind == "object":
            self.enter(at)
        self.begin3(marker, value)
        value.fixed = self.u8("fixed") != 0
        if value.kind == "object":
            value.type_name = self.string("type name")
        read = VECTOR_ITEMS[value.kind]
        for _ in range(count):
            value.items.append(read(self))
        if value.kind == "object":
            self.leave()
        return value

    def amf3_dictionary(self, at, marker):
        reference, count = self.reference_or_head(marker, "dictionary")
        if reference:
            return reference
        self.enter(at)
        value = self.begin3(marker, Dictionary(False))
        value.weak = self.u8("weak") != 0
        for _ in range(count):
            key = self.amf3()
            value.pairs.append((key, self.amf3()))
        self.leave()
        return value


VECTOR_ITEMS = {
    "int": lambda reader: struct.unpack(">i", reader.take(4, "item"))[0],
    "uint": lambda reader: reader.u32("item"),
    "double": lambda reader: reader.take(8, "item"),
    "object": SectionReader.amf3,
}

AMF0_READERS = {
    0x00: lambda reader, _: Double(reader.take(8, "number")),
    0x01: lambda reader, _: Boolean(reader.u8("boolean") != 0),
    0x02: lambda reader, _: String(reader.text16("string")),
    0x03: SectionReader.amf0_object,
    0x05: lambda _reader, _: Null(),
    0x06: lambda _reader, _: Undefined(),
    0x07: SectionReader.amf0_reference,
    0x08: SectionReader.amf0_ecma,
    0x0A: SectionReader.amf0_strict,
    0x0B: SectionReader.amf0_date,
    0x0C: lambda reader, _: String(reader.text32("string")),
    0x0D: lambda _reader, _: Unsupported(),
    0x0F: lambda reader, _: Xml(reader.text32("XML document"), True),
    0x10: SectionReader.amf0_typed_object,
    0x11: lambda reader, _: Amf3(reader.amf3()),
}

AMF3_READERS = {
    0x00: lambda _reader, _at, _marker: Undefined(),
    0x01: lambda _reader, _at, _marker: Null(),
    0x02: lambda _reader, _at, _marker: Boolean(False),
    0x03: lambda _reader, _at, _marker: Boolean(True),
    0x04: SectionReader.amf3_integer,
    0x05: SectionReader.amf3_double,
    0x06: lambda reader, _at, _marker: String(reader.string("string")),
    0x07: SectionReader.amf3_xml,
    0x08: SectionReader.amf3_date,
    0x09: SectionReader.amf3_array,
    0x0A: SectionReader.amf3_object,
    0x0B: SectionReader.amf3_xml,
    0x0C: SectionReader.amf3_bytes,
    0x0D: SectionReader.amf3_vector,
    0x0E: SectionReader.amf3_vector,
    0x0F: SectionReader.amf3_vector,
    0x10: SectionReader.amf3_vector,
    0x11: SectionReader.amf3_dictionary,
}
