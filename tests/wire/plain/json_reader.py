# SPDX-License-Identifier: Apache-2.0
#
# Turns the JSON of a document back into bytes. Enter at import_text(). Tested by rows_test.py and self_test.py.
import struct

from amf_writer import section_bytes
from document_reader import UNKNOWN_LENGTH, read_section
from json_scalars import array, base64_bytes, boolean, text16, text_bytes, whole_number
from json_text import parse_json
from json_values import ValueReader
from wire_values import MAX_PACKET_BYTES, MAX_TEXT_BYTES, BytesError, Marks, TextError

MARK_KEYS = ("stringReferences", "traitsReferences", "integers")
SECTION_KEYS = MARK_KEYS + ("original", "error")
PACKET_KEYS = ("amf", "headers", "headerCount", "messages", "messageCount", "trailing", "error")
FORM_KEYS = {
    "packet": PACKET_KEYS,
    "amf0": ("amf0", "trailing") + SECTION_KEYS,
    "amf3": ("amf3", "trailing") + SECTION_KEYS,
    "sol": ("sol", "amf", "size", "entries", "trailing") + SECTION_KEYS,
}
ALL_KEYS = {key for keys in FORM_KEYS.values() for key in keys} | {"source", "flv"}
# The keys that show which form a document has.
KEY_FORMS = {"headers": "packet", "messages": "packet", "amf0": "amf0", "amf3": "amf3", "sol": "sol", "flv": "flv"}


def import_text(data, externals):
    """The bytes of the document that the UTF-8 text `data` holds. Throws TextError."""
    if len(data) > MAX_TEXT_BYTES:
        raise TextError(1, 1, "", "more than %d bytes of text" % MAX_TEXT_BYTES)
    root = parse_json(data)
    written = DocumentImport(root, externals).written()
    if len(written) > MAX_PACKET_BYTES:
        raise root.error("more than %d bytes of packet" % MAX_PACKET_BYTES)
    return written


def fields_of(node, what):
    """Key -> node."""
    if node.kind != "object":
        raise node.error("%s: object expected" % what)
    return {key: value for key, _, value in node.value}


def need(fields, node, key):
    if key not in fields:
        raise node.error("%s is missing" % key)
    return fields[key]


def refuse_other_keys(node, known):
    for key, start, _ in node.value:
        if key not in known:
            raise node.key_error(key, start, "unknown key %s" % key)


class DocumentImport:
    def __init__(self, root, externals):
        self.root = root
        self.externals = externals
        self.fields = fields_of(root, "document")
        self.starts = {key: start for key, start, _ in root.value}

    def written(self):
        refuse_other_keys(self.root, ALL_KEYS)
        form = self.form()
        refuse_other_keys(self.root, FORM_KEYS[form] + ("source",))
        if form == "packet":
            written = self.packet()
        elif form == "sol":
            written = self.shared_object()
        else:
            written = self.section(self.root, self.fields, form, self.fields[form]) + self.trailing()
        if "error" in self.fields:
            error_text(self.fields["error"])
        return written

    def form(self):
        found = [(key, start) for key, start, _ in self.root.value if key in KEY_FORMS]
        forms = [KEY_FORMS[key] for key, _ in found]
        for (key, start), form in zip(found, forms):
            if form != forms[0]:
                raise self.root.key_error(key, start, "%s beside %s" % (key, found[0][0]))
            if form == "flv":
                raise self.root.key_error(key, start, "FLV is read only")
        if not forms:
            raise self.root.error("neither messages nor amf0, amf3 or sol")
        return forms[0]

    # --- Packets ---

    def packet(self):
        if "headerCount" in self.fields and "messageCount" in self.fields:
            raise self.root.key_error("messageCount", self.starts["messageCount"], "messageCount beside headerCount")
        for key in ("amf", "headers", "messages"):
            need(self.fields, self.root, key)
        version = self.fields["amf"]
        out = [struct.pack(">H", whole_number(version, 0, 65535, "amf"))]
        header_count, headers = self.parts("headers", "headerCount", self.header)
        out += [struct.pack(">H", header_count)] + headers
        message_count, messages = self.parts("messages", "messageCount", self.message)
        if "headerCount" in self.fields:
            self.refuse_messages()
        else:
            out += [struct.pack(">H", message_count)] + messages
        return b"".join(out) + self.trailing()

    def parts(self, list_key, count_key, write):
        node = need(self.fields, self.root, list_key)
        items = array(node, list_key)
        if len(items) > 65535:
            raise node.error("more than 65535 %s" % list_key)
        count = len(items)
        if count_key in self.fields:
            count = whole_number(self.fields[count_key], count + 1, 65535, count_key)
        return count, [write(item) for item in items]

    def refuse_messages(self):
        """Behind a cut header the messages lie in `trailing`."""
        messages = self.fields["messages"]
        if messages.value:
            raise messages.error("messages beside headerCount")

    def trailing(self):
        return base64_bytes(self.fields["trailing"], "trailing") if "trailing" in self.fields else b""

    def header(self, node):
        fields = fields_of(node, "header")
        self.refuse_part_keys(node, fields, ("name", "mustUnderstand"))
        name = text16(need(fields, node, "name"), "name")
        must_understand = need(fields, node, "mustUnderstand")
        if must_understand.kind == "number":
            byte = whole_number(must_understand, 0, 255, "mustUnderstand")
        else:
            byte = int(boolean(must_understand, "mustUnderstand"))
        return struct.pack(">H", len(name)) + name + bytes([byte]) + self.body(node, fields)

    def message(self, node):
        fields = fields_of(node, "message")
        self.refuse_part_keys(node, fields, ("target", "response"))
        out = b""
        for key in ("target", "response"):
            data = text16(need(fields, node, key), key)
            out += struct.pack(">H", len(data)) + data
        return out + self.body(node, fields)

    def refuse_part_keys(self, node, fields, own):
        if "raw" in fields and "value" in fields:
            later = [entry for entry in node.value if entry[0] in ("raw", "value")][1]
            raise node.key_error(later[0], later[1], "raw beside value")
        rest = ("raw", "error") if "raw" in fields else ("value", "original") + MARK_KEYS
        refuse_other_keys(node, own + ("length",) + rest)

    def body(self, node, fields):
        if "raw" in fields:
            data = base64_bytes(fields["raw"], "raw")
        else:
            data = self.section(node, fields, "value", need(fields, node, "value"))
        if "error" in fields:
            error_text(fields["error"])
        length = len(data)
        if "length" in fields:
            length = declared_length(fields["length"])
        return struct.pack(">I", length) + data

    # --- Sections ---

    def section(self, node, fields, form, content_node):
        """The bytes of a section: `original` if it says the same as the value, else the value."""
        marks = Marks(*(boolean(fields[key], key) if key in fields else True for key in MARK_KEYS))
        content = self.content(form, content_node)
        written_form = "amf0" if form == "value" else form
        written = section_bytes(written_form, content, marks)
        if "original" not in fields:
            return written
        original = base64_bytes(fields["original"], "original")
        if self.says_the_same(form, written_form, original, written, marks):
            return original
        return written

    def content(self, form, node):
        reader = ValueReader(self.externals)
        if form == "value":
            return [reader.amf0(node)]
        if form.startswith("sol"):
            return reader.entries(node, 0 if form == "sol0" else 3)
        read = reader.amf0 if form == "amf0" else reader.amf3
        return [read(item) for item in array(node, form)]

    def says_the_same(self, form, written_form, original, written, marks):
        try:
            section, end = read_section(form, original, 0, len(original), self.externals)
        except BytesError:
            return False
        return end == len(original) and section_bytes(written_form, section.content, marks) == written

    # --- Shared objects ---

    def shared_object(self):
        name = text16(self.fields["sol"], "sol")
        node = need(self.fields, self.root, "amf")
        version = whole_number(node, 0, 3, "amf")
        if version not in (0, 3):
            raise node.error("amf: 0 or 3 expected")
        entries = self.section(self.root, self.fields, "sol%d" % version, need(self.fields, self.root, "entries"))
        rest = b"TCSO\x00\x04\x00\x00\x00\x00" + struct.pack(">H", len(name)) + name
        rest += struct.pack(">I", version) + entries
        size = len(rest)
        if "size" in self.fields:
            size = whole_number(self.fields["size"], 0, 0xFFFFFFFF, "size")
        return b"\x00\xbf" + struct.pack(">I", size) + rest + self.trailing()


def declared_length(node):
    if node.kind == "string" and node.value == "unknown":
        return UNKNOWN_LENGTH
    return whole_number(node, 0, 0xFFFFFFFF, "length")


def error_text(node):
    """`error` is for whoever reads the document; it has to be a string."""
    text_bytes(node, "error")
