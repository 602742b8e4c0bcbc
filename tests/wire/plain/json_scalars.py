# SPDX-License-Identifier: Apache-2.0
#
# Reads from JSON nodes what stands in many places: whole numbers, booleans, base64, strings, doubles, and the keys of
# an object. Each function throws TextError at the node. Used by json_values.py and json_reader.py, tested by
# rows_test.py.
import base64
import binascii

from wire_numbers import pack_double, parse_number, raw_of_word


def whole_number(node, low, high, what):
    """A whole number of a range, by value."""
    number = parse_number(node.value) if node.kind == "number" else None
    if number is None or number[1] is None or not low <= number[1] <= high:
        raise node.error("%s: whole number from %d to %d expected" % (what, low, high))
    return number[1]


def boolean(node, what):
    if node.kind != "literal" or node.value is None:
        raise node.error("%s: true or false expected" % what)
    return node.value


def only_true(node, what):
    if node.kind != "literal" or node.value is not True:
        raise node.error("%s: true expected" % what)


def array(node, what):
    if node.kind != "array":
        raise node.error("%s: array expected" % what)
    return node.value


def base64_bytes(node, what):
    """Base64 with padding and zero spare bits only."""
    try:
        if node.kind != "string":
            raise ValueError
        data = base64.b64decode(node.value.encode("ascii"), validate=True)
        if base64.b64encode(data).decode() != node.value:
            raise ValueError
        return data
    except (ValueError, binascii.Error):
        raise node.error("%s: base64 expected" % what) from None


def text_bytes(node, what):
    """A string: text, or {"$string64": base64}."""
    if node.kind == "string":
        return node.value.encode("utf-8")
    if node.kind == "object" and node.value:
        for key, start, _ in node.value:
            if key != "$string64":
                raise node.key_error(key, start, "%s: string or $string64 expected" % what)
        return base64_bytes(node.value[0][2], "$string64")
    raise node.error("%s: string expected" % what)


def text16(node, what):
    data = text_bytes(node, what)
    if len(data) > 65535:
        raise node.error("%s: more than 65535 bytes" % what)
    return data


def double_raw(node, what):
    """A double: a number, or a word such as "NaN"."""
    if node.kind == "number":
        number = parse_number(node.value)
        if number is None:
            raise node.error("%s: no double has this value" % what)
        return pack_double(number[0])
    raw = raw_of_word(node.value) if node.kind == "string" else None
    if raw is None:
        raise node.error("%s: number or one of its words expected" % what)
    return raw


def text_key(name):
    """The key that a member with this name has in the text."""
    return "$" + name if name.startswith("$") else name


class Keys:
    """The keys of a JSON object: `dollars` (key -> (start, node), in text order) and `members`
    ((name, start, node), with one `$` less where a name begins with two)."""

    def __init__(self, node):
        self.node = node
        self.dollars = {}
        self.members = []
        for key, start, value in node.value:
            if key.startswith("$") and not key.startswith("$$"):
                self.dollars[key] = (start, value)
            else:
                self.members.append((key[1:] if key.startswith("$$") else key, start, value))

    def get(self, key):
        return self.dollars[key][1] if key in self.dollars else None

    def need(self, key):
        if key not in self.dollars:
            raise self.node.error("%s is missing" % key)
        return self.dollars[key][1]
