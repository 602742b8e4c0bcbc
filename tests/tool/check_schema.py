#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# tests/tool/check_schema.py SCHEMA <DOCUMENTS
# Checks each line of the input, a JSON document, by a JSON Schema: prints a line "yes", or "no" and the reason.
# Exit code 3: no Python package jsonschema, or an old one. Run by tests/tool/cookbook_test.cpp.
import json
import sys

try:
    from jsonschema import Draft202012Validator
except ImportError:
    sys.exit(3)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    for line in sys.stdin:
        error = next(validator.iter_errors(json.loads(line)), None)
        print("yes" if error is None else "no " + error.message.replace("\n", " ")[:200])


if __name__ == "__main__":
    main()
