# SPDX-License-Identifier: Apache-2.0
#
# Doubles and dates as the JSON has them: numbers as JavaScript writes them, words and hexadecimal digits for what
# JSON has no number for, and dates as text. Enter at number_text(), word_of(), parse_number(), date_text().
# Tested by rows_test.py and self_test.py.
import re
import struct

FIRST_DATE_MS = -62167219200000  # 0000-01-01T00:00:00.000Z
LAST_DATE_MS = 253402300799999  # 9999-12-31T23:59:59.999Z
DAY_MS = 86400000

WORDS = {
    bytes.fromhex("7ff8000000000000"): "NaN",
    bytes.fromhex("7ff0000000000000"): "Infinity",
    bytes.fromhex("fff0000000000000"): "-Infinity",
    bytes.fromhex("8000000000000000"): "-0",
}
RAW_OF_WORD = {word: raw for raw, word in WORDS.items()}
MINUS_ZERO = RAW_OF_WORD["-0"]


def pack_double(number):
    return struct.pack(">d", number)


def unpack_double(raw):
    return struct.unpack(">d", raw)[0]


def is_nan(raw):
    bits = int.from_bytes(raw, "big") & 0x7FFFFFFFFFFFFFFF
    return bits > 0x7FF0000000000000


def decimal_digits(number):
    """(digits, point) of a positive finite double: its shortest digits d1d2... and value 0.d1d2... * 10**point."""
    mantissa, _, exponent = repr(number).partition("e")
    whole, _, fraction = mantissa.partition(".")
    digits = whole + fraction
    point = len(whole) + int(exponent or "0")
    stripped = digits.lstrip("0")
    point -= len(digits) - len(stripped)
    return stripped.rstrip("0"), point


def number_text(number):
    """A finite double as JavaScript writes it."""
    if number == 0:
        return "0"
    if number < 0:
        return "-" + number_text(-number)
    digits, point = decimal_digits(number)
    count = len(digits)
    if count <= point <= 21:
        return digits + "0" * (point - count)
    if 0 < point <= 21:
        return digits[:point] + "." + digits[point:]
    if -6 < point <= 0:
        return "0." + "0" * -point + digits
    exponent = point - 1
    mantissa = digits[0] + ("." + digits[1:] if count > 1 else "")
    return "%se%s%d" % (mantissa, "+" if exponent > 0 else "-", abs(exponent))


def word_of(raw):
    """The word or hexadecimal digits for a double that JSON has no number for, else None."""
    if raw in WORDS:
        return WORDS[raw]
    if is_nan(raw):
        return "0x" + raw.hex()
    return None


def raw_of_word(word):
    """The double that such a word stands for, else None."""
    if word in RAW_OF_WORD:
        return RAW_OF_WORD[word]
    if re.fullmatch("0x[0-9a-f]{16}", word):
        raw = bytes.fromhex(word[2:])
        if is_nan(raw):
            return raw
    return None


def whole_of_digits(digits, exponent):
    """digits * 10**exponent as an int, or None where it has a fraction."""
    stripped = digits.rstrip("0")
    exponent += len(digits) - len(stripped)
    return int(stripped) * 10**exponent if exponent >= 0 else None


def parse_number(text):
    """(double, whole) of a JSON number: `whole` is an int where the number or its double is whole, else None.

    Returns None where the value has no double: too large, or a whole number that is neither the exact value of the
    nearest double nor what JavaScript writes for it. Minus zero is (-0.0, 0)."""
    mantissa, _, exponent_text = text.lower().lstrip("-").partition("e")
    before, _, after = mantissa.partition(".")
    digits = (before + after).lstrip("0")
    number = float(text)
    if not digits:
        return number, 0
    exponent = int(exponent_text or "0") - len(after)
    if len(digits) + exponent > 400:
        return None
    whole = whole_of_digits(digits, exponent) if len(digits) + exponent > 0 else None
    if whole is None:
        return number, int(number) if number.is_integer() else None
    if number in (float("inf"), float("-inf")):
        return None
    shortest, point = decimal_digits(abs(number))
    if whole != int(abs(number)) and whole != whole_of_digits(shortest, point - len(shortest)):
        return None
    return number, -whole if text.startswith("-") else whole


# --- Dates: days of the proleptic Gregorian calendar, counted from 1970-01-01 ---


def is_leap(year):
    return year % 4 == 0 and (year % 100 != 0 or year % 400 == 0)


def month_days(year, month):
    return 29 if month == 2 and is_leap(year) else (31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31)[month - 1]


def days_before_year(year):
    """Days from 0000-01-01 to the first day of the year; year 0 is a leap year."""
    past = year - 1
    leap_years = 0 if year == 0 else past // 4 - past // 100 + past // 400 + 1
    return year * 365 + leap_years


EPOCH_DAYS = days_before_year(1970)


def date_text(raw):
    """The text of a date of whole milliseconds in the years 0000 to 9999, else None."""
    number = unpack_double(raw)
    if raw == MINUS_ZERO or not FIRST_DATE_MS <= number <= LAST_DATE_MS or number != int(number):
        return None
    days, ms = divmod(int(number), DAY_MS)
    days += EPOCH_DAYS
    year = days // 366
    while days >= days_before_year(year + 1):
        year += 1
    days -= days_before_year(year)
    month = 1
    while days >= month_days(year, month):
        days -= month_days(year, month)
        month += 1
    clock = (ms // 3600000, ms // 60000 % 60, ms // 1000 % 60, ms % 1000)
    return "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ" % ((year, month, days + 1) + clock)


def parse_date(text):
    """The double of a date text, with or without milliseconds, or None."""
    match = re.fullmatch(r"([0-9]{4})-([0-9]{2})-([0-9]{2})T([0-9]{2}):([0-9]{2}):([0-9]{2})(?:\.([0-9]{3}))?Z", text)
    if not match:
        return None
    year, month, day, hour, minute, second, ms = (int(group or "0") for group in match.groups())
    if not 1 <= month <= 12 or not 1 <= day <= month_days(year, month) or hour > 23 or minute > 59 or second > 59:
        return None
    days = days_before_year(year) + sum(month_days(year, before) for before in range(1, month)) + day - 1 - EPOCH_DAYS
    return pack_double(float(days * DAY_MS + hour * 3600000 + minute * 60000 + second * 1000 + ms))
