#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# text_generator.py FORM COUNT [SEED]: one JSON document a line, as a person or a program may have edited it.
#
# Takes the exports of generated inputs and edits each: keys in another order, other spellings of numbers and strings,
# other values, keys more or fewer, ids and references that lead elsewhere, or damaged text. So most of them are
# accepted, and the others have one fault at one place. Enter at edited_texts(). Used by ../agreement.py.
import json
import random
import sys

from packet_generator import generate
from wire_plain import export_bytes
from wire_values import BytesError


class Digits(str):
    """A JSON number, kept as it is spelled."""


NUMBERS = [
    "0", "5", "-1", "5.0", "-0", "0.0", "1e2", "1E+2", "0.5", "268435455", "268435456", "-268435456", "-268435457",
    "2147483647", "2147483648", "4294967295", "4294967296", "65535", "65536", "9007199254740991", "9007199254740992",
    "9007199254740993", "1e21", "1e23", "100000000000000000000000", "1e400", "-1e-400", "123456789012345680000",
    "123456789012345678901", "0.1e1", "15e-1"]
STRINGS = [
    "", "a", "unknown", "NaN", "-0", "Infinity", "0x7ff8000000000001", "0x7FF8000000000001", "0x3ff0000000000000",
    "int", "object", "AQI=", "AQI", "AQJ=", "A===", "AQ I=", "1970-01-01T00:00:00Z", "1970-01-01T00:00:00.5Z",
    "2000-02-29T23:59:59.999Z", "2001-02-29T00:00:00Z", "2000-01-01T24:00:00Z", "\ud7ff\U0001f600", "DSK",
    "mx.utils.ObjectProxy"]
KEYS = [
    "$id", "$ref", "$class", "$sealed", "$dynamic", "$members", "$array", "$ecma", "$zone", "$date", "$double",
    "$external", "$value", "$values", "$vector", "$type", "$fixed", "$items", "$dictionary", "$weak", "$amf3",
    "$bytes", "$xml", "$xmldoc", "$string64", "$undefined", "$unsupported", "$nope", "$0.1.2", "$2.0.0", "$0.0.0",
    "$0.16.0", "$$a", "", "a", "body", "1", "source", "length", "original", "raw", "error", "trailing",
    "stringReferences", "traitsReferences", "integers", "size", "headerCount", "messageCount", "odd name"]


class Editor:
    """One edit of one document. Objects are dicts, arrays are lists, numbers are Digits."""

    def __init__(self, source):
        self.random = source

    def pick(self, choices):
        return choices[self.random.randrange(len(choices))]

    def scalar(self):
        return self.pick((
            Digits(self.pick(NUMBERS)), self.pick(STRINGS), True, False, None, {}, [], {"$id": Digits("1")},
            {"$ref": Digits("1")}, {"$double": Digits("5")}, {"$undefined": True}))

    def places(self, value, depth, found):
        """All (container, key or index, depth) below a value."""
        keys = value.keys() if isinstance(value, dict) else range(len(value)) if isinstance(value, list) else ()
        for key in keys:
            found.append((value, key, depth))
            self.places(value[key], depth + 1, found)
        return found

    def edit(self, document):
        places = self.places(document, 0, [])
        if self.random.random() < 0.85:
            places = [place for place in places if place[2] > 0] or places
        places = [(box, key) for box, key, _ in places]
        objects = [box[key] for box, key in places if isinstance(box[key], dict)] or [document]
        how = self.pick((0, 0, 0, 1, 2, 3, 4, 5, 5))
        box, key = self.pick(places)
        if how == 0:
            self.reorder(objects)
        elif how == 1:
            box[key] = self.scalar()
        elif how == 2:
            self.pick(objects)[self.pick(KEYS)] = self.scalar()
        elif how == 3:
            del box[key]
        elif how == 4:
            self.rename(self.pick(objects))
        else:
            self.respell(places)

    def reorder(self, objects):
        for item in objects:
            pairs = list(item.items())
            self.random.shuffle(pairs)
            item.clear()
            item.update(pairs)

    def rename(self, item):
        pairs = list(item.items())
        if not pairs:
            return
        index = self.random.randrange(len(pairs))
        pairs[index] = (self.pick(KEYS), pairs[index][1])
        item.clear()
        item.update(pairs)

    def respell(self, places):
        """Another spelling or value of a number or string."""
        scalars = [(box, key) for box, key in places if isinstance(box[key], str)]
        if scalars:
            box, key = self.pick(scalars)
            is_number = isinstance(box[key], Digits)
            box[key] = Digits(self.pick(NUMBERS)) if is_number else self.pick(STRINGS)

    # --- Writing ---

    def blank(self):
        return self.pick(("", "", "", " ", "\t", "\r\n", "\n"))

    def text(self, value, spread):
        """The document's text; `spread` puts blanks between."""
        blank = self.blank if spread else str
        if isinstance(value, Digits):
            return str(value)
        if isinstance(value, dict):
            pairs = [blank() + self.text(key, spread) + blank() + ":" + blank() + self.text(item, spread) + blank()
                     for key, item in value.items()]
            return "{" + ",".join(pairs) + "}"
        if isinstance(value, list):
            return "[" + ",".join(blank() + self.text(item, spread) + blank() for item in value) + "]"
        return json.dumps(value, ensure_ascii=self.random.random() < 0.2)

    def damage(self, text):
        at = self.random.randrange(len(text))
        other = self.pick((
            '"', "{", "}", "[", "]", ",", ":", "0", "-", "$", "\\", "a", "", "\\u", "\\ud800", " ", "\x01", "\ufeff"))
        return text[:at] + other + text[at + self.random.randrange(3):]


def edited_texts(form, count, seed=1):
    """Yields `count` texts (str, possibly over several lines)."""
    made = 0
    for number, (data, _) in enumerate(generate(form, 2 * count, seed)):
        if made == count:
            return
        editor = Editor(random.Random("text %s %d %d" % (form, seed, number)))
        try:
            options = {"salvage": editor.random.random() < 0.2, "originals": editor.random.random() < 0.5}
            text = export_bytes(data, form, **options)
        except BytesError:
            continue
        made += 1
        document = json.loads(text, parse_int=Digits, parse_float=Digits)
        damaged = editor.random.random() < 0.2
        if not damaged and len(text) < 20000:
            editor.edit(document)
        text = editor.text(document, editor.random.random() < 0.3)
        yield editor.damage(text) if damaged else text


def main(arguments):
    seed = int(arguments[2]) if len(arguments) > 2 else 1
    for text in edited_texts(arguments[0], int(arguments[1]), seed):
        print(text.replace("\n", " "))


if __name__ == "__main__":
    main(sys.argv[1:])
