#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# self_test.py [--count N] [--seed S] [--form FORM]... [FILE...]
#
# Checks the plain implementation against itself, over N generated inputs of each form and over the files:
# - import(export(x)) is x, for every x that is accepted, with and without salvage (FLV: import refuses the text);
# - without originals, export(import(export(x))) has the same values (marks and lengths may go, since they describe the
#   sender's bytes), and a second import writes the same bytes;
# - the text is JSON for Python's own parser too, with the same keys and values;
# - import refuses damaged text with a place, and never fails in another way;
# - what import writes for edited text can be exported, and comes back;
# - every common feature has a share of at least one per cent (from 2000 inputs on).
# Prints the shares. Status 1 at the first failure. Exact rows stand in rows_test.py.
import argparse
import collections
import json
import random
import sys
import time

from json_text import parse_json
from packet_generator import COMMON_FEATURES, FORMS, generate
from text_generator import edited_texts
from wire_plain import export_bytes, import_bytes
from wire_values import BytesError, TextError

MINIMUM_SHARE = 0.01
ENOUGH_FOR_SHARES = 2000  # with fewer inputs, the shares are printed and not judged
# Counted in all inputs; every other feature only where the input is accepted.
DAMAGE = ("cut", "changed byte", "changed bytes", "moved bytes", "sol wrong end of entry", "flv last size cut",
          "packet count lies")
# What describes the sender's bytes and not the values. Without originals other bytes are written.
OF_THE_SENDER = ("length", "size", "stringReferences", "traitsReferences")


class Failure(Exception):
    pass


def expect(condition, what, data, *shown):
    if not condition:
        raise Failure("\n".join([what, data.hex()] + [repr(item)[:2000] for item in shown]))


def plain(node):
    """A node of this folder's parser as Python's parser would return it, with all keys in order."""
    if node.kind == "object":
        return [(key, plain(value)) for key, _, value in node.value]
    if node.kind == "array":
        return [plain(value) for value in node.value]
    return float(node.value) if node.kind == "number" else node.value


def without_sender(value):
    """A document of Python's parser (objects are lists of pairs) without the keys of the sender; top two levels."""
    kept = []
    for key, item in value:
        if key in ("headers", "messages"):
            item = [without_sender(part) for part in item]
        if key not in OF_THE_SENDER:
            kept.append((key, item))
    return kept


def load(text):
    return json.loads(text, object_pairs_hook=list, parse_int=float)


def exported(data, form, **options):
    try:
        return export_bytes(data, form, **options)
    except BytesError as error:
        expect(0 <= error.offset <= len(data), "offset %d outside" % error.offset, data)
        return error


def check_input(data, form, shares):
    """Checks one input; counts what became of it in `shares`. Returns whether it is accepted."""
    text = exported(data, form)
    salvaged = exported(data, form, salvage=True)
    if isinstance(text, BytesError):
        shares["refused"] += 1
        if not isinstance(salvaged, BytesError):
            shares["salvaged"] += 1
            check_text(salvaged, data, form)
        return False
    expect(salvaged == text, "salvage changes what can be read", data, text, salvaged)
    shares["accepted"] += 1
    shares["with originals"] += '"original":' in text
    check_text(text, data, form)
    if form != "flv":
        check_without_originals(data, form, text)
        check_damaged_text(data, text)
    return True


def check_text(text, data, form):
    expect(plain(parse_json(text.encode())) == load(text), "not the JSON that Python reads", data, text)
    try:
        back = import_bytes(text.encode())
        expect(form != "flv", "FLV is imported", data, text)
        expect(back == data, "import(export(x)) is not x", data, text, back.hex())
    except TextError as error:
        expect(form == "flv", "import refuses its own export", data, text, error)


def check_without_originals(data, form, text):
    first = export_bytes(data, form, originals=False)
    if '"original"' not in text:
        expect(first == text, "originals change other text", data, first, text)
    written = import_bytes(first.encode())
    try:
        second = export_bytes(written, form, originals=False)
    except BytesError:
        # A shared object whose size lies may now end, or go on, where the lie says.
        expect('"size":' in first, "the import cannot be read", data, first, written.hex())
        return
    if '"size":' in first and '"trailing":' in second:
        return
    same = without_sender(load(second)) == without_sender(load(first))
    expect(same, "values change without originals", data, first, second)
    expect(import_bytes(second.encode()) == written, "a second import writes other bytes", data, first, second)


def check_damaged_text(data, text):
    """Any change of the text is accepted or refused with a place."""
    source = random.Random(len(text))
    at = source.randrange(len(text))
    other = source.choice(('"', "{", "}", "[", "]", ",", ":", "0", "-", "$", "\\", "a", "", "\ud7ff", " "))
    damaged = text[:at] + other + text[at + source.randrange(3):]
    try:
        import_bytes(damaged.encode())
    except TextError as error:
        lines = damaged.split("\n")
        expect(1 <= error.line <= len(lines), "line outside", data, damaged, error)
        expect(1 <= error.column <= len(lines[error.line - 1]) + 1, "column outside", data, damaged, error)


def check_edited_text(text, form, shares):
    """What import writes for a text that somebody edited can be read again, and comes back."""
    try:
        data = import_bytes(text.encode())
    except TextError:
        shares["edited text refused"] += 1
        return
    shares["edited text accepted"] += 1
    if form in ("amf0", "amf3") and not any(key == form for key, _, _ in parse_json(text.encode()).value):
        return  # the edit made it a document of another form
    back = exported(data, form)
    if isinstance(back, BytesError):
        # These keys let a text say what cannot be read.
        expect(any('"%s"' % key in text for key in ("raw", "headerCount", "messageCount", "size", "trailing")),
               "the import of an edited text cannot be read", data, text, back)
        return
    expect(import_bytes(back.encode()) == data, "import(export(import(text))) differs", data, text, back)


def check_form(form, count, seed):
    """Returns the features that are too rare."""
    began = time.monotonic()
    shares = collections.Counter()
    features = collections.Counter()
    for data, found in generate(form, count, seed):
        accepted = check_input(data, form, shares)
        features.update(name for name in found if accepted or name in DAMAGE or name.startswith("fault"))
    for text in edited_texts(form, 0 if form == "flv" else count, seed):
        check_edited_text(text, form, shares)
    print("%s: %d inputs in %.0f s" % (form, count, time.monotonic() - began))
    for name, number in sorted(shares.items()) + sorted(features.items()):
        print("  %6.2f %%  %s" % (100 * number / count, name))
    if count < ENOUGH_FOR_SHARES:
        return []
    return [name for name in COMMON_FEATURES[form] + ["accepted", "refused"]
            if (features[name] or shares[name]) < MINIMUM_SHARE * count]


def check_file(name):
    with open(name, "rb") as stream:
        data = stream.read()
    shares = collections.Counter()
    check_input(data, "flv" if data[:3] == b"FLV" else "auto", shares)
    result = exported(data, "auto")
    print("%s: %s" % (name, result if isinstance(result, BytesError) else "accepted"))


def main(arguments):
    parser = argparse.ArgumentParser(prog="self_test.py")
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--form", action="append", choices=FORMS)
    parser.add_argument("files", nargs="*")
    options = parser.parse_intermixed_args(arguments)
    status = 0
    try:
        for name in options.files:
            check_file(name)
        for form in options.form or (() if options.files else FORMS):
            rare = check_form(form, options.count, options.seed)
            if rare:
                print("%s: below one per cent: %s" % (form, ", ".join(rare)), file=sys.stderr)
                status = 1
    except Failure as failure:
        print(failure, file=sys.stderr)
        status = 1
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
