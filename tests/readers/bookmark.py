#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads bookmark data, bare or in an alias file, with nothing but struct and prints a line per entry."""
import struct
import sys


def main(data):
    if data[:16] == b"book\0\0\0\0mark\0\0\0\0":
        header, again, length, version = struct.unpack_from("<IIII", data, 16)
        assert header == again == 0x38 and length == len(data) - 0x38 and version == 0x10040000
        print("file created", struct.unpack_from("<d", data, 40)[0])
    else:
        magic, size, version, header = struct.unpack_from("<4sIII", data, 0)
        assert magic == b"book" and size == len(data) and version == 0x10040000 and header == 0x30
    body = data[header:]

    def item(at):
        assert at % 4 == 0, "alignment"
        length, kind = struct.unpack_from("<II", body, at)
        raw = body[at + 8 : at + 8 + length]
        assert len(raw) == length
        return kind, raw

    def value(at):
        kind, raw = item(at)
        if kind == 0x0101:
            return repr(raw.decode("utf-8", "backslashreplace"))
        if kind == 0x0201:
            if len(raw) == 24:
                return "flags " + " ".join(hex(n) for n in struct.unpack("<QQQ", raw))
            return "data " + raw.hex()
        if kind in (0x0301, 0x0302, 0x0303, 0x0304):
            return "s%d %d" % (len(raw) * 8, int.from_bytes(raw, "little", signed=True))
        if kind == 0x0400:
            return "date %r" % struct.unpack(">d", raw)[0]
        if kind in (0x0500, 0x0501):
            assert not raw
            return str(kind == 0x0501)
        if kind == 0x0601:
            return "[" + ", ".join(value(o) for o in struct.unpack("<%dI" % (len(raw) // 4), raw)) + "]"
        if kind == 0x0901:
            return "<" + raw.decode("ascii") + ">"
        return "type %#x %s" % (kind, raw.hex())

    table = struct.unpack_from("<I", body, 0)[0]
    size, mark, ident, following, count = struct.unpack_from("<IIIII", body, table)
    assert mark == 0xFFFFFFFE and ident == 1 and following == 0 and size == 12 * count + 12
    assert table + 20 + 12 * count == len(body), "the table ends the data"
    last = -1
    for i in range(count):
        key, at, zero = struct.unpack_from("<III", body, table + 20 + 12 * i)
        assert zero == 0 and key > last, "order"
        last = key
        name = "%04X" % key if key < 0x80000000 else value(key & 0x7FFFFFFF)
        print(name, value(at))


main(open(sys.argv[1], "rb").read())
