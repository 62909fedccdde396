# SPDX-License-Identifier: MIT
"""Reads property lists with Python's own plistlib and says what is in them, the way
tests/support/PropertyListTesting.h does; writes them again in both formats.

    property_lists.py FOLDER

For every FOLDER/NAME.plist: NAME.dump with the text (or "error: ..."), NAME.python.bin and
NAME.python.xml (where plistlib can write the content in that format).
"""
import datetime
import plistlib
import struct
import sys
from pathlib import Path

REFERENCE = datetime.datetime(2001, 1, 1)


def bits(number):
    return struct.pack(">d", number).hex()


def quoted(text):
    pieces = []
    for char in text:
        if char in '"\\' or ord(char) < 0x20:
            pieces.append("\\%02x" % ord(char))
        else:
            pieces.append(char)
    return '"' + "".join(pieces) + '"'


def dump(value):
    if value is None:
        return "n"
    if isinstance(value, bool):
        return "T" if value else "F"
    if isinstance(value, int):
        return "i%d" % value
    if isinstance(value, float):
        return "r" + bits(value)
    if isinstance(value, datetime.datetime):
        return "d" + bits((value - REFERENCE) / datetime.timedelta(seconds=1))
    if isinstance(value, bytes):
        return "x" + value.hex()
    if isinstance(value, str):
        return "s" + quoted(value)
    if isinstance(value, plistlib.UID):
        return '{"CF$UID":i%d}' % value.data
    if isinstance(value, list):
        return "[" + ",".join(dump(element) for element in value) + "]"
    keys = sorted(value, key=lambda key: key.encode("utf-16-be", "surrogatepass"))
    return "{" + ",".join(quoted(key) + ":" + dump(value[key]) for key in keys) + "}"


def main():
    for path in sorted(Path(sys.argv[1]).glob("*.plist")):
        try:
            value = plistlib.loads(path.read_bytes())
            text = dump(value)
        except Exception as error:
            path.with_suffix(".dump").write_bytes(b"error: " + repr(error).encode())
            continue
        path.with_suffix(".dump").write_bytes(text.encode("utf-8", "surrogatepass"))
        for suffix, form in ((".python.bin", plistlib.FMT_BINARY), (".python.xml", plistlib.FMT_XML)):
            try:
                path.with_suffix(suffix).write_bytes(plistlib.dumps(value, fmt=form))
            except (TypeError, ValueError):
                pass


main()
