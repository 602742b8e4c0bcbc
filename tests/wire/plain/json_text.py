# SPDX-License-Identifier: Apache-2.0
#
# Parses JSON text into nodes that know their place: line, column and path. Strict: no byte order mark, no duplicate
# keys, no lone surrogates, UTF-8 only. The place of malformed text is the character that is not expected; its path is
# that of the value where the character is in a string, else that of the innermost open container. A lone surrogate is
# an error of its value. Enter at parse_json(). Tested by rows_test.py and self_test.py.
import json
import re

from wire_values import TextError

BLANKS = re.compile("[ \t\n\r]*")
DIGITS = re.compile("[0-9]*")
PLAIN_TEXT = re.compile('[^"\\\\\x00-\x1f\ud800-\udfff]*')
HEX4 = re.compile("[0-9a-fA-F]{4}")
PLAIN_KEY = re.compile("[A-Za-z_$][A-Za-z0-9_$]*")
ESCAPED = {'"': '"', "\\": "\\", "/": "/", "b": "\b", "f": "\f", "n": "\n", "r": "\r", "t": "\t"}
LITERALS = {"true": True, "false": False, "null": None}


class Node:
    """One JSON value. `kind` is "object", "array", "string", "number" or "literal"; `value` is a list of
    (key, start of the key, node), a list of nodes, a str, the digits, or True, False, None."""

    __slots__ = ("source", "kind", "value", "start", "parent", "label", "keys")

    def __init__(self, source, start, parent, label):
        self.source = source
        self.kind = None
        self.value = None
        self.start = start
        self.parent = parent
        self.label = label
        self.keys = None

    def error(self, reason):
        return self.source.error_at(self.start, self, None, reason)

    def key_error(self, key, key_start, reason):
        return self.source.error_at(key_start, self, key, reason)

    def path(self):
        labels = []
        node = self
        while node.parent is not None:
            labels.append(node.label)
            node = node.parent
        return "".join(label_text(label) for label in reversed(labels)).lstrip(".")


def label_text(label):
    if isinstance(label, int):
        return "[%d]" % label
    if PLAIN_KEY.fullmatch(label):
        return "." + label
    return "[%s]" % json.dumps(label, ensure_ascii=False)


def parse_json(data):
    """Parses UTF-8 bytes. Throws TextError."""
    return Parser(data.decode("utf-8", "surrogateescape")).document()


class Parser:
    def __init__(self, text):
        self.text = text
        self.pos = 0
        self.open = []  # the containers around the current place
        self.duplicate = None  # the first error of that kind; malformed text comes before it

    def error_at(self, start, node, key, reason):
        line = self.text.count("\n", 0, start) + 1
        column = start - self.text.rfind("\n", 0, start)
        path = node.path() if node is not None else ""
        if key is not None:
            path = (path + label_text(key)).lstrip(".")
        return TextError(line, column, path, reason)

    def error(self, reason, start=None, key=None):
        node = self.open[-1] if self.open else None
        return self.error_at(self.pos if start is None else start, node, key, reason)

    def peek(self):
        return self.text[self.pos] if self.pos < len(self.text) else ""

    def blanks(self):
        self.pos = BLANKS.match(self.text, self.pos).end()

    def document(self):
        self.blanks()
        root = self.begin_value(None, None)
        while self.open:
            self.blanks()
            if self.open[-1].kind == "object":
                self.object_step(self.open[-1])
            else:
                self.array_step(self.open[-1])
        self.blanks()
        if self.pos != len(self.text):
            raise self.error("text behind the document")
        if self.duplicate:
            raise self.duplicate
        return root

    def object_step(self, node):
        if self.peek() == "}":
            self.pos += 1
            self.open.pop()
            return
        if node.value:
            self.expect(",", "comma or } expected")
            self.blanks()
        start = self.pos
        self.expect('"', "name in quotes expected")
        key = self.string(None)
        if key in node.keys and not self.in_source():
            self.duplicate = self.duplicate or self.error("duplicate key", start, key)
        node.keys.add(key)
        self.blanks()
        self.expect(":", "colon expected")
        self.blanks()
        node.value.append((key, start, self.begin_value(node, key)))

    def in_source(self):
        """Whether the current place lies in the document's `source`, which nobody looks into."""
        return len(self.open) > 1 and self.open[1].label == "source"

    def array_step(self, node):
        if self.peek() == "]":
            self.pos += 1
            self.open.pop()
            return
        if node.value:
            self.expect(",", "comma or ] expected")
            self.blanks()
        node.value.append(self.begin_value(node, len(node.value)))

    def expect(self, char, reason):
        if self.peek() != char:
            raise self.error(reason)
        self.pos += 1

    def begin_value(self, parent, label):
        """Reads a scalar, or the first character of a container, which then is open."""
        node = Node(self, self.pos, parent, label)
        char = self.peek()
        if char in ("{", "["):
            self.pos += 1
            node.kind = "object" if char == "{" else "array"
            node.value = []
            node.keys = set()
            self.open.append(node)
        elif char == '"':
            self.pos += 1
            node.kind = "string"
            node.value = self.string(node)
        elif char == "-" or "0" <= char <= "9":
            self.number(node)
        else:
            self.literal(node)
        return node

    def number(self, node):
        if self.peek() == "-":
            self.pos += 1
        if self.peek() == "0":
            self.pos += 1
        else:
            self.digits()
        if self.peek() == ".":
            self.pos += 1
            self.digits()
        if self.peek() in ("e", "E"):
            self.pos += 1
            if self.peek() in ("+", "-"):
                self.pos += 1
            self.digits()
        node.kind = "number"
        node.value = self.text[node.start:self.pos]

    def digits(self):
        end = DIGITS.match(self.text, self.pos).end()
        if end == self.pos:
            raise self.error("digit expected")
        self.pos = end

    def literal(self, node):
        for word, value in LITERALS.items():
            if self.peek() == word[0]:
                for char in word:
                    self.expect(char, "%s expected" % word)
                node.kind = "literal"
                node.value = value
                return
        raise self.error("value expected")

    def string(self, node):
        """The rest of a string behind its first quote; `node` is None for a name."""
        pieces = []
        while True:
            match = PLAIN_TEXT.match(self.text, self.pos)
            pieces.append(match[0])
            self.pos = match.end()
            char = self.peek()
            if char == '"':
                self.pos += 1
                return "".join(pieces)
            if char != "\\":
                raise self.string_error(node, "end of the string expected" if not char else
                                        "control character in a string" if char < " " else "not UTF-8")
            pieces.append(self.escape(node))

    def string_error(self, node, reason):
        return self.error(reason) if node is None else self.error_at(self.pos, node, None, reason)

    def escape(self, node):
        char = self.text[self.pos + 1:self.pos + 2]
        if char in ESCAPED and char:
            self.pos += 2
            return ESCAPED[char]
        unit = self.escaped_unit(self.pos)
        if unit is None:
            raise self.string_error(node, "unknown escape")
        if 0xD800 <= unit < 0xDC00:
            low = self.escaped_unit(self.pos + 6)
            if low is not None and 0xDC00 <= low < 0xE000:
                self.pos += 12
                return chr(0x10000 + (unit - 0xD800 << 10) + low - 0xDC00)
        if 0xD800 <= unit < 0xE000:
            raise self.error("lone surrogate") if node is None else node.error("lone surrogate")
        self.pos += 6
        return chr(unit)

    def escaped_unit(self, pos):
        """The number of \\uXXXX at `pos`, or None."""
        if self.text[pos:pos + 2] == "\\u" and HEX4.match(self.text, pos + 2):
            return int(self.text[pos + 2:pos + 6], 16)
        return None
