# SPDX-License-Identifier: MIT
"""Says what is in a property list, read with Python's own plistlib: its repr with the keys sorted."""
import plistlib
import sys


def ordered(value):
    if isinstance(value, dict):
        return {key: ordered(value[key]) for key in sorted(value)}
    if isinstance(value, list):
        return [ordered(element) for element in value]
    return value


with open(sys.argv[1], "rb") as file:
    print(repr(ordered(plistlib.load(file))), end="")
