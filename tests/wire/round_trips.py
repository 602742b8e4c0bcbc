#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# round_trips.py PROGRAM [COUNT [SEED]]
#
# Exports and imports COUNT generated packets, runs of values and shared objects with the library. PROGRAM is its
# driver, wire_lines.cpp. Every input that export accepts has to come back byte for byte. Without originals it has to
# become bytes that export to the same text, but for what describes the sender's bytes (self_test.py). Prints the share of each feature among the accepted inputs, and how many
# need an original. Status 1 at the first difference. script/soak wire runs it for long.
import base64
import collections
import itertools
import sys
import os

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "plain"))

from agreement import run  # noqa: E402
from packet_generator import generate  # noqa: E402
from self_test import load, without_sender  # noqa: E402

SHARES = {"packet": 0.7, "amf0": 0.1, "amf3": 0.1, "sol": 0.1}
BATCH = 20000


def expect_equal(what, inputs, expected, found):
    for row in zip(inputs, expected, found):
        if row[1] != row[2]:
            sys.exit("%s\n  input    %s\n  expected %s\n  found    %s" % ((what,) + tuple(part.decode() for part in row)))


def is_lying_size(row):
    """A shared object whose size lies may now end, or go on, where the lie says."""
    return b'"size":' in row[1] and (b'"trailing":' in row[2] or row[2].startswith(b'{"error":'))


def check(program, form, batch, counts):
    """`batch` is a list of (bytes, features)."""
    def export(lines, *options):
        return run(program, ["export", "--lines", "--as", form] + list(options), lines)

    def imported(texts):
        return run(program, ["import", "--lines"], texts)

    lines = [base64.b64encode(data) for data, _ in batch]
    results = zip(lines, export(lines), (features for _, features in batch))
    accepted = [row for row in results if not row[1].startswith(b'{"error":')]
    lines = [row[0] for row in accepted]
    texts = [row[1] for row in accepted]
    expect_equal("import(export(x)) is not x", lines, lines, imported(texts))
    plain = export(lines, "--no-originals")
    again = export(imported(plain))
    changed = [row for row in zip(lines, plain, again) if row[1] != row[2] and not is_lying_size(row)]
    for row in changed:
        same = without_sender(load(row[1].decode())) == without_sender(load(row[2].decode()))
        expect_equal("without originals the values are others", row[:1], [b"same values"] if same else row[1:2],
                     [b"same values"] if same else row[2:])
    counts["whose marks or lengths change without the original"] += len(changed)
    counts["inputs"] += len(batch)
    counts["accepted"] += len(accepted)
    counts["with an original"] += sum(b'"original":' in text for text in texts)
    for _, _, features in accepted:
        counts.update(features)


def main(program, count="1000", seed="1"):
    counts = collections.Counter()
    for form, share in SHARES.items():
        inputs = generate(form, int(int(count) * share), int(seed))
        for batch in iter(lambda: list(itertools.islice(inputs, BATCH)), []):
            check(program, form, batch, counts)
            print("%s: %d inputs so far" % (form, counts["inputs"]), file=sys.stderr)
    kinds = ("inputs", "accepted", "with an original", "whose marks or lengths change without the original")
    for name in kinds[1:]:
        print("%6.2f %%  %s" % (100 * counts[name] / counts["inputs"], name))
    for name, number in sorted(counts.items()):
        if name not in kinds:
            print("%6.2f %%  %s" % (100 * number / counts["accepted"], name))
    print("%d inputs, %d accepted, no difference" % (counts["inputs"], counts["accepted"]))


if __name__ == "__main__":
    main(*sys.argv[1:])
