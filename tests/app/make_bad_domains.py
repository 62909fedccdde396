#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes preference files that no reader should trust.

    make_bad_domains.py PREFERENCES OUT SEED

Writes into OUT/good/ the three version 4 domains of the folder PREFERENCES, with 33 recent folders in the
settings domain, and for each of them into OUT/DOMAIN/:
  damaged/   files that cannot be read as a property list with a dictionary at the top
  readable/  files that are unusual and whole
  either/    files that a reader may refuse or read, as long as it survives them
"""

import os
import plistlib
import random
import struct
import sys

DOMAINS = ["com.quorvale.Vennick", "com.quorvale.Vennick.settings", "com.quorvale.Vennick.favorites"]
SETTINGS_DOMAIN = DOMAINS[1]
KEYS = {DOMAINS[0]: "Settings", DOMAINS[1]: "Settings", DOMAINS[2]: "Favorite"}
TRUNCATIONS = 50
DEPTH = 1_000_000
LARGE = 200_000_000

XML_HEAD = b'<?xml version="1.0" encoding="UTF-8"?>\n'
DOCTYPE = b'<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n'


def write(path, *pieces):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        for piece in pieces:
            if isinstance(piece, int):  # a hole of that many bytes
                file.seek(piece, os.SEEK_CUR)
            else:
                file.write(piece)


def trailer(objects, table, offset_size=1, reference_size=1, top=0):
    return struct.pack(">5xBBBQQQ", 0, offset_size, reference_size, objects, top, table)


def binary(objects):
    """A binary property list of ready-made objects."""
    offsets, body = [], b"bplist00"
    for item in objects:
        offsets.append(len(body))
        body += item
    table = b"".join(struct.pack(">I", offset) for offset in offsets)
    return body + table + trailer(len(objects), len(body), 4)


def text(string):
    data = string.encode("ascii")
    if len(data) < 15:
        return bytes([0x50 | len(data)]) + data
    return b"\x5f\x10" + bytes([len(data)]) + data


def shared_references(key):
    """Under 500 bytes whose references stand for 16^10 = 2^40 objects."""
    levels = 10
    objects = [b"\xd1\x01\x02", text(key)]
    for level in range(levels):
        objects.append(b"\xaf\x10\x10" + bytes([3 + level]) * 16)
    objects.append(b"\x50")
    data = binary(objects)
    assert len(data) < 500
    return data


def deep_binary(key):
    """Arrays in arrays, the last one empty."""
    objects = [b"\xd1" + struct.pack(">II", 1, 2), text(key)]
    objects += [b"\xa1" + struct.pack(">I", 3 + level) for level in range(DEPTH)]
    objects.append(b"\xa0")
    offsets, position = [], 8
    for item in objects:
        offsets.append(position)
        position += len(item)
    table = b"".join(struct.pack(">I", offset) for offset in offsets)
    return b"bplist00" + b"".join(objects) + table + trailer(len(objects), position, 4, 4)


def offset_outside(key):
    """The third object is said to lie far behind the end."""
    body = b"bplist00" + b"\xd1\x01\x02" + text(key)
    table = struct.pack(">III", 8, 11, 0xFFFFFFF0)
    return body + table + trailer(3, len(body), 4)


def large(content):
    """The domain with a data value of 200 MB in it, as a file with a hole."""
    filler = b"FILLER"
    small = plistlib.dumps({**content, "zzFiller": filler}, fmt=plistlib.FMT_BINARY)
    offset_size, reference_size, count, top, table = struct.unpack(">6xBBQQQ", small[-32:])
    offsets = [
        int.from_bytes(small[table + i * offset_size : table + (i + 1) * offset_size], "big") for i in range(count)
    ]
    old = bytes([0x40 | len(filler)]) + filler
    at = small.index(old)
    new = b"\x4f\x12" + struct.pack(">I", LARGE)
    grown = len(new) + LARGE - len(old)
    offsets = [offset + grown if offset > at else offset for offset in offsets]
    new_table = b"".join(struct.pack(">I", offset) for offset in offsets)
    return (
        small[:at] + new,
        LARGE,
        small[at + len(old) : table] + new_table + trailer(count, table + grown, 4, reference_size, top),
    )


def damaged(domain, data, key):
    yield "array-at-the-top", (plistlib.dumps([1, 2, 3], fmt=plistlib.FMT_BINARY),)
    yield "string-at-the-top", (plistlib.dumps("Settings", fmt=plistlib.FMT_BINARY),)
    yield "number-at-the-top-in-xml", (plistlib.dumps(7),)
    yield "array-at-the-top-in-ascii", (b"( a, b )",)
    yield "no-property-list", (b"\x00\x01\x02 what is this {",)
    yield "200-megabytes-of-nothing", (LARGE, b"\0")
    yield "nested-in-xml", (
        XML_HEAD + DOCTYPE + b'<plist version="1.0">',
        f"<dict><key>{key}</key>".encode() * DEPTH + b"<dict/>" + b"</dict>" * DEPTH,
        b"</plist>\n",
    )
    yield "nested-in-ascii", (f"{{{key}=".encode() * DEPTH + b"{}" + b";}" * DEPTH,)
    yield "nested-in-binary", (deep_binary(key),)
    yield "offset-outside", (offset_outside(key),)
    yield "reference-outside", (binary([b"\xd1\x01\x7f", text(key), b"\xd0"]),)
    yield "cycle", (binary([b"\xd1\x01\x02", text(key), b"\xa2\x02\x02"]),)
    yield "cycle-through-the-top", (binary([b"\xd1\x01\x00", text(key)]),)
    count = struct.pack(">Q", 1 << 60)
    yield "array-of-2-to-the-60", (binary([b"\xd1\x01\x02", text(key), b"\xaf\x13" + count]),)
    yield "dictionary-of-2-to-the-60", (binary([b"\xdf\x13" + count, text(key)]),)
    yield "string-of-2-to-the-60", (binary([b"\xd1\x01\x02", text(key), b"\x5f\x13" + count]),)
    yield "data-of-2-to-the-60", (binary([b"\xd1\x01\x02", text(key), b"\x4f\x13" + count]),)
    yield "objects-2-to-the-60", (data[:-32] + trailer(1 << 60, struct.unpack(">Q", data[-8:])[0], 8, 8),)
    yield "offset-table-outside", (data[:-8] + count,)
    places = random.Random(f"{sys.argv[3]}/{domain}").sample(range(1, len(data)), TRUNCATIONS)
    for place in sorted(places):
        yield f"cut-at-{place:05}", (data[:place],)


def either(key):
    yield "shared-references", (shared_references(key),)
    entities = b'<!DOCTYPE plist [ <!ENTITY a0 "ha"> ' + b"".join(
        b'<!ENTITY a%d "%s"> ' % (i, b"&a%d;" % (i - 1) * 16) for i in range(1, 12)
    )
    body = f'<plist version="1.0"><dict><key>{key}</key><string>&'.encode()
    yield "entities-that-expand", (XML_HEAD + entities + b"]>\n" + body + b"a11;</string></dict></plist>\n",)
    named = b'<!DOCTYPE plist [ <!ENTITY file SYSTEM "file:///etc/passwd"> ]>\n'
    yield "entity-that-names-a-file", (XML_HEAD + named + body + b"file;</string></dict></plist>\n",)
    yield "empty-file", (b"",)


def main():
    preferences, out = sys.argv[1], sys.argv[2]
    for domain in DOMAINS:
        with open(os.path.join(preferences, domain + ".plist"), "rb") as file:
            content = plistlib.load(file)
        if domain == SETTINGS_DOMAIN:
            content["Settings"]["MaxRecentFolders"] = 33
        data = plistlib.dumps(content, fmt=plistlib.FMT_BINARY)
        write(os.path.join(out, "good", domain + ".plist"), data)
        for name, pieces in damaged(domain, data, KEYS[domain]):
            write(os.path.join(out, domain, "damaged", name), *pieces)
        for name, pieces in either(KEYS[domain]):
            write(os.path.join(out, domain, "either", name), *pieces)
        write(os.path.join(out, domain, "readable", "200-megabytes"), *large(content))
        write(os.path.join(out, domain, "readable", "xml"), plistlib.dumps(content))


if __name__ == "__main__":
    main()
