#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Says what Unicode texts become and how they compare, by Python's own tables.

Prints one line per fact, its fields separated by blanks, every text as the hexadecimal of its UTF-8 bytes
("-" when empty):
  forms TEXT FILESYSTEM NFC
  order A B LITERAL CASELESS-LITERAL NONLITERAL CASELESS        (each -1, 0 or 1)
  valid BYTES TEXT                                               (malformed bytes replaced)
  roman BYTE TEXT
"""
import random
import sys
import unicodedata


def known(codepoint):
    return unicodedata.category(chr(codepoint)) not in ("Cn", "Cs")


def stays_whole(c):
    return 0x2000 <= c <= 0x2FFF or 0xF900 <= c <= 0xFAFF or 0x2F800 <= c <= 0x2FAFF


def ordered(text):
    out, marks = [], []
    for c in text:
        if unicodedata.combining(c):
            marks.append(c)
            continue
        out += sorted(marks, key=unicodedata.combining) + [c]
        marks = []
    return "".join(out + sorted(marks, key=unicodedata.combining))


def for_file_system(text):
    return ordered("".join(c if stays_whole(ord(c)) else unicodedata.normalize("NFD", c) for c in text))


def nfd(text):
    return unicodedata.normalize("NFD", text)


def sign(a, b):
    return (a > b) - (a < b)


def code_points(text):
    return [ord(c) for c in text]


def hexed(text):
    raw = text if isinstance(text, bytes) else text.encode()
    return raw.hex() or "-"


def forms(text):
    print("forms", hexed(text), hexed(for_file_system(text)), hexed(unicodedata.normalize("NFC", text)))


def order(a, b):
    caseless = lambda text: code_points(nfd(nfd(text).casefold()))
    print("order", hexed(a), hexed(b), sign(a.encode("utf-16-be"), b.encode("utf-16-be")),
          sign(code_points(a.casefold()), code_points(b.casefold())),
          sign(code_points(nfd(a)), code_points(nfd(b))), sign(caseless(a), caseless(b)))


everything = [c for c in range(1, 0x110000) if known(c) and not 0xF0000 <= c]
decomposable = [c for c in everything if nfd(chr(c)) != chr(c) and not 0xAC00 <= c <= 0xD7A3]
folding = [c for c in everything if chr(c).casefold() != chr(c)]
marks = [c for c in everything if unicodedata.combining(chr(c))]
edges = [0x41, 0x5A, 0x61, 0x73, 0x7F, 0x80, 0xDF, 0x130, 0x131, 0x345, 0x212A, 0xAC00, 0xD7A3, 0xE000, 0xFB01,
         0xFFFD, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF]

chance = random.Random(int(sys.argv[1]))
pools = [edges, decomposable, folding, marks, marks, list(range(0x20, 0x7F)), list(range(0xAC00, 0xD7A4)), everything]


def some_text(limit):
    return "".join(chr(chance.choice(chance.choice(pools))) for _ in range(chance.randrange(limit)))


for c in everything:
    if c in range(0xAC00, 0xD7A4, 37) or not 0xAC00 <= c <= 0xD7A3:
        if nfd(chr(c)) != chr(c) or unicodedata.normalize("NFC", chr(c)) != chr(c):
            forms(chr(c))
for c in folding:
    order(chr(c), chr(c).casefold())
    order(chr(c), chr(c).lower() + "x")
for _ in range(4000):
    forms(some_text(12))
for _ in range(6000):
    a = some_text(6)
    b = chance.choice([some_text(6), nfd(a), unicodedata.normalize("NFC", a), a.swapcase(), a + some_text(3), a[:2] + some_text(3)])
    order(a, b)
pieces = [b"a", b"\xc3\xa9", b"\xe2\x82\xac", b"\xf0\x9f\x98\x80", b"\xff", b"\xc0", b"\xe2\x82", b"\xf0\x9f", b"\xed\xa0\x80",
          b"\xf4\x90\x80\x80", b"\xe0\x80\x80", b"\x80", b"\xc3", b"/", b"\x00"]
for _ in range(4000):
    raw = b"".join(chance.choice(pieces) for _ in range(chance.randrange(10)))
    print("valid", hexed(raw), hexed(raw.decode("utf-8", "replace")))
for byte in range(256):
    print("roman", hexed(bytes([byte])), hexed(bytes([byte]).decode("mac_roman")))
