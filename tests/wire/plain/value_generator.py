# SPDX-License-Identifier: Apache-2.0
#
# Makes the bytes of random AMF values the way many different senders would write them: references or repeats,
# shortest or overlong forms, all kinds of values, cycles, and a fault where one is asked for. Enter at
# ValueGenerator.amf0(), .amf3(). Used by packet_generator.py, tested by self_test.py.
import struct

from wire_values import MAX_DEPTH, ONE_VALUE_CLASSES, SMALL_MESSAGES

PLAIN_NAMES = [
    b"a", b"b", b"id", b"name", b"value", b"body", b"label", b"count", b"x", b"y", "é".encode(), "名前".encode()]
ODD_NAMES = [
    b"", b"", b"", b"", b"$", b"$id", b"$$x", b"$ref", b"$array", b"$class", b"odd name", b"line\nfeed", b'quote"',
    b"back\\slash", b"__proto__", b"0", b"1", b"9", b"10", b"01", b"-1", b"1.5", b"4294967294", b"4294967295",
    b"99999999999", b"\x00", b"\x7f", b"\x1f"]
BROKEN_TEXTS = [b"\xff", b"a\xc0\x80", b"\xed\xa0\x80", b"\xc3", b"\xf4\x90\x80\x80", b"ok\x80"]
CLASS_NAMES = [b"a.B", b"vo.User", b"flex.messaging.messages.CommandMessage", b"$C", "Klasse.Ä".encode(), b"\xff.C"]
TEXTS = [
    b"", b"hello", b"world", b"<a/>", b"null", b"\"\\\b\f\n\r\t\x01", "grüße".encode(), "\U0001F600".encode(), b"/",
    b"\x7f"]
DOUBLES = [
    "0000000000000000", "8000000000000000", "7ff8000000000000", "7ff8000000000001", "fff8000000000000",
    "7ff0000000000001", "fff0000000000abc", "7fffffffffffffff", "7ff0000000000000", "fff0000000000000",
    "0000000000000001", "7fefffffffffffff", "0010000000000000", "41b0000000000000", "41affffffe000000",
    "41afffffffffffff", "c1b0000000000000", "c1b0000010000000", "c1b0000000000001", "4340000000000000",
    "4340000000000001", "444b1ae4d6e2ef50", "444b1ae4d6e2ef4f", "3eb0c6f7a0b5ed8d", "3eb0c6f7a0b5ed8c",
    "3e7ad7f29abcaf48", "3fb999999999999a", "44b52d02c7e14af6", "430c6bf526340000"]
DATES = [
    -62167219200000.0, -62167219200001.0, 253402300799999.0, 253402300800000.0, 0.0, -0.0, -1.0, 0.5, 1234567890123.0,
    951782400000.0, -2203891200000.0, 1e300, float("inf"), 68169600000.0, -62162035200000.0]
MARKERS_OF = {"xmldoc": 0x07, "date": 0x08, "array": 0x09, "object": 0x0A, "xml": 0x0B, "bytes": 0x0C, "int": 0x0D,
              "uint": 0x0E, "double": 0x0F, "objects": 0x10, "dictionary": 0x11}
FAULTS = ["reserved marker", "unknown class", "object reference", "kind of reference", "traits reference",
          "string reference", "object end", "flag bytes", "depth"]


class ValueGenerator:
    """Makes one section. `random` decides everything; `features` collects what the bytes hold."""

    def __init__(self, random, features, fault=None):
        self.random = random
        self.features = features
        self.fault = fault  # one of FAULTS, written at the first chance
        self.out = bytearray()
        self.odd = random.choice((0, 0, 0, 0.15, 0.6))  # how often a form is chosen that the writer never writes
        self.string_references = random.choice((0, 1, 1, 1, 0.5))
        self.traits_references = random.choice((0, 1, 1, 1, 0.5))
        self.doubles_only = random.random() < 0.25
        self.budget = random.choice((2, 8, 16, 30, 60))
        self.amf0_count = 0
        self.strings = []
        self.traits = []
        self.objects = []  # markers

    # --- Decisions and primitives ---

    def chance(self, share):
        return self.random.random() < share

    def strange(self, feature):
        """Whether to use an odd form; notes the feature."""
        if self.chance(self.odd):
            self.features.add(feature)
            return True
        return False

    def pick(self, choices):
        return choices[self.random.randrange(len(choices))]

    def count(self):
        return self.pick((0, 1, 1, 2, 3, 4, 6))

    def put(self, data):
        self.out += data

    def flag(self, value, feature):
        """A byte that is true or false."""
        self.put(bytes([self.random.randrange(2, 256) if value and self.strange(feature) else int(value)]))

    def text(self):
        if self.chance(0.06):
            self.features.add("text not UTF-8")
            return self.pick(BROKEN_TEXTS)
        if self.chance(0.2):
            return bytes(self.random.choices(b"abcdefgh ", k=self.random.choice((2, 7, 20, 63, 64, 127, 128))))
        return self.pick(TEXTS)

    def double(self):
        kind = self.random.randrange(4)
        if kind == 0:
            self.features.add("border double")
            return bytes.fromhex(self.pick(DOUBLES))
        if kind == 1:
            return struct.pack(">d", self.random.randrange(-1000, 1000))
        if kind == 2:
            return struct.pack(">d", round(self.random.uniform(-1e6, 1e6), self.random.randrange(6)))
        self.features.add("random double")
        return self.random.randbytes(8)

    def date(self):
        if self.chance(0.4):
            self.features.add("border date")
            return struct.pack(">d", self.pick(DATES))
        return struct.pack(">d", self.random.randrange(-10**12, 2 * 10**12)) if self.chance(0.8) else self.double()

    def names(self, version):
        """Member names: plain and different, array indexes, or anything."""
        count = self.count()
        style = self.random.random()
        if style < 0.6:
            return self.random.sample(PLAIN_NAMES, count)
        if style < 0.75:
            self.features.add("index names")
            names = [str(self.random.choice((index, index * 3, 4294967294))).encode() for index in range(count)]
            if self.chance(0.5):
                self.random.shuffle(names)
            return names
        names = []
        for _ in range(count):
            name = self.pick(ODD_NAMES + PLAIN_NAMES if self.chance(0.93) else BROKEN_TEXTS)
            if name or version == 0:
                names.append(name)
        for feature, found in (("duplicate names", len(set(names)) < len(names)), ("empty name", b"" in names),
                               ("dollar names", any(name.startswith(b"$") for name in names)),
                               ("names not UTF-8", any(name in BROKEN_TEXTS for name in names))):
            if found:
                self.features.add(feature)
        return names

    def choose(self, table):
        """A method of a table of (weight, method); scalars only where the budget is used up."""
        self.budget -= 1
        allowed = table if self.budget > self.random.randrange(4) else table[:5]
        return self.random.choices([method for _, method in allowed], [weight for weight, _ in allowed])[0]

    # --- AMF0 ---

    def amf0(self):
        if self.fault in ("reserved marker", "object end", "depth") and self.chance(0.5):
            return self.amf0_fault()
        return self.choose(AMF0_VALUES)(self)

    def amf0_fault(self):
        fault, self.fault = self.fault, None
        self.features.add("fault: " + fault)
        if fault == "reserved marker":
            self.put(self.pick((b"\x04", b"\x0e", b"\x09", b"\x12", b"\xff")))
        elif fault == "object end":
            self.put(b"\x03\x00\x01a\x09")
        else:
            self.put(b"\x0a\x00\x00\x00\x01" * (MAX_DEPTH + self.random.randrange(-9, 3)) + b"\x05")

    def text16(self, data):
        self.put(struct.pack(">H", len(data)) + data)

    def amf0_number(self):
        self.features.add("amf0 number")
        self.put(b"\x00" + self.double())

    def amf0_simple(self):
        self.features.add("amf0 simple")
        self.put(self.pick((b"\x05", b"\x06", b"\x0d")))

    def amf0_boolean(self):
        self.put(b"\x01")
        self.flag(self.chance(0.5), "amf0 odd boolean")

    def amf0_string(self):
        data = self.text()
        self.features.add("amf0 string")
        if self.chance(0.002):
            self.features.add("amf0 string of 64 KiB")
            data = b"x" * self.random.choice((65535, 65536))
        if len(data) > 65535 or self.strange("amf0 long marker"):
            self.put(b"\x0c" + struct.pack(">I", len(data)) + data)
        else:
            self.put(b"\x02")
            self.text16(data)

    def amf0_date(self):
        self.features.add("amf0 date")
        zone = 0
        if self.chance(0.3):
            self.features.add("amf0 zone")
            zone = self.random.choice((-60, 60, 720, -32768, 32767, 1))
        self.put(b"\x0b" + self.date() + struct.pack(">h", zone))

    def amf0_xml(self):
        self.features.add("amf0 xml")
        data = self.text()
        self.put(b"\x0f" + struct.pack(">I", len(data)) + data)

    def amf0_reference(self):
        if not self.amf0_count:
            return self.amf0_simple()
        self.features.add("amf0 reference")
        index = self.random.randrange(self.amf0_count)
        if self.fault == "object reference":
            self.fault = None
            self.features.add("fault: amf0 reference")
            index = self.amf0_count
        self.put(b"\x07" + struct.pack(">H", index))

    def amf0_members(self):
        for name in self.names(0):
            self.text16(name)
            self.amf0()
        self.put(b"\x00\x00\x09")

    def amf0_object(self):
        self.features.add("amf0 object")
        self.amf0_count += 1
        self.put(b"\x03")
        self.amf0_members()

    def amf0_typed(self):
        self.features.add("amf0 typed object")
        self.amf0_count += 1
        self.put(b"\x10")
        self.text16(b"" if self.chance(0.1) else self.pick(CLASS_NAMES))
        self.amf0_members()

    def amf0_ecma(self):
        self.features.add("amf0 ecma array")
        self.amf0_count += 1
        self.put(b"\x08")
        at = len(self.out)
        names = self.names(0)
        self.put(struct.pack(">I", len(names) if self.chance(0.6) else self.random.choice((0, 1, 7, 0xFFFFFFFF))))
        if int.from_bytes(self.out[at:at + 4], "big") != len(names):
            self.features.add("amf0 lying count")
        for name in names:
            self.text16(name)
            self.amf0()
        self.put(b"\x00\x00\x09")

    def amf0_strict(self):
        self.features.add("amf0 strict array")
        self.amf0_count += 1
        count = self.count()
        self.put(b"\x0a" + struct.pack(">I", count))
        for _ in range(count):
            self.amf0()

    def amf0_amf3(self):
        self.features.add("amf3 in amf0")
        self.put(b"\x11")
        self.amf3()

    # --- AMF3 ---

    def amf3(self):
        if self.fault and self.fault != "object end" and self.chance(0.5) and self.amf3_fault():
            return
        self.choose(AMF3_VALUES)(self)

    def amf3_fault(self):
        fault = self.fault
        kinds = set(self.objects)
        if fault == "kind of reference" and not kinds or fault == "object end":
            return False
        self.fault = None
        self.features.add("fault: " + fault)
        if fault == "kind of reference":
            index = self.random.randrange(len(self.objects))
            other = self.pick([marker for marker in MARKERS_OF.values() if marker != self.objects[index]])
            self.put(bytes([other]))
            self.u29(index << 1)
        elif fault == "depth":
            self.put(b"\x09\x03\x01" * (MAX_DEPTH + self.random.randrange(-9, 3)) + b"\x01")
        elif fault == "flag bytes":
            self.object_head(self.pick(sorted(SMALL_MESSAGES)), True, False, [])
            self.put(b"\x80" * self.random.choice((15, 16, 17)) + b"\x00\x00\x00")
        else:
            self.put({"reserved marker": self.pick((b"\x12", b"\xff", b"\x80")), "unknown class": b"\x0a\x07\x09un.k",
                      "object reference": b"\x09\x86\x00", "traits reference": b"\x0a\x86\x01",
                      "string reference": b"\x06\x86\x00"}[fault])
        return True

    def u29(self, number):
        if number < 0x80:
            length = 1
        elif number < 0x4000:
            length = 2
        else:
            length = 3 if number < 0x200000 else 4
        if length < 4 and self.strange("amf3 overlong u29"):
            length = self.random.randrange(length + 1, 5)
        if length == 4:
            self.put(bytes([number >> 22 | 0x80, number >> 15 & 0x7F | 0x80, number >> 8 & 0x7F | 0x80, number & 0xFF]))
        else:
            groups = [number >> 7 * place & 0x7F for place in range(length - 1, -1, -1)]
            self.put(bytes([group | 0x80 for group in groups[:-1]] + groups[-1:]))

    def string(self, data):
        if data in self.strings and self.chance(self.string_references):
            self.features.add("amf3 string reference")
            return self.u29(self.strings.index(data) << 1)
        if data in self.strings:
            self.features.add("amf3 string repeated")
        if data:
            self.strings.append(data)
        self.u29(len(data) << 1 | 1)
        self.put(data)

    def begin3(self, kind):
        self.features.add("amf3 " + kind)
        self.objects.append(MARKERS_OF[kind])

    def amf3_simple(self):
        self.features.add("amf3 simple")
        self.put(self.pick((b"\x00", b"\x01", b"\x02", b"\x03")))

    def amf3_integer(self):
        if self.doubles_only:
            return self.amf3_double()
        self.features.add("amf3 integer")
        self.put(b"\x04")
        self.u29(self.random.choice((
            0, 1, 127, 128, 16383, 16384, 0x1FFFFF, 0x200000, 0xFFFFFFF, 0x10000000, 0x1FFFFFFF,
            self.random.randrange(1 << 29))))

    def amf3_double(self):
        self.features.add("amf3 double")
        self.put(b"\x05" + self.double())

    def amf3_string(self):
        self.features.add("amf3 string")
        self.put(b"\x06")
        self.string(self.text())

    def amf3_text(self):
        kind = self.pick(("xmldoc", "xml", "bytes"))
        data = self.text() if kind != "bytes" else self.random.randbytes(self.random.randrange(6))
        self.put(bytes([MARKERS_OF[kind]]))
        self.u29(len(data) << 1 | 1)
        self.put(data)
        self.begin3(kind)

    def amf3_date(self):
        self.put(b"\x08")
        self.u29(self.random.randrange(1 << 10) * 2 + 1 if self.strange("amf3 odd date head") else 1)
        self.put(self.date())
        self.begin3("date")

    def amf3_reference(self):
        if not self.objects:
            return self.amf3_simple()
        self.features.add("amf3 object reference")
        index = self.random.randrange(len(self.objects))
        self.put(bytes([self.objects[index]]))
        self.u29(index << 1)

    def amf3_members(self):
        names = self.names(3)
        for name in names:
            self.string(name)
            self.amf3()
        self.string(b"")
        return bool(names)

    def amf3_array(self):
        self.begin3("array")
        count = self.count()
        self.put(b"\x09")
        self.u29(count << 1 | 1)
        if self.chance(0.3):
            if self.amf3_members():
                self.features.add("amf3 array members")
        else:
            self.string(b"")
        for _ in range(count):
            self.amf3()

    def object_head(self, class_name, external, dynamic, sealed):
        self.put(b"\x0a")
        traits = (class_name, external, dynamic, tuple(sealed))
        if traits in self.traits and self.chance(self.traits_references):
            self.features.add("amf3 traits reference")
            return self.u29(self.traits.index(traits) << 2 | 1)
        if traits in self.traits:
            self.features.add("amf3 traits repeated")
        self.traits.append(traits)
        self.u29(len(sealed) << 4 | dynamic << 3 | external << 2 | 3)
        self.string(class_name)
        for name in sealed:
            self.string(name)

    def amf3_object(self):
        self.begin3("object")
        known = [traits for traits in self.traits if not traits[1]]
        if known and self.chance(0.5):
            class_name, _, dynamic, sealed = self.pick(known)
        else:
            class_name = b"" if self.chance(0.4) else self.pick(CLASS_NAMES)
            sealed = tuple(self.names(0)) if self.chance(0.7) else ()
            dynamic = self.chance(0.5)
        if sealed and self.chance(0.15):
            sealed = sealed[1:] + (b"",)
        if sealed:
            self.features.add("amf3 sealed members")
        if b"" in sealed:
            self.features.add("amf3 empty sealed name")
        self.object_head(class_name, False, dynamic, sealed)
        for _ in sealed:
            self.amf3()
        if dynamic:
            self.features.add("amf3 dynamic object")
            self.amf3_members()

    def amf3_external(self):
        self.begin3("object")
        self.features.add("amf3 externalizable")
        sealed = self.names(0) if self.strange("amf3 sealed names of an externalizable") else []
        dynamic = self.chance(0.25)
        if dynamic:
            self.features.add("amf3 dynamic externalizable")
        self.object_head(self.pick(ONE_VALUE_CLASSES), True, dynamic, sealed)
        self.amf3()

    def amf3_message(self):
        self.begin3("object")
        self.features.add("amf3 small message")
        name = self.pick(sorted(SMALL_MESSAGES))
        self.object_head(name, True, False, [])
        for _ in SMALL_MESSAGES[name]:
            self.message_group()

    def message_group(self):
        flags = [0] * self.pick((1, 1, 1, 2, 2, 3))
        for byte in range(len(flags)):
            for bit in range(7):
                named = byte == 0 or byte == 1 and bit < 2
                if self.chance(0.15 if named else 0.03):
                    flags[byte] |= 1 << bit
        while len(flags) > 1 and not flags[-1]:
            flags.pop()
        if self.strange("amf3 needless flag byte"):
            flags.append(0)
        self.put(bytes([flag | 0x80 for flag in flags[:-1]] + flags[-1:]))
        for byte, flag in enumerate(flags):
            for bit in range(7):
                if flag >> bit & 1:
                    if byte > 1 or byte == 1 and bit > 1:
                        self.features.add("amf3 unknown flag")
                    self.amf3()

    def amf3_vector(self):
        kind = self.pick(("int", "uint", "double", "objects"))
        self.begin3(kind)
        count = self.count()
        self.put(bytes([MARKERS_OF[kind]]))
        self.u29(count << 1 | 1)
        self.flag(self.chance(0.5), "amf3 odd fixed")
        if kind == "objects":
            self.string(b"" if self.chance(0.3) else self.pick(CLASS_NAMES))
        for _ in range(count):
            if kind == "objects":
                self.amf3()
            else:
                self.put(self.double() if kind == "double" else self.random.randbytes(4))

    def amf3_dictionary(self):
        self.begin3("dictionary")
        count = self.pick((0, 1, 2))
        self.put(b"\x11")
        self.u29(count << 1 | 1)
        self.flag(self.chance(0.5), "amf3 odd weak")
        for _ in range(2 * count):
            self.amf3()


# The first five are scalars.
AMF0_VALUES = [
    (4, ValueGenerator.amf0_number), (3, ValueGenerator.amf0_simple), (4, ValueGenerator.amf0_boolean),
    (5, ValueGenerator.amf0_string), (2, ValueGenerator.amf0_date), (1, ValueGenerator.amf0_xml),
    (2, ValueGenerator.amf0_reference), (5, ValueGenerator.amf0_object), (2, ValueGenerator.amf0_typed),
    (3, ValueGenerator.amf0_ecma), (4, ValueGenerator.amf0_strict), (20, ValueGenerator.amf0_amf3)]
AMF3_VALUES = [
    (2, ValueGenerator.amf3_simple), (4, ValueGenerator.amf3_integer), (3, ValueGenerator.amf3_double),
    (5, ValueGenerator.amf3_string), (2, ValueGenerator.amf3_date), (3, ValueGenerator.amf3_text),
    (4, ValueGenerator.amf3_reference), (5, ValueGenerator.amf3_array), (8, ValueGenerator.amf3_object),
    (3, ValueGenerator.amf3_external), (3, ValueGenerator.amf3_message), (4, ValueGenerator.amf3_vector),
    (2, ValueGenerator.amf3_dictionary)]
