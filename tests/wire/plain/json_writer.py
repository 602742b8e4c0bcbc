# SPDX-License-Identifier: Apache-2.0
#
# Writes a document as compact JSON. Enter at document_text(). Tested by rows_test.py and self_test.py.
import base64
import re

from document_reader import UNKNOWN_LENGTH
from wire_numbers import date_text, number_text, unpack_double, word_of
from wire_values import (
    INTEGER_MAX, INTEGER_MIN, MAX_TEXT_BYTES, SMALL_MESSAGES, Amf3, Array, Boolean, ByteArray, BytesError, Date,
    Dictionary, Double, Ecma, External, Integer, Null, Object, Reference, String, Undefined, Unsupported, Vector, Xml,
    field_name)

NEEDS_ESCAPE = re.compile('["\\\\\x00-\x1f]')
ESCAPES = {'"': '\\"', "\\": "\\\\", "\b": "\\b", "\f": "\\f", "\n": "\\n", "\r": "\\r", "\t": "\\t"}
ARRAY_INDEX = re.compile("0|[1-9][0-9]{0,9}")
MAX_ARRAY_INDEX = 4294967294


def document_text(document, originals):
    """The compact text of a document, without a line feed. `originals` says whether `original` is written."""
    text = "{" + ",".join(DOCUMENT_PAIRS[document.form](document, originals)) + "}"
    if len(text.encode()) > MAX_TEXT_BYTES:
        raise BytesError(0, "more than %d bytes of text" % MAX_TEXT_BYTES)
    return text


def packet_pairs(document, originals):
    pairs = ['"amf":%d' % document.version]
    pairs.append('"headers":[%s]' % ",".join(header_text(part, originals) for part in document.headers))
    if document.header_count is not None:
        pairs.append('"headerCount":%d' % document.header_count)
    pairs.append('"messages":[%s]' % ",".join(message_text(part, originals) for part in document.messages))
    if document.message_count is not None:
        pairs.append('"messageCount":%d' % document.message_count)
    return pairs + trailing_pairs(document)


def bare_pairs(document, originals):
    items = values_text(document.section, document.form)
    return ['"%s":%s' % (document.form, items)] + section_ends(document.section, originals) + trailing_pairs(document)


def sol_pairs(document, originals):
    pairs = ['"sol":' + string(document.name), '"amf":%d' % document.version]
    if document.size is not None:
        pairs.append('"size":%d' % document.size)
    entries = document.section.content
    values = ValueWriter(document.section.marks, document.version)
    pairs.append('"entries":{%s}' % ",".join(values.id_pair(entries) + values.member_pairs(entries.members)))
    return pairs + section_ends(document.section, originals) + trailing_pairs(document)


def flv_pairs(document, _):
    return ['"flv":[%s]' % ",".join(tag_text(part) for part in document.tags)] + trailing_pairs(document)


DOCUMENT_PAIRS = {
    "packet": packet_pairs, "amf0": bare_pairs, "amf3": bare_pairs, "sol": sol_pairs, "flv": flv_pairs}


def trailing_pairs(document):
    pairs = []
    if document.trailing:
        pairs.append('"trailing":' + base64_text(document.trailing))
    if document.error is not None:
        pairs.append('"error":' + quoted(document.error))
    return pairs


def header_text(part, originals):
    must_understand = {0: "false", 1: "true"}.get(part.must_understand, str(part.must_understand))
    pairs = ['"name":' + string(part.name), '"mustUnderstand":' + must_understand]
    return "{" + ",".join(pairs + body_pairs(part, originals)) + "}"


def message_text(part, originals):
    pairs = ['"target":' + string(part.target), '"response":' + string(part.response)]
    return "{" + ",".join(pairs + body_pairs(part, originals)) + "}"


def body_pairs(part, originals):
    pairs = []
    if part.length is not None:
        pairs.append('"length":' + ('"unknown"' if part.length == UNKNOWN_LENGTH else str(part.length)))
    if part.section.raw is not None:
        return pairs + raw_pairs(part.section)
    pairs.append('"value":' + ValueWriter(part.section.marks, 0).amf0(part.section.content[0]))
    return pairs + section_ends(part.section, originals)


def tag_text(part):
    time = '{"time":%d,' % part.time
    if part.section.raw is not None:
        return time + ",".join(raw_pairs(part.section)) + "}"
    return time + '"values":' + values_text(part.section, "flv") + "}"


def raw_pairs(section):
    return ['"raw":' + base64_text(section.raw), '"error":' + quoted(section.error)]


def values_text(section, form):
    """A run of values. FLV has no marks, so its doubles are written as without them."""
    writer = ValueWriter(None if form == "flv" else section.marks, 3 if form == "amf3" else 0)
    return "[" + ",".join(writer.value(value) for value in section.content) + "]"


def section_ends(section, originals):
    pairs = []
    if not section.marks.string_references:
        pairs.append('"stringReferences":false')
    if not section.marks.traits_references:
        pairs.append('"traitsReferences":false')
    if not section.marks.integers:
        pairs.append('"integers":false')
    if originals and section.original is not None:
        pairs.append('"original":' + base64_text(section.original))
    return pairs


# --- Strings ---


def quoted(text):
    return '"' + NEEDS_ESCAPE.sub(lambda match: ESCAPES.get(match[0]) or "\\u%04x" % ord(match[0]), text) + '"'


def base64_text(data):
    return '"' + base64.b64encode(data).decode() + '"'


def string(data):
    try:
        return quoted(data.decode("utf-8"))
    except UnicodeDecodeError:
        return '{"$string64":' + base64_text(data) + "}"


def array_index(name):
    """The number of an array index, None for any other name."""
    if ARRAY_INDEX.fullmatch(name) and int(name) <= MAX_ARRAY_INDEX:
        return int(name)
    return None


def plain_names(members):
    """The names as text if a JSON object can carry the members, else None."""
    names = []
    largest = -1  # of the array indexes; None after a name that is none
    for data, _ in members:
        try:
            name = data.decode("utf-8")
        except UnicodeDecodeError:
            return None
        index = array_index(name)
        if index is None:
            largest = None
        elif largest is None or index < largest:
            return None
        else:
            largest = index
        names.append(name)
    return names if len(set(names)) == len(names) else None


# --- Values ---


class ValueWriter:
    """Writes the values of one section; `version` is the format of its outermost values."""

    def __init__(self, marks, version):
        self.plain_doubles = marks is not None and not marks.integers
        self.version = version

    def value(self, value):
        return self.amf0(value) if self.version == 0 else self.amf3(value)

    def amf0(self, value):
        return VALUE_TEXTS[type(value)](self, value, self.amf0)

    def amf3(self, value):
        if type(value) is Double:
            return self.amf3_double(value)
        return VALUE_TEXTS[type(value)](self, value, self.amf3)

    def id_pair(self, value):
        return ['"$id":%d' % value.id] if value.pointed else []

    def join(self, value, pairs):
        return "{" + ",".join(self.id_pair(value) + pairs) + "}"

    def double(self, value, _):
        word = word_of(value.raw)
        return '{"$double":"%s"}' % word if word else number_text(unpack_double(value.raw))

    def amf3_double(self, value):
        text = self.double(value, None)
        if text[0] == "{" or self.plain_doubles:
            return text
        number = unpack_double(value.raw)
        in_range = INTEGER_MIN <= number <= INTEGER_MAX and number == int(number)
        return '{"$double":%s}' % text if in_range else text

    def date(self, value, _):
        text = date_text(value.raw) or word_of(value.raw)
        pairs = ['"$date":"%s"' % text if text else '"$date":' + number_text(unpack_double(value.raw))]
        if value.zone:
            pairs.append('"$zone":%d' % value.zone)
        return self.join(value, pairs)

    def xml(self, value, _):
        return self.join(value, ['"%s":%s' % ("$xmldoc" if value.document else "$xml", string(value.data))])

    def byte_array(self, value, _):
        return self.join(value, ['"$bytes":' + base64_text(value.data)])

    def member_pairs(self, members, write=None):
        write = write or self.value
        names = plain_names(members)
        if names is None:
            pairs = ",".join("[%s,%s]" % (string(name), write(member)) for name, member in members)
            return ['"$members":[%s]' % pairs]
        return [quoted("$" + name if name.startswith("$") else name) + ":" + write(member)
                for name, (_, member) in zip(names, members)]

    def array(self, value, write):
        items = "[" + ",".join(write(item) for item in value.items) + "]"
        if not value.pointed and not value.members:
            return items
        return self.join(value, self.member_pairs(value.members, write) + ['"$array":' + items])

    def ecma(self, value, write):
        count = "true" if value.count == len(value.members) else str(value.count)
        return self.join(value, ['"$ecma":' + count] + self.member_pairs(value.members, write))

    def object(self, value, write):
        pairs = []
        if write == self.amf0:
            if value.class_name is not None:
                pairs.append('"$class":' + string(value.class_name))
        else:
            if value.class_name:
                pairs.append('"$class":' + string(value.class_name))
            pairs += traits_pairs(value)
        return self.join(value, pairs + self.member_pairs(value.members, write))

    def external(self, value, write):
        pairs = ['"$external":' + string(value.class_name)]
        if value.dynamic:
            pairs.append('"$dynamic":true')
        if value.fields is not None:
            groups = SMALL_MESSAGES[value.class_name]
            for place, item in value.fields:
                name = field_name(groups, *place) or "$%d.%d.%d" % place
                pairs.append('"%s":%s' % (name, write(item)))
        elif len(value.values) == 1:
            pairs.append('"$value":' + write(value.values[0]))
        else:
            pairs.append('"$values":[' + ",".join(write(item) for item in value.values) + "]")
        return self.join(value, pairs)

    def vector(self, value, write):
        pairs = ['"$vector":"%s"' % value.kind]
        if value.kind == "object":
            pairs.append('"$type":' + string(value.type_name))
            items = [write(item) for item in value.items]
        elif value.kind == "double":
            items = [self.double(Double(item), None) for item in value.items]
        else:
            items = [str(item) for item in value.items]
        if value.fixed:
            pairs.append('"$fixed":true')
        return self.join(value, pairs + ['"$items":[' + ",".join(items) + "]"])

    def dictionary(self, value, write):
        pairs = ",".join("[%s,%s]" % (write(key), write(item)) for key, item in value.pairs)
        return self.join(value, ['"$dictionary":[%s]' % pairs] + (['"$weak":true'] if value.weak else []))


def traits_pairs(value):
    """`$sealed` and `$dynamic` of an AMF3 object, each only where its value is not the one without it."""
    count = len(value.members)
    pairs = []
    if value.sealed != (count if value.class_name else 0):
        pairs.append('"$sealed":' + ("true" if value.sealed == count else str(value.sealed)))
    default = value.sealed < count or not value.class_name and not pairs
    if value.dynamic != default:
        pairs.append('"$dynamic":' + ("true" if value.dynamic else "false"))
    return pairs


VALUE_TEXTS = {
    Null: lambda writer, value, write: "null",
    Undefined: lambda writer, value, write: '{"$undefined":true}',
    Unsupported: lambda writer, value, write: '{"$unsupported":true}',
    Boolean: lambda writer, value, write: "true" if value.true else "false",
    String: lambda writer, value, write: string(value.data),
    Double: ValueWriter.double,
    Integer: lambda writer, value, write: str(value.number),
    Amf3: lambda writer, value, write: '{"$amf3":' + writer.amf3(value.value) + "}",
    Reference: lambda writer, value, write: '{"$ref":%d}' % value.target.id,
    Date: ValueWriter.date,
    Xml: ValueWriter.xml,
    ByteArray: ValueWriter.byte_array,
    Array: ValueWriter.array,
    Ecma: ValueWriter.ecma,
    Object: ValueWriter.object,
    External: ValueWriter.external,
    Vector: ValueWriter.vector,
    Dictionary: ValueWriter.dictionary,
}
