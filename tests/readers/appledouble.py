#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads an AppleDouble file and the resource fork in it with nothing but struct; prints a line per fact."""
import struct
import sys


def resources(fork):
    if not fork:
        return
    data, map_, data_length, map_length = struct.unpack_from(">IIII", fork, 0)
    print("fork", len(fork), "data", data, data_length, "map", map_, map_length)
    types, names = struct.unpack_from(">HH", fork, map_ + 24)
    types += map_
    names += map_
    count = (struct.unpack_from(">H", fork, types)[0] + 1) & 0xFFFF
    for i in range(count):
        type_, number, references = struct.unpack_from(">4sHH", fork, types + 2 + 8 * i)
        for j in range(number + 1):
            id_, name, place = struct.unpack_from(">hHI", fork, types + references + 12 * j)
            text = ""
            if name != 0xFFFF:
                length = fork[names + name]
                text = fork[names + name + 1 : names + name + 1 + length].decode("mac_roman")
            start = data + (place & 0xFFFFFF)
            length = struct.unpack_from(">I", fork, start)[0]
            print("resource", type_.decode("mac_roman"), id_, "attributes", place >> 24, "name", repr(text), "data",
                  fork[start + 4 : start + 4 + length].hex())


def main(file):
    if len(sys.argv) > 2 and sys.argv[2] == "fork":
        return resources(file)
    magic, version, home, count = struct.unpack_from(">II16sH", file, 0)
    assert magic == 0x00051607 and version == 0x00020000 and home == b"Mac OS X        "
    end = 26 + 12 * count
    for i in range(count):
        entry, offset, length = struct.unpack_from(">III", file, 26 + 12 * i)
        assert offset == end, "entries follow one another"
        end = offset + length
        assert end <= len(file)
        content = file[offset:end]
        if entry == 9:
            type_, creator, flags = struct.unpack_from(">4s4sH", content, 0)
            print("finder", type_.decode("mac_roman").replace("\0", "."), creator.decode("mac_roman").replace("\0", "."),
                  "flags", hex(flags))
            if length > 32:
                mark, _, total, start, size, flags, number = struct.unpack_from(">4sIIII12xHH", file, offset + 34)
                assert mark == b"ATTR" and start + size == total == end
                at = offset + 34 + 36
                for _ in range(number):
                    place, size, flags, name = struct.unpack_from(">IIHB", file, at)
                    text = file[at + 11 : at + 11 + name]
                    assert text[-1] == 0
                    print("attribute", text[:-1].decode("utf-8"), file[place : place + size].hex())
                    at = (at + 11 + name + 3) // 4 * 4
                assert at <= start
        elif entry == 2:
            assert i == count - 1, "the resource fork is last"
            resources(content)
        else:
            print("entry", entry, content.hex())
    assert end == len(file)


main(open(sys.argv[1], "rb").read())
