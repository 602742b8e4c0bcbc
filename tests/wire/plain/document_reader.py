# SPDX-License-Identifier: Apache-2.0
#
# Reads whole inputs from bytes: packets, bare values, shared objects and FLV files. Enter at read_document().
# Tested by rows_test.py and self_test.py.
from amf_reader import Cursor, SectionReader
from amf_writer import section_bytes
from wire_values import MAX_PACKET_BYTES, BytesError, Document, Part, Section

UNKNOWN_LENGTH = 0xFFFFFFFF
FLV_ENCRYPTED = 0x20
FLV_TYPE = 0x1F
FLV_SCRIPT = 18
FLV_SCRIPT_AMF3 = 15


def form_of(data):
    """The form that the first bytes show."""
    if data[:3] == b"FLV":
        return "flv"
    if data[:2] == b"\x00\xbf" and data[6:10] == b"TCSO":
        return "sol"
    return "packet"


def read_document(data, form, externals, salvage):
    """Reads `data` as one of the forms. Throws BytesError."""
    if len(data) > MAX_PACKET_BYTES:
        raise BytesError(MAX_PACKET_BYTES, "more than %d bytes" % MAX_PACKET_BYTES)
    if form == "packet":
        return PacketReader(data, externals, salvage).packet()
    if form == "flv":
        return FlvReader(data, externals, salvage).flv()
    if form == "sol":
        return read_shared_object(data, externals, salvage)
    document = Document(form)
    read_only_section(document, form, data, 0, externals, salvage)
    return document


def read_only_section(document, form, data, start, externals, salvage, stop=None):
    """Reads the one section of a run of values or a shared object; returns the offset behind it. With salvage, a
    section that cannot be read is empty, and its bytes are `trailing`."""
    try:
        document.section, end = read_section(form, data, start, len(data), externals, stop)
    except BytesError as error:
        if not salvage:
            raise
        document.section, end = read_section(form, data, start, start, externals)
        document.error = str(error)
    document.trailing = data[end:]
    return end


def changed_sections(document):
    """How many sections import writes with other bytes where the text has no originals."""
    sections = [part.section for part in document.headers + document.messages]
    if document.section is not None:
        sections.append(document.section)
    return sum(section.original is not None for section in sections)


def read_section(form, data, start, end, externals, stop=None):
    """(Section, offset behind it). `form` is "value" (one AMF0 value), "amf0", "amf3", "sol0" or "sol3"."""
    reader = SectionReader(data, start, end, externals)
    if form == "value":
        content = [reader.amf0()]
    elif form.startswith("sol"):
        content = reader.entries(0 if form == "sol0" else 3, stop)
    else:
        content = []
        while reader.pos < end:
            content.append(reader.amf0() if form == "amf0" else reader.amf3())
    section = Section()
    section.content = content
    section.begun = reader.begun
    section.marks = reader.marks()
    number_pointed(section)
    raw = data[start:reader.pos]
    if section_bytes("amf0" if form == "value" else form, content, section.marks) != raw:
        section.original = raw
    return section, reader.pos


def number_pointed(section):
    number = 0
    for value in section.begun:
        if value.pointed:
            number += 1
            value.id = number


def read_shared_object(data, externals, salvage):
    cursor = Cursor(data, 0, len(data))
    fixed_bytes(cursor, b"\x00\xbf", "00 BF")
    size = cursor.u32("size")
    stop = cursor.pos + size
    fixed_bytes(cursor, b"TCSO", "TCSO")
    fixed_bytes(cursor, b"\x00\x04\x00\x00\x00\x00", "00 04 00 00 00 00")
    document = Document("sol")
    document.name = cursor.text16("name")
    at = cursor.pos
    document.version = cursor.u32("AMF version")
    if document.version not in (0, 3):
        raise BytesError(at, "AMF version %d, 0 or 3 expected" % document.version)
    form = "sol%d" % document.version
    end = read_only_section(document, form, data, cursor.pos, externals, salvage, stop)
    if size != end - 6:
        document.size = size
    return document


def fixed_bytes(cursor, expected, what):
    at = cursor.pos
    if cursor.take(len(expected), what) != expected:
        raise BytesError(at, "%s expected" % what)


class PacketReader(Cursor):
    def __init__(self, data, externals, salvage):
        super().__init__(data, 0, len(data))
        self.externals = externals
        self.salvage = salvage

    def packet(self):
        document = Document("packet")
        document.version = self.u16("version")
        header_count = self.u16("number of headers")
        if not self.parts(document, document.headers, header_count, self.header):
            document.header_count = header_count
            return document
        message_count = self.u16("number of messages")
        if not self.parts(document, document.messages, message_count, self.message):
            document.message_count = message_count
            return document
        document.trailing = self.data[self.pos:]
        return document

    def parts(self, document, parts, count, read):
        """Reads all headers or messages. With salvage, false where the rest of the packet became `trailing`."""
        for _ in range(count):
            start = self.pos
            try:
                parts.append(read())
            except BytesError as error:
                if not self.salvage:
                    raise
                document.trailing = self.data[start:]
                document.error = str(error)
                return False
        return True

    def header(self):
        name = self.text16("header name")
        must_understand = self.u8("must-understand")
        part = self.body()
        part.name = name
        part.must_understand = must_understand
        return part

    def message(self):
        target = self.text16("target")
        response = self.text16("response")
        part = self.body()
        part.target = target
        part.response = response
        return part

    def body(self):
        declared = self.u32("length")
        start = self.pos
        try:
            section, self.pos = read_section("value", self.data, start, self.end, self.externals)
        except BytesError as error:
            if not self.salvage or declared > self.end - start:
                raise
            self.pos = start + declared
            return Part(raw_section(self.data[start:self.pos], error))
        part = Part(section)
        if declared != self.pos - start:
            part.length = declared
        return part


def raw_section(raw, error):
    section = Section()
    section.raw = raw
    section.error = str(error)
    return section


class FlvReader(Cursor):
    def __init__(self, data, externals, salvage):
        super().__init__(data, 0, len(data))
        self.externals = externals
        self.salvage = salvage

    def flv(self):
        document = Document("flv")
        fixed_bytes(self, b"FLV", "FLV")
        self.u8("version")
        self.u8("flags")
        at = self.pos
        start = self.u32("header size")
        if start < self.pos:
            raise BytesError(at, "header size %d, at least %d expected" % (start, self.pos))
        self.take(start - self.pos, "rest of the header")
        try:
            self.tags(document)
        except BytesError as error:
            if not self.salvage:
                raise
            document.trailing = self.data[self.tag_start:]
            document.error = str(error)
        return document

    def tags(self, document):
        while True:
            self.tag_start = self.pos
            if self.pos < self.end:
                self.u32("size of the tag before")
            self.tag_start = self.pos
            if self.pos == self.end:
                return
            self.tag(document)

    def tag(self, document):
        kind = self.u8("tag type")
        size = int.from_bytes(self.take(3, "tag size"), "big")
        time = int.from_bytes(self.take(3, "time stamp"), "big")
        time |= self.u8("time stamp") << 24
        self.take(3, "stream")
        start = self.pos
        self.take(size, "tag body")
        if kind & FLV_ENCRYPTED or kind & FLV_TYPE not in (FLV_SCRIPT, FLV_SCRIPT_AMF3):
            return
        try:
            part = Part(self.script(start, kind & FLV_TYPE))
        except BytesError as error:
            if not self.salvage:
                raise
            part = Part(raw_section(self.data[start:self.pos], error))
        part.time = time - (1 << 32) if time >= 1 << 31 else time
        document.tags.append(part)

    def script(self, start, kind):
        if kind == FLV_SCRIPT_AMF3:
            first = Cursor(self.data, start, self.pos)
            fixed_bytes(first, b"\x00", "first byte 00")
            start = first.pos
        section, _ = read_section("amf0", self.data, start, self.pos, self.externals)
        section.original = None
        return section
