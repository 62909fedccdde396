#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads an alias record (version 2 or 3) with nothing but struct and prints what it says, a line per fact."""
import struct
import sys

MAC_EPOCH = 2082844800


def pascal(field):
    return field[1 : 1 + field[0]].decode("mac_roman")


def utc(raw):
    high, low, fraction = struct.unpack(">HIH", raw)
    return "%d+%d/65536" % ((high << 32 | low) - MAC_EPOCH, fraction)


def main(data):
    user_type, size, version = struct.unpack_from(">IHH", data, 0)
    assert size <= len(data), "size field beyond the data"
    print("version", version)
    print("size", size)
    print("user type", user_type)
    if version == 2:
        (kind, volume, volume_date, signature, disk, parent, name, target, target_date, file_type, creator, up, down,
         attributes, fsid, reserved) = struct.unpack_from(">H28sI2sHI64sIIIIhhIH10s", data, 8)
        at = 150
        print("kind", kind)
        print("volume", pascal(volume))
        print("volume date", volume_date - MAC_EPOCH)
        print("file system", signature.decode("ascii"))
        print("disk type", disk)
        print("parent id", parent)
        print("target", pascal(name))
        print("target id", target)
        print("target date", target_date - MAC_EPOCH)
        print("levels", up, down)
        print("attributes", hex(attributes))
        assert reserved == bytes(10), "reserved bytes"
    else:
        assert version == 3, "version"
        kind, volume_date, fs, disk, parent, target, target_date, attributes, reserved = struct.unpack_from(
            ">H8s4sHII8sI14s", data, 8)
        at = 58
        print("kind", kind)
        print("volume date", utc(volume_date))
        print("file system", fs.rstrip(b"\0").decode("ascii"))
        print("disk type", disk)
        print("parent id", parent)
        print("target id", target)
        print("target date", utc(target_date))
        print("attributes", hex(attributes))
        assert reserved.hex() == "fffe0000000000000000ffffffff", "reserved bytes"
    ended = False
    while at < size:
        tag, length = struct.unpack_from(">HH", data, at)
        value = data[at + 4 : at + 4 + length]
        assert len(value) == length, "field beyond the data"
        at += 4 + length + length % 2
        if tag == 0xFFFF:
            ended = True
            break
        if tag == 0:
            print("parent name", value.decode("mac_roman"))
        elif tag == 1:
            print("directory ids", *struct.unpack(">%dI" % (length // 4), value))
        elif tag == 2:
            print("carbon path", value.replace(b"\0", b"").decode("mac_roman"))
        elif tag in (14, 15):
            count = struct.unpack_from(">H", value)[0]
            print("unicode name" if tag == 14 else "unicode volume", value[2 : 2 + 2 * count].decode("utf-16-be"))
        elif tag in (16, 17):
            print("exact volume date" if tag == 16 else "exact target date", utc(value))
        elif tag == 18:
            print("path", value.decode("utf-8"))
        elif tag == 19:
            print("mount point", value.decode("utf-8"))
        else:
            print("tag", tag, value.hex())
    assert ended and at == size, "end"


main(open(sys.argv[1], "rb").read())
