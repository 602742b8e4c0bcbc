# SPDX-License-Identifier: Apache-2.0
#
# Reads the values of one section from JSON nodes, in the order in which they stand on the wire. Enter at
# ValueReader.amf0(), .amf3(), .entries(). Tested by rows_test.py and self_test.py.
import re

from json_scalars import (
    Keys, array, base64_bytes, boolean, double_raw, only_true, text16, text_bytes, text_key, whole_number)
from wire_numbers import parse_date, parse_number
from wire_values import (
    INTEGER_MAX, INTEGER_MIN, MAX_DEPTH, MAX_FLAG_BYTES, SMALL_MESSAGES, Amf3, Array, Boolean, ByteArray, Date,
    Dictionary, Double, Ecma, Entries, External, Integer, Null, Object, Reference, String, Undefined, Unsupported,
    Vector, Xml)

# The keys that say which kind an object is -> the other `$` keys of that kind in AMF0 and in AMF3. None: the format
# does not have the kind.
KINDS = {
    "$undefined": ((), ()),
    "$unsupported": ((), None),
    "$string64": ((), ()),
    "$double": ((), ()),
    "$date": (("$zone",), ("$id",)),
    "$xmldoc": ((), ("$id",)),
    "$xml": (None, ("$id",)),
    "$bytes": (None, ("$id",)),
    "$array": (("$id",), ("$id", "$members")),
    "$ecma": (("$id", "$members"), None),
    "$class": (("$id", "$members"), ("$id", "$members", "$sealed", "$dynamic")),
    "$external": (None, ("$id", "$dynamic", "$value", "$values")),
    "$vector": (None, ("$id", "$type", "$fixed", "$items")),
    "$dictionary": (None, ("$id", "$weak")),
    "$amf3": ((), None),
    "$ref": ((), ()),
}
OTHER_KEYS = {key for formats in KINDS.values() for keys in formats if keys for key in keys}
WITH_MEMBERS = {"$array", "$ecma", "$class", "$external"}
MAX_ID = (1 << 53) - 1
UNNAMED_FLAG = re.compile(r"\$(0|[1-9][0-9]?)\.(0|[1-9][0-9]?)\.([0-6])")


class ValueReader:
    """The values of one section: ids, the order of what has begun, the depth."""

    def __init__(self, externals):
        self.externals = externals
        self.ids = {}  # id -> (value, format)
        self.amf0_indexes = {}  # id() of the value -> index
        self.depth = 0

    def enter(self, node):
        if self.depth == MAX_DEPTH:
            raise node.error("deeper than %d levels" % MAX_DEPTH)
        self.depth += 1

    def begin(self, keys, version, value):
        """Numbers a value that can be pointed at, and notes its `$id`."""
        if version == 0 and isinstance(value, (Object, Ecma, Array, Entries)):
            self.amf0_indexes[id(value)] = len(self.amf0_indexes)
        node = keys.get("$id") if keys else None
        if node is not None:
            number = whole_number(node, 1, MAX_ID, "$id")
            if number in self.ids:
                raise node.error("id %d is used twice" % number)
            self.ids[number] = (value, version)
        return value

    # --- Which kind a JSON value is ---

    def amf0(self, node):
        return self.value(node, 0)

    def amf3(self, node):
        return self.value(node, 3)

    def value(self, node, version):
        if node.kind == "object":
            return self.object_value(node, version)
        if node.kind == "array":
            return self.plain_array(node, version)
        if node.kind == "string":
            return String(node.value.encode("utf-8"))
        if node.kind == "literal":
            return Null() if node.value is None else Boolean(node.value)
        return self.number(node, version)

    def number(self, node, version):
        raw = double_raw(node, "number")
        number, whole = parse_number(node.value)
        minus_zero = number == 0 and node.value.startswith("-")
        if version == 3 and whole is not None and not minus_zero and INTEGER_MIN <= whole <= INTEGER_MAX:
            return Integer(whole)
        return Double(raw)

    def plain_array(self, node, version):
        self.enter(node)
        value = self.begin(None, version, Array())
        for item in node.value:
            value.items.append(self.value(item, version))
        self.depth -= 1
        return value

    def object_value(self, node, version):
        keys = Keys(node)
        kind = self.kind(keys, version)
        if kind is None:
            return self.members_object(keys, version)
        return KIND_READERS[kind](self, keys, version)

    def kind(self, keys, version):
        """The kind's key, None for an object without a class. Refuses keys that the kind does not have."""
        for key, (start, _) in keys.dollars.items():
            if key not in KINDS and key not in OTHER_KEYS and not UNNAMED_FLAG.fullmatch(key):
                raise keys.node.key_error(key, start, "unknown key %s" % key)
        place = 0 if version == 0 else 1
        kind = None
        for key, (start, _) in keys.dollars.items():
            if key in KINDS and KINDS[key][place] is None:
                raise keys.node.key_error(key, start, "AMF%d has no %s" % (version, key))
            if key in KINDS and kind is not None:
                raise keys.node.key_error(key, start, "%s beside %s" % (key, kind))
            kind = key if key in KINDS else kind
        allowed = KINDS[kind or "$class"][place]
        has_members = kind is None or kind in WITH_MEMBERS and not (kind == "$array" and version == 0)
        for key, start, _ in keys.node.value:
            if key not in keys.dollars:
                if not has_members:
                    raise keys.node.key_error(key, start, "%s has no members" % kind)
                if "$members" in keys.dollars and "$members" in allowed:
                    raise keys.node.key_error(key, start, "member beside $members")
            elif key != kind and key not in allowed and not (kind == "$external" and UNNAMED_FLAG.fullmatch(key)):
                raise keys.node.key_error(key, start, "unknown key %s" % key)
        return kind

    # --- Kinds of both formats ---

    def undefined(self, keys, _):
        only_true(keys.get("$undefined"), "$undefined")
        return Undefined()

    def unsupported(self, keys, _):
        only_true(keys.get("$unsupported"), "$unsupported")
        return Unsupported()

    def string64(self, keys, _):
        return String(base64_bytes(keys.get("$string64"), "$string64"))

    def double(self, keys, _):
        return Double(double_raw(keys.get("$double"), "$double"))

    def date(self, keys, version):
        node = keys.get("$date")
        raw = parse_date(node.value) if node.kind == "string" else None
        value = Date(raw if raw is not None else double_raw(node, "$date"))
        if keys.get("$zone") is not None:
            value.zone = whole_number(keys.get("$zone"), -32768, 32767, "$zone")
        return self.begin(keys, version, value)

    def xml_document(self, keys, version):
        return self.begin(keys, version, Xml(text_bytes(keys.get("$xmldoc"), "$xmldoc"), True))

    def reference(self, keys, version):
        node = keys.get("$ref")
        number = whole_number(node, 1, MAX_ID, "$ref")
        if number not in self.ids:
            raise node.error("no value with id %d has begun" % number)
        value, other = self.ids[number]
        if other != version:
            raise node.error("id %d is a value of AMF%d" % (number, other))
        if version == 0 and self.amf0_indexes[id(value)] > 65535:
            raise node.error("AMF0 reference above index 65535")
        return Reference(value)

    def members_object(self, keys, version):
        self.enter(keys.node)
        if version == 0:
            value = self.begin(keys, 0, Object(None))
            if keys.get("$class") is not None:
                value.class_name = text16(keys.get("$class"), "$class")
            value.members = self.members(keys, 0)
        else:
            name = keys.get("$class")
            value = self.begin(keys, 3, Object(b"" if name is None else text_bytes(name, "$class")))
            self.traits(keys, value)
            value.members = self.members(keys, 3, value.sealed)
        self.depth -= 1
        return value

    def members(self, keys, version, nameable=0):
        """The members in text order. In AMF3 only the first `nameable` may have an empty name."""
        return [(self.member_name(name, place, version, index < nameable), self.value(node, version))
                for index, (name, place, node) in enumerate(self.named_nodes(keys))]

    def named_nodes(self, keys):
        """(name as bytes, function that makes an error at the name, node) of each member."""
        listed = keys.get("$members")
        if listed is None:
            for name, start, node in keys.members:
                key = text_key(name)
                yield name.encode("utf-8"), lambda why, k=key, s=start: keys.node.key_error(k, s, why), node
            return
        for pair in array(listed, "$members"):
            if pair.kind != "array" or len(pair.value) != 2:
                raise pair.error("$members: [name, value] expected")
            yield text_bytes(pair.value[0], "member name"), pair.value[0].error, pair.value[1]

    def member_name(self, name, error, version, nameable):
        if version == 0 and len(name) > 65535:
            raise error("member name of more than 65535 bytes")
        if version == 3 and not name and not nameable:
            raise error("a member that is not sealed needs a name")
        return name

    def entries(self, node, version):
        """The entries of a shared object, which only AMF0 can point at."""
        if node.kind != "object":
            raise node.error("entries: object expected")
        keys = Keys(node)
        for key, start, _ in node.value:
            if key in keys.dollars and key != "$members" and not (key == "$id" and version == 0):
                raise node.key_error(key, start, "unknown key %s" % key)
            if key not in keys.dollars and "$members" in keys.dollars:
                raise node.key_error(key, start, "member beside $members")
        value = self.begin(keys, version, Entries())
        value.members = self.members(keys, version, 1 << 32)
        return value

    # --- AMF0 ---

    def ecma(self, keys, _):
        self.enter(keys.node)
        node = keys.get("$ecma")
        value = self.begin(keys, 0, Ecma(None))
        if node.kind != "literal":
            value.count = whole_number(node, 0, 0xFFFFFFFF, "$ecma")
        else:
            only_true(node, "$ecma")
        value.members = self.members(keys, 0)
        if value.count is None:
            value.count = len(value.members)
        self.depth -= 1
        return value

    def in_amf3(self, keys, _):
        return Amf3(self.value(keys.get("$amf3"), 3))

    # --- AMF3 ---

    def array_object(self, keys, version):
        items = array(keys.get("$array"), "$array")
        self.enter(keys.node)
        value = self.begin(keys, version, Array())
        if version == 3:
            value.members = self.members(keys, 3)
        for item in items:
            value.items.append(self.value(item, version))
        self.depth -= 1
        return value

    def traits(self, keys, value):
        """`$sealed` and `$dynamic`."""
        listed = keys.get("$members")
        count = len(array(listed, "$members")) if listed is not None else len(keys.members)
        node = keys.get("$sealed")
        if node is None:
            value.sealed = count if value.class_name else 0
        elif node.kind == "literal":
            only_true(node, "$sealed")
            value.sealed = count
        else:
            value.sealed = whole_number(node, 0, count, "$sealed")
        value.dynamic = value.sealed < count or not value.class_name and node is None
        if keys.get("$dynamic") is not None:
            value.dynamic = boolean(keys.get("$dynamic"), "$dynamic")
            if not value.dynamic and value.sealed < count:
                raise keys.get("$dynamic").error("members that are not sealed need $dynamic")

    def xml(self, keys, _):
        return self.begin(keys, 3, Xml(text_bytes(keys.get("$xml"), "$xml"), False))

    def byte_array(self, keys, _):
        return self.begin(keys, 3, ByteArray(base64_bytes(keys.get("$bytes"), "$bytes")))

    def external(self, keys, _):
        self.enter(keys.node)
        name = text_bytes(keys.get("$external"), "$external")
        if name not in self.externals and name not in SMALL_MESSAGES:
            raise keys.get("$external").error("unknown externalizable class")
        value = self.begin(keys, 3, External(name, False))
        if keys.get("$dynamic") is not None:
            value.dynamic = boolean(keys.get("$dynamic"), "$dynamic")
        if name in self.externals:
            self.external_values(keys, value, self.externals[name])
        else:
            self.message_fields(keys, value, SMALL_MESSAGES[name])
        self.depth -= 1
        return value

    def external_values(self, keys, value, count):
        for key, start, _ in keys.node.value:
            if key not in ("$external", "$id", "$dynamic", "$value", "$values"):
                raise keys.node.key_error(key, start, "unknown key %s" % key)
        if keys.get("$value") is not None and keys.get("$values") is not None:
            later = [key for key in keys.dollars if key in ("$value", "$values")][1]
            raise keys.node.key_error(later, keys.dollars[later][0], "$value beside $values")
        if keys.get("$value") is not None:
            if count != 1:
                raise keys.node.key_error("$value", keys.dollars["$value"][0], "%d values expected" % count)
            items = [keys.get("$value")]
        else:
            items = array(keys.need("$values"), "$values")
        if len(items) != count:
            raise keys.get("$values").error("%d values expected" % count)
        value.values = []
        for item in items:
            value.values.append(self.amf3(item))

    def message_fields(self, keys, value, groups):
        places = {name: (group, byte, bit)
                  for group, named in enumerate(groups)
                  for byte, names in enumerate(named)
                  for bit, name in enumerate(names)}
        found = []
        for key, start, node in keys.node.value:
            if key in ("$external", "$id", "$dynamic"):
                continue
            place = places.get(key) or self.unnamed_flag(key, places, len(groups))
            if place is None:
                raise keys.node.key_error(key, start, "unknown field %s" % key)
            found.append((place, node))
        value.fields = []
        for place, node in sorted(found, key=lambda field: field[0]):
            value.fields.append((place, self.amf3(node)))

    def unnamed_flag(self, key, places, group_count):
        match = UNNAMED_FLAG.fullmatch(key)
        place = tuple(int(part) for part in match.groups()) if match else None
        if place is None or place in places.values() or place[0] >= group_count or place[1] >= MAX_FLAG_BYTES:
            return None
        return place

    def vector(self, keys, _):
        kind = keys.get("$vector")
        name = text_bytes(kind, "$vector")
        if name not in (b"int", b"uint", b"double", b"object"):
            raise kind.error("$vector: int, uint, double or object expected")
        value = Vector(name.decode())
        if value.kind == "object":
            self.enter(keys.node)
            value.type_name = text_bytes(keys.need("$type"), "$type")
        elif keys.get("$type") is not None:
            raise keys.node.key_error("$type", keys.dollars["$type"][0], "only vectors of objects have $type")
        self.begin(keys, 3, value)
        if keys.get("$fixed") is not None:
            value.fixed = boolean(keys.get("$fixed"), "$fixed")
        for item in array(keys.need("$items"), "$items"):
            value.items.append(self.vector_item(item, value.kind))
        if value.kind == "object":
            self.depth -= 1
        return value

    def vector_item(self, node, kind):
        if kind == "object":
            return self.amf3(node)
        if kind == "int":
            return whole_number(node, -(1 << 31), (1 << 31) - 1, "item")
        if kind == "uint":
            return whole_number(node, 0, (1 << 32) - 1, "item")
        if node.kind == "number":
            return double_raw(node, "item")
        keys = Keys(node) if node.kind == "object" else None
        if keys is None or self.kind(keys, 3) != "$double":
            raise node.error("item: number or $double expected")
        return double_raw(keys.get("$double"), "$double")

    def dictionary(self, keys, _):
        self.enter(keys.node)
        value = self.begin(keys, 3, Dictionary(False))
        if keys.get("$weak") is not None:
            value.weak = boolean(keys.get("$weak"), "$weak")
        for pair in array(keys.get("$dictionary"), "$dictionary"):
            if pair.kind != "array" or len(pair.value) != 2:
                raise pair.error("$dictionary: [key, value] expected")
            key = self.amf3(pair.value[0])
            value.pairs.append((key, self.amf3(pair.value[1])))
        self.depth -= 1
        return value


KIND_READERS = {
    "$undefined": ValueReader.undefined,
    "$unsupported": ValueReader.unsupported,
    "$string64": ValueReader.string64,
    "$double": ValueReader.double,
    "$date": ValueReader.date,
    "$xmldoc": ValueReader.xml_document,
    "$xml": ValueReader.xml,
    "$bytes": ValueReader.byte_array,
    "$array": ValueReader.array_object,
    "$ecma": ValueReader.ecma,
    "$class": ValueReader.members_object,
    "$external": ValueReader.external,
    "$vector": ValueReader.vector,
    "$dictionary": ValueReader.dictionary,
    "$amf3": ValueReader.in_amf3,
    "$ref": ValueReader.reference,
}
