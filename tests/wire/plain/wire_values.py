# SPDX-License-Identifier: Apache-2.0
#
# What AMF values, sections and documents are once they are read: plain classes without behaviour, the known
# externalizable classes, the bounds and the two kinds of errors. Every other file of this folder uses these.
# Tested by rows_test.py and self_test.py.

MAX_PACKET_BYTES = 64 * 1024 * 1024
MAX_TEXT_BYTES = 256 * 1024 * 1024
MAX_DEPTH = 512
MAX_FLAG_BYTES = 16

INTEGER_MIN = -(1 << 28)
INTEGER_MAX = (1 << 28) - 1


class BytesError(Exception):
    """A problem in AMF bytes: the offset of the field and the reason."""

    def __init__(self, offset, reason):
        super().__init__("offset %d: %s" % (offset, reason))
        self.offset = offset
        self.reason = reason


class TextError(Exception):
    """A problem in JSON text: line and column from 1, the path and the reason."""

    def __init__(self, line, column, path, reason):
        super().__init__("line %d, column %d, path %s: %s" % (line, column, path, reason))
        self.line = line
        self.column = column
        self.path = path
        self.reason = reason


# --- Values. Strings and names are bytes, doubles are their eight bytes, so that nothing is lost. ---


class Value:
    """A value that nothing can point at."""

    __slots__ = ()


class Referable(Value):
    """A value that references can point at: `pointed` says whether one does, `id` is its number in the JSON."""

    __slots__ = ("pointed", "id")

    def __init__(self):
        self.pointed = False
        self.id = None


class Null(Value):
    __slots__ = ()


class Undefined(Value):
    __slots__ = ()


class Unsupported(Value):
    __slots__ = ()


class Boolean(Value):
    __slots__ = ("true",)

    def __init__(self, true):
        self.true = true


class String(Value):
    __slots__ = ("data",)

    def __init__(self, data):
        self.data = data


class Double(Value):
    """A number of AMF0 or a double of AMF3."""

    __slots__ = ("raw",)

    def __init__(self, raw):
        self.raw = raw


class Integer(Value):
    __slots__ = ("number",)

    def __init__(self, number):
        self.number = number


class Amf3(Value):
    """An AMF3 value in an AMF0 place."""

    __slots__ = ("value",)

    def __init__(self, value):
        self.value = value


class Reference(Value):
    __slots__ = ("target",)

    def __init__(self, target):
        self.target = target


class Date(Referable):
    __slots__ = ("raw", "zone")

    def __init__(self, raw, zone=0):
        super().__init__()
        self.raw = raw
        self.zone = zone


class Xml(Referable):
    """XML document (of both formats) or, where `document` is false, XML of AMF3."""

    __slots__ = ("data", "document")

    def __init__(self, data, document):
        super().__init__()
        self.data = data
        self.document = document


class ByteArray(Referable):
    __slots__ = ("data",)

    def __init__(self, data):
        super().__init__()
        self.data = data


class Array(Referable):
    """Strict array of AMF0, array of AMF3. Only the latter has members."""

    __slots__ = ("members", "items")

    def __init__(self):
        super().__init__()
        self.members = []
        self.items = []


class Ecma(Referable):
    __slots__ = ("count", "members")

    def __init__(self, count):
        super().__init__()
        self.count = count
        self.members = []


class Object(Referable):
    """Object of AMF0 (class_name is None for marker 03) or of AMF3 (class_name is empty for none)."""

    __slots__ = ("class_name", "members", "sealed", "dynamic")

    def __init__(self, class_name):
        super().__init__()
        self.class_name = class_name
        self.members = []
        self.sealed = 0
        self.dynamic = True


class External(Referable):
    """Externalizable: `values` for most classes, `fields` ((group, byte, bit), value) for small messages."""

    __slots__ = ("class_name", "dynamic", "values", "fields")

    def __init__(self, class_name, dynamic):
        super().__init__()
        self.class_name = class_name
        self.dynamic = dynamic
        self.values = None
        self.fields = None


class Vector(Referable):
    """Vector: items are numbers for int and uint, eight bytes for double, values for object."""

    __slots__ = ("kind", "fixed", "type_name", "items")

    def __init__(self, kind):
        super().__init__()
        self.kind = kind
        self.fixed = False
        self.type_name = b""
        self.items = []


class Dictionary(Referable):
    __slots__ = ("weak", "pairs")

    def __init__(self, weak):
        super().__init__()
        self.weak = weak
        self.pairs = []


class Entries(Referable):
    """The entries of a shared object; AMF0 reference 0 points at them."""

    __slots__ = ("members",)

    def __init__(self):
        super().__init__()
        self.members = []


# --- Sections and documents ---


class Marks:
    """How a section's sender used the tables of AMF3. True is what the writer does anyway."""

    def __init__(self, string_references=True, traits_references=True, integers=True):
        self.string_references = string_references
        self.traits_references = traits_references
        self.integers = integers


class Section:
    """The values of one header, message, run of values, shared object or FLV tag.

    `content` is a list of values (exactly one in headers and messages) or Entries. Where the section could not be
    read, `content` is None, `raw` holds its bytes and `error` the reason. `begun` lists all referable values."""

    def __init__(self):
        self.content = None
        self.begun = []
        self.marks = Marks()
        self.original = None
        self.raw = None
        self.error = None


class Part:
    """A header (name, must_understand) or message (target, response) of a packet, or an FLV tag (time)."""

    def __init__(self, section):
        self.section = section
        self.name = None
        self.must_understand = None
        self.target = None
        self.response = None
        self.time = None
        self.length = None  # only where the declared one is not the true one


class Document:
    """One of the forms "packet", "amf0", "amf3", "sol", "flv"; what a form does not have stays None."""

    def __init__(self, form):
        self.form = form
        self.version = None
        self.headers = []
        self.header_count = None  # only where salvage read fewer
        self.messages = []
        self.message_count = None
        self.section = None  # of bare values and shared objects
        self.name = None
        self.size = None  # only where it is not the true one
        self.tags = []
        self.trailing = b""
        self.error = None


# --- Externalizable classes ---

ONE_VALUE_CLASSES = (
    b"flex.messaging.io.ArrayCollection",
    b"flex.messaging.io.ArrayList",
    b"flex.messaging.io.ObjectProxy",
    b"flex.messaging.io.SerializationProxy",
    b"mx.collections.ArrayCollection",
    b"mx.collections.ArrayList",
    b"mx.utils.ObjectProxy",
)

MESSAGE_GROUP = [
    ["body", "clientId", "destination", "headers", "messageId", "timestamp", "timeToLive"],
    ["clientIdBytes", "messageIdBytes"],
]
ASYNC_GROUP = [["correlationId", "correlationIdBytes"]]
COMMAND_GROUP = [["operation"]]
ACKNOWLEDGE_GROUP = [[]]

SMALL_MESSAGES = {
    b"DSA": [MESSAGE_GROUP, ASYNC_GROUP],
    b"DSC": [MESSAGE_GROUP, ASYNC_GROUP, COMMAND_GROUP],
    b"DSK": [MESSAGE_GROUP, ASYNC_GROUP, ACKNOWLEDGE_GROUP],
}
SMALL_MESSAGES[b"flex.messaging.messages.AsyncMessageExt"] = SMALL_MESSAGES[b"DSA"]
SMALL_MESSAGES[b"flex.messaging.messages.CommandMessageExt"] = SMALL_MESSAGES[b"DSC"]
SMALL_MESSAGES[b"flex.messaging.messages.AcknowledgeMessageExt"] = SMALL_MESSAGES[b"DSK"]


def known_externals(added=()):
    """Class name -> number of values, with the pairs that the caller adds."""
    known = {name: 1 for name in ONE_VALUE_CLASSES}
    known.update(added)
    return known


def field_name(groups, group, byte, bit):
    """The name of a flag of a small message, or None."""
    if byte < len(groups[group]) and bit < len(groups[group][byte]):
        return groups[group][byte][bit]
    return None
