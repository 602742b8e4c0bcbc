#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# packet_generator.py FORM COUNT [SEED]: one base64 input a line. FORM is packet, amf0, amf3, sol or flv.
#
# Makes whole inputs of each form, with everything that senders are known to do, and damages some. The same seed gives
# the same bytes. Enter at generate(). Tested by rows_test.py and self_test.py.
import base64
import random
import struct
import sys

from value_generator import FAULTS, ValueGenerator

FORMS = ("packet", "amf0", "amf3", "sol", "flv")
DAMAGED_SHARE = 0.12
FAULT_SHARE = 0.08

# Features that at least one per cent of the inputs of a form have, for the forms that values of AMF0 or AMF3 occur in.
AMF0_FEATURES = [
    "amf0 number", "amf0 simple", "amf0 string", "amf0 odd boolean", "amf0 long marker", "amf0 date", "amf0 zone",
    "amf0 xml", "amf0 reference", "amf0 object", "amf0 typed object", "amf0 ecma array", "amf0 lying count",
    "amf0 strict array", "amf3 in amf0"]
AMF3_FEATURES = [
    "amf3 " + name for name in (
        "simple", "integer", "double", "string", "string reference", "string repeated", "overlong u29", "xmldoc", "xml",
        "bytes", "date", "odd date head", "object reference", "array", "array members", "object", "sealed members",
        "empty sealed name", "dynamic object", "traits reference", "traits repeated", "externalizable",
        "dynamic externalizable", "sealed names of an externalizable", "small message", "needless flag byte",
        "unknown flag", "int", "uint", "double", "objects", "odd fixed", "dictionary")]
VALUE_FEATURES = ["text not UTF-8", "border double", "random double", "border date", "index names", "duplicate names",
                  "empty name", "dollar names", "names not UTF-8", "cut", "changed byte", "changed bytes",
                  "moved bytes"]
PACKET_FEATURES = ["packet headers", "packet several messages", "packet length unknown", "packet length lies",
                   "packet odd must-understand", "packet trailing bytes", "packet count lies"]
SOL_FEATURES = ["sol amf0", "sol amf3", "sol size lies", "sol last 00 missing", "sol trailing bytes",
                "sol wrong end of entry"]
FLV_FEATURES = ["flv type 15", "flv type 18", "flv encrypted", "flv other tag", "flv last size missing",
                "flv last size cut", "flv negative time"]
COMMON_FEATURES = {
    "packet": AMF0_FEATURES + AMF3_FEATURES + VALUE_FEATURES + PACKET_FEATURES,
    "amf0": AMF0_FEATURES + AMF3_FEATURES + VALUE_FEATURES,
    "amf3": AMF3_FEATURES + VALUE_FEATURES,
    "sol": AMF0_FEATURES + AMF3_FEATURES + VALUE_FEATURES + SOL_FEATURES,
    "flv": AMF0_FEATURES + AMF3_FEATURES + VALUE_FEATURES + FLV_FEATURES,
}


def generate(form, count, seed=1):
    """Yields (bytes, features) `count` times."""
    for number in range(count):
        generator = InputGenerator(random.Random("%s %d %d" % (form, seed, number)))
        yield generator.make(form), generator.features


class InputGenerator:
    def __init__(self, source):
        self.random = source
        self.features = set()

    def chance(self, share):
        return self.random.random() < share

    def feature(self, share, name):
        if self.chance(share):
            self.features.add(name)
            return True
        return False

    def make(self, form):
        self.fault = self.random.choice(FAULTS) if self.chance(FAULT_SHARE) else None
        data = getattr(self, form)()
        return self.damaged(data) if data and self.chance(DAMAGED_SHARE) else data

    def damaged(self, data):
        how = self.random.randrange(4)
        at = self.random.randrange(len(data))
        if how == 0:
            self.features.add("cut")
            return data[:at]
        if how == 1:
            self.features.add("changed byte")
            return data[:at] + bytes([self.random.randrange(256)]) + data[at + 1:]
        if how == 2:
            self.features.add("changed bytes")
            changed = bytearray(data)
            for _ in range(self.random.randrange(2, 8)):
                changed[self.random.randrange(len(data))] = self.random.randrange(256)
            return bytes(changed)
        self.features.add("moved bytes")
        end = at + self.random.randrange(8)
        return data[:at] + data[end:] if self.chance(0.5) else data[:end] + data[at:]

    def section(self):
        return ValueGenerator(self.random, self.features, self.fault)

    # --- Packets ---

    def packet(self):
        version = self.random.choice((0, 0, 3, 3, 3, 1, 0xBF, 65535))
        headers = [self.header() for _ in range(self.random.choice((0, 0, 0, 0, 1, 1, 2)))]
        messages = [self.message() for _ in range(self.random.choice((0, 1, 1, 1, 1, 2, 3)))]
        if headers:
            self.features.add("packet headers")
        if len(messages) > 1:
            self.features.add("packet several messages")
        data = struct.pack(">HH", version, len(headers)) + b"".join(headers)
        count = len(messages)
        if self.feature(0.03, "packet count lies"):
            count = self.random.choice((count + 1, max(count - 1, 0), 65535))
        data += struct.pack(">H", count) + b"".join(messages)
        if self.feature(0.07, "packet trailing bytes"):
            data += self.random.randbytes(self.random.randrange(1, 9))
        return data

    def text16(self):
        data = self.random.choice(
            (b"", b"/1", b"/1/onResult", b"null", b"Service.method", "Dienst.tü".encode(), b"\xff\xfe"))
        return struct.pack(">H", len(data)) + data

    def header(self):
        must_understand = self.random.randrange(2)
        if self.feature(0.2, "packet odd must-understand"):
            must_understand = self.random.randrange(2, 256)
        return self.text16() + bytes([must_understand]) + self.body()

    def message(self):
        return self.text16() + self.text16() + self.body()

    def body(self):
        section = self.section()
        section.amf0()
        length = len(section.out)
        if self.feature(0.08, "packet length unknown"):
            length = 0xFFFFFFFF
        elif self.feature(0.08, "packet length lies"):
            length = self.random.choice((0, 1, length + 1, max(length - 1, 0), 1000, 0xFFFFFFFE))
        return struct.pack(">I", length) + bytes(section.out)

    # --- Bare values ---

    def amf0(self):
        section = self.section()
        for _ in range(self.random.choice((0, 1, 1, 1, 2, 4))):
            section.amf0()
        return bytes(section.out)

    def amf3(self):
        section = self.section()
        for _ in range(self.random.choice((0, 1, 1, 1, 2, 4))):
            section.amf3()
        return bytes(section.out)

    # --- Shared objects ---

    def sol(self):
        version = self.random.choice((0, 3))
        self.features.add("sol amf%d" % version)
        out = b"TCSO\x00\x04\x00\x00\x00\x00" + self.text16() + struct.pack(">I", version) + self.entries(version)
        size = len(out)
        if self.feature(0.1, "sol size lies"):
            size = self.random.choice((0, 10, size - 1, size + 1, self.random.randrange(size), 0xFFFFFFFF))
        if self.feature(0.07, "sol trailing bytes"):
            out += self.random.randbytes(self.random.randrange(1, 9))
        return b"\x00\xbf" + struct.pack(">I", size) + out

    def entries(self, version):
        section = self.section()
        if version == 0:
            section.amf0_count = 1
        names = section.names(0)
        for number, name in enumerate(names):
            if version == 0:
                section.text16(name)
                section.amf0()
            else:
                section.string(name)
                section.amf3()
            if number == len(names) - 1 and self.feature(0.04, "sol last 00 missing"):
                break
            section.put(b"\x01" if self.feature(0.02, "sol wrong end of entry") else b"\x00")
        return bytes(section.out)

    # --- FLV ---

    def flv(self):
        start = self.random.choice((9, 9, 9, 9, 12))
        out = b"FLV\x01\x05" + struct.pack(">I", start) + bytes(start - 9) + bytes(4)
        for _ in range(self.random.choice((0, 1, 1, 2, 3))):
            tag = self.tag()
            out += tag + struct.pack(">I", len(tag))
        if self.feature(0.05, "flv last size missing"):
            return out[:-4]
        return out[:-self.random.randrange(1, 4)] if self.feature(0.05, "flv last size cut") else out

    def tag(self):
        kind = self.random.choice((18, 18, 18, 15, 8, 9))
        body = self.amf0() if kind in (15, 18) else self.random.randbytes(5)
        if kind == 15:
            body = (b"\x00" if self.chance(0.9) else b"\x01") + body
        self.features.add("flv type %d" % kind if kind in (15, 18) else "flv other tag")
        if self.feature(0.05, "flv encrypted"):
            kind |= 0x20
        time = self.random.choice((0, 40, 0xFFFFFF, 0x1000000, 0x7FFFFFFF))
        if self.feature(0.2, "flv negative time"):
            time = self.random.choice((0x80000000, 0xFFFFFFFF))
        times = struct.pack(">I", time & 0xFFFFFF)[1:] + bytes([time >> 24])
        return bytes([kind]) + struct.pack(">I", len(body))[1:] + times + bytes(3) + body


def main(arguments):
    form, count = arguments[0], int(arguments[1])
    seed = int(arguments[2]) if len(arguments) > 2 else 1
    for data, _ in generate(form, count, seed):
        sys.stdout.buffer.write(base64.b64encode(data) + b"\n")


if __name__ == "__main__":
    main(sys.argv[1:])
