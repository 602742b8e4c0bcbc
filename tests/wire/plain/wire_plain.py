#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# wire_plain.py export [--as FORM] [--salvage] [--no-originals] [--external CLASS[=VALUES]]... [--lines] [FILE...]
# wire_plain.py import [--external CLASS[=VALUES]]... [--lines] [FILE...]
#
# A second, plain implementation of the wire formats and their JSON, to compare the library with. Reads the files, or
# standard input. export writes one line of compact JSON for each input; import writes the bytes. With --no-originals,
# export notes on standard error how many sections will come back with other bytes.
# An error is one line on standard error and status 1: "offset N: reason" or "line L, column C, path P: reason".
#
# --lines takes one input on each line and writes one output line for each. export: base64 -> JSON text, or
# {"error":"reason","offset":N}. import: JSON text -> base64, or {"error":"reason","line":L,"column":C,"path":"P"}.
# Tested by rows_test.py and self_test.py.
import argparse
import base64
import json
import sys

from document_reader import changed_sections, form_of, read_document
from json_reader import import_text
from json_writer import document_text
from wire_values import BytesError, TextError, known_externals

FORMS = ("auto", "packet", "amf0", "amf3", "sol", "flv")
RECURSION = 100000  # deep values recurse; the bounds on depth are checked by the readers

sys.setrecursionlimit(RECURSION)
sys.set_int_max_str_digits(0)


def export_bytes(data, form="auto", salvage=False, originals=True, externals=None):
    """The JSON text of the bytes. Throws BytesError."""
    externals = known_externals() if externals is None else externals
    document = read_document(data, form_of(data) if form == "auto" else form, externals, salvage)
    return document_text(document, originals)


def import_bytes(text, externals=None):
    """The bytes of a JSON text (UTF-8 bytes). Throws TextError."""
    return import_text(text, known_externals() if externals is None else externals)


def external_pair(argument):
    name, _, count = argument.partition("=")
    return name.encode(), int(count or "1")


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="wire_plain.py")
    parser.add_argument("direction", choices=("export", "import"))
    parser.add_argument("--as", dest="form", choices=FORMS, default="auto")
    parser.add_argument("--salvage", action="store_true")
    parser.add_argument("--no-originals", dest="originals", action="store_false")
    parser.add_argument("--external", action="append", type=external_pair, default=[])
    parser.add_argument("--lines", action="store_true")
    parser.add_argument("files", nargs="*")
    return parser.parse_intermixed_args(arguments)


def export_line(line, options):
    data = base64.b64decode(line, validate=True)
    try:
        text = export_bytes(data, options.form, options.salvage, options.originals, options.externals)
    except BytesError as error:
        text = json.dumps({"error": error.reason, "offset": error.offset}, ensure_ascii=False, separators=(",", ":"))
    return text.encode("utf-8") + b"\n"


def import_line(line, options):
    try:
        return base64.b64encode(import_bytes(line, options.externals)) + b"\n"
    except TextError as error:
        report = {"error": error.reason, "line": error.line, "column": error.column, "path": error.path}
        text = json.dumps(report, ensure_ascii=False, separators=(",", ":"))
        return text.encode("utf-8", "replace") + b"\n"


def convert(data, options):
    if options.direction == "import":
        return import_bytes(data, options.externals)
    form = form_of(data) if options.form == "auto" else options.form
    document = read_document(data, form, options.externals, options.salvage)
    if not options.originals and changed_sections(document):
        print("%d sections will come back with other bytes" % changed_sections(document), file=sys.stderr)
    return document_text(document, options.originals).encode("utf-8") + b"\n"


def main(arguments):
    options = parse_arguments(arguments)
    options.externals = known_externals(options.external)
    inputs = (open(name, "rb") for name in options.files) if options.files else (sys.stdin.buffer,)
    for stream in inputs:
        with stream:
            if options.lines:
                convert_line = export_line if options.direction == "export" else import_line
                for line in stream:
                    sys.stdout.buffer.write(convert_line(line.rstrip(b"\n"), options))
                continue
            data = stream.read()
        try:
            sys.stdout.buffer.write(convert(data, options))
        except (BytesError, TextError) as error:
            print(error, file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
