#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints a line for each property-list file: the keys asked for, with the kind and the value of each.

    show_settings.py KEY[,KEY...] FILE...

"openInTerminal=bool:True toolbarStyle=int:4 ..."; a key that is not there is left out, and a file that is
not there, or no property list, is "(unreadable)".
"""

import plistlib
import sys


def line(path, keys):
    try:
        with open(path, "rb") as file:
            content = plistlib.load(file)
    except Exception:
        return "(unreadable)"
    return " ".join(f"{key}={type(content[key]).__name__}:{content[key]}" for key in keys if key in content)


for name in sys.argv[2:]:
    print(line(name, sys.argv[1].split(",")))
