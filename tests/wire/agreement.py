#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# agreement.py PROGRAM [--count N] [--seed S] [--form FORM]... [--report FILE] [FILE...]
#
# Compares the library with the plain implementation in plain/. PROGRAM is the library's driver, called as
# "PROGRAM export|import [--lines] [--as FORM] [--salvage] [--no-originals]": wire_lines.cpp, as plain/wire_plain.py.
# N generated inputs of each form and the files are exported in three ways; the texts, and N edited texts of each form,
# are imported. Both have to write the same text and the same bytes, and to name the same place of an error: the
# offset in bytes, or line, column and path. Reasons may be worded differently.
# Some texts that go over several lines are imported one by one, as whole inputs.
# Prints one line for each form and direction, and the first differences; --report writes all of them. Status 1 where
# there is a difference.
import argparse
import base64
import json
import os
import re
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "plain"))

from document_reader import form_of  # noqa: E402
from packet_generator import FORMS, generate  # noqa: E402
from text_generator import edited_texts  # noqa: E402
from wire_plain import export_bytes, import_bytes  # noqa: E402
from wire_values import BytesError, TextError  # noqa: E402

EXPORT_OPTIONS = ([], ["--no-originals"], ["--salvage"])
SALVAGE_REASON = re.compile(r'"error":"(?:offset|byte) ([0-9]+): (?:[^"\\]|\\.)*"')
PLACE = re.compile("line [0-9]+, column [0-9]+, path .*?(?=: )")
SHOWN = 5
SINGLE_TEXTS = 100


def run(program, arguments, lines):
    """The driver's output lines."""
    command = [program] + arguments
    text = b"".join(line + b"\n" for line in lines)
    result = subprocess.run(command, input=text, stdout=subprocess.PIPE, check=False)
    output = result.stdout.split(b"\n")[:-1]
    if result.returncode != 0 or len(output) != len(lines):
        sys.exit("%s: status %d, %d lines for %d" % (" ".join(command), result.returncode, len(output), len(lines)))
    return output


def run_single(program, text):
    """What the driver makes of one whole text: bytes as hexadecimal digits, or the place of the error."""
    result = subprocess.run([program, "import"], input=text, capture_output=True, check=False)
    if result.returncode == 0:
        return result.stdout.hex()
    place = PLACE.search(result.stderr.decode("utf-8"))
    return place[0] if result.returncode == 1 and place else "status %d" % result.returncode


def plain_export(data, form, options):
    try:
        return export_bytes(data, form, salvage="--salvage" in options, originals="--no-originals" not in options)
    except BytesError as error:
        return "offset %d" % error.offset


def plain_import(line):
    try:
        return import_bytes(line).hex()
    except TextError as error:
        return "line %d, column %d, path %s" % (error.line, error.column, error.path)


def library_export(line):
    """The text, or the place of the error."""
    text = line.decode("utf-8")
    if text.startswith('{"error":'):
        return "offset %d" % json.loads(text)["offset"]
    return text


def library_import(line):
    if line.startswith(b"{"):
        error = json.loads(line)
        return "line %d, column %d, path %s" % (error["line"], error["column"], error["path"])
    return base64.b64decode(line, validate=True).hex()


def without_reasons(text):
    return SALVAGE_REASON.sub(r'"error":"offset \1"', text)


class Comparison:
    def __init__(self, report):
        self.report = report
        self.differences = 0

    def compare(self, what, inputs, plain, library):
        """Compares two lists of results; `inputs` are what they come from, as text."""
        different = [row for row in zip(inputs, plain, library) if row[1] != row[2]]
        refused = sum(result.startswith(("offset ", "line ")) for result in plain)
        print("%s: %d compared, %d refused by the plain one, %d differ" % (what, len(plain), refused, len(different)))
        for number, row in enumerate(different):
            text = "%s\n  input   %s\n  plain   %s\n  library %s\n" % ((what,) + row)
            if number < SHOWN:
                print(text, end="")
            if self.report:
                self.report.write(text)
        self.differences += len(different)

    def exports(self, program, form, inputs):
        """Compares exports of byte strings; returns the texts."""
        texts = []
        lines = [base64.b64encode(data) for data in inputs]
        for options in EXPORT_OPTIONS:
            plain = [plain_export(data, form, options) for data in inputs]
            output = run(program, ["export", "--lines", "--as", form] + options, lines)
            what = " ".join(["export", form] + options)
            self.compare(what, [data.hex() for data in inputs], [without_reasons(text) for text in plain],
                         [without_reasons(library_export(line)) for line in output])
            texts += [text for text in plain if not text.startswith("offset ")]
        return texts

    def imports(self, program, what, texts):
        lines = [text.replace("\n", " ").encode("utf-8") for text in texts]
        library = [library_import(line) for line in run(program, ["import", "--lines"], lines)]
        self.compare("import " + what, texts, [plain_import(line) for line in lines], library)

    def singles(self, program, form, texts):
        inputs = [text.encode("utf-8") for text in texts]
        library = [run_single(program, text) for text in inputs]
        self.compare("import %s one by one" % form, texts, [plain_import(text) for text in inputs], library)

    def form(self, program, form, count, seed):
        texts = self.exports(program, form, [data for data, _ in generate(form, count, seed)])
        self.imports(program, form, texts)
        if form != "flv":
            edited = list(edited_texts(form, count, seed))
            self.imports(program, form + " edited", edited)
            self.singles(program, form, [text for text in edited if "\n" in text][:SINGLE_TEXTS])


def file_bytes(name):
    with open(name, "rb") as stream:
        return stream.read()


def main(arguments):
    parser = argparse.ArgumentParser(prog="agreement.py")
    parser.add_argument("program")
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--form", action="append", choices=FORMS)
    parser.add_argument("--report", type=argparse.FileType("w", encoding="utf-8"))
    parser.add_argument("files", nargs="*")
    options = parser.parse_intermixed_args(arguments)
    comparison = Comparison(options.report)
    if options.files:
        inputs = [file_bytes(name) for name in options.files]
        for form in FORMS:
            chosen = [data for data in inputs if form_of(data) == form]
            if chosen:
                comparison.imports(options.program, "files " + form, comparison.exports(options.program, form, chosen))
    for form in options.form or FORMS:
        comparison.form(options.program, form, options.count, options.seed)
    print("%d differences" % comparison.differences)
    return 1 if comparison.differences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
