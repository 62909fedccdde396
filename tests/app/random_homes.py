#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Migrates random homes with the real program and compares each store with a second computation.

    tests/app/random_homes.py BUNDLE [--seed N] [--count N] [--keep]

BUNDLE is the staged main application. A home is made from each seed: folder sets, favorites with good,
missing, foreign and broken alias records, hotkeys in both byte orders, default folders, settings. The
expected store is computed here from what was put into the home, in the plainest way that the rules of the
migration can be written down; nothing is shared with the program. A failing seed is printed and can be
replayed with --seed; --keep leaves its home behind.
"""

import argparse
import os
import plistlib
import random
import shutil
import struct
import sys
import tempfile

from homes import (APPLICATION_KEYS, KEYS, SET_NAMES, TARGETS, Entry, Home, alias_record, compare, crc16, difference,
                   run, snapshot)


def random_hotkey(rng):
    """The bytes of a record, and the hotkey that they are."""
    code = rng.choice(list(KEYS))
    choice = rng.randrange(7)
    modifiers = rng.choice([0x0100, 0x0300, 0x0900, 0x1B00, 0x0500])
    if choice == 0:
        return struct.pack("<BBHI", code, 0, modifiers, 0), (code, modifiers)
    if choice == 1:  # written on a machine of the other byte order
        data = struct.pack("<BBHI", code, 0, 0, 0)[:2] + struct.pack(">HI", 0x0100, 7)
        return data, (code, 0x0100)
    if choice == 2:  # a function key by itself
        return struct.pack("<BBHI", 0x7A, 1, 0, 0), (0x7A, 0)
    if choice == 3:  # the same, not flagged
        return struct.pack("<BBHI", 0x7A, 0, 0, 0), None
    if choice == 4:  # caps lock alone
        return struct.pack("<BBHI", code, 0, 0x0400, 0), None
    if choice == 5:  # a bit that translates to nothing
        return struct.pack("<BBHI", code, 0, 0x2000, 0), (code, 0x2000)
    return b"\x1f" * rng.choice([7, 9]), None


def random_entry(rng):
    kind = rng.randrange(14)
    if kind == 0:
        return Entry(rng.choice(["text", 7, [1]]), keeps=False)
    name = rng.choice(["Projects", "Übung", "a", "b", "日本", "Mail & more"])
    target = rng.choice(TARGETS)
    volume = target.volume
    if kind == 1 and target.kind != "missing" and target.mount != "/":
        volume = "Else"  # of another length than the real one: the resolution is rejected
    record = alias_record(target.path, volume, target.mount)
    stored = {"Name": name, "Alias": record}
    entry = Entry(stored, name=name, target=target if volume == target.volume else None)
    if kind == 2:
        entry.keeps = False
        if rng.random() < 0.5:
            del stored["Name"]
        else:
            stored["Name"] = rng.choice(["", 5])
    elif kind == 3:
        entry.keeps = False
        if rng.random() < 0.5:
            del stored["Alias"]
        else:
            stored["Alias"] = b""
    elif kind == 4:
        entry.keeps = False
        stored["AliasChecksum"] = struct.pack("<H", crc16(record) ^ 0x0102)
    elif kind == 5:
        stored["AliasChecksum"] = struct.pack(rng.choice("<>") + "H", crc16(record))
    elif kind == 6:
        stored["AliasChecksum"] = b"\0\0\0"  # of another width: not a checksum
    elif kind == 7:
        stored["ResolveError"] = struct.pack("<h", -43)
        entry.tried = True
    elif kind == 8:
        stored["Alias"] = record[: rng.randrange(1, 8)]  # not a record at all, but bytes
        entry.target = None
    if rng.random() < 0.4:
        data, entry.key = random_hotkey(rng)
        stored["CommandKey"] = data
    return entry


class RandomHome(Home):
    def __init__(self, seed):
        rng = random.Random(seed)
        super().__init__()
        names = rng.sample(SET_NAMES, rng.randrange(0, 7))
        self.sets = {name: [random_entry(rng) for _ in range(rng.randrange(0, 9))] for name in names}
        self.defaults = {name: {key: random_entry(rng) for key in rng.sample(sorted(APPLICATION_KEYS), rng.randrange(0, 5))}
                         for name in names}
        self.active = rng.choice(names + ["Default Set", None, ""]) if names else rng.choice([None, "Default Set"])
        self.active_is_new = rng.random() < 0.15
        if self.active_is_new:
            self.active = "Brand new"
        self.favorites_domain = [random_entry(rng) for _ in range(rng.randrange(0, 5))] if rng.random() < 0.3 else None
        self.settings = self.random_settings(rng)
        self.settings_domain = self.random_settings(rng) if rng.random() < 0.3 else None
        self.format = rng.choice([plistlib.FMT_BINARY, plistlib.FMT_XML])

    @staticmethod
    def random_settings(rng):
        settings = {}
        for key in ["OpenInTerminal", "DisableSwitchToFinder", "ShowMenuIcons", "ShowPreviewsInMenus", "ShowDiskSpace",
                    "ToolbarOnLeft", "ReboundToLastSelection", "DoFolderSynchronization",
                    "AddRecentFoldersWithinPackages", "ShowHiddenFinderWindows"]:
            if rng.random() < 0.5:
                settings[key] = rng.choice([0, 1, 256, 257, True, 1.0, "1"])
        for key, values in {"OpenInTerminalKey": [0, 0x0100, 0x1B00, 0x0400, 0xFFFF], "AnchorLocation": [0, 1, 2, 4, 8, 12],
                            "MaxRecentFolders": [0, 5, -1, 10.5, False], "FinderClickKey": [0, 0x0800, 0x0900, 0x1100],
                            "MiscellaneousFlags": [0, 32, 10440, 0x7FFFFFFF], "PrefsVersion": [0, 1, 2, 3],
                            "FinderClickOptions": [0, 16, 39, 55, 255], "SpotlightOptions": [0, 1, 4, 5]}.items():
            if rng.random() < 0.5:
                settings[key] = rng.choice(values)
        return settings


def try_seed(seed, bundle, keep):
    root = tempfile.mkdtemp(prefix="vennick-home-")
    root = os.path.realpath(root)
    home = RandomHome(seed)
    home.write(root)
    before = snapshot(root)
    result = run(root, bundle)
    problems = difference("exit status", 0, result.returncode)
    problems += difference("started main applications", 1, result.started_applications)
    problems += difference("version 4 preferences", before, snapshot(root))
    if not problems:
        problems = compare(root, home, result.stderr.decode())
    if problems:
        print(f"seed {seed} fails; replay it with --seed {seed} --keep")
        print("\n".join(problems))
        print(result.stderr.decode(errors="replace")[-2000:])
    if keep:
        print(f"seed {seed}: {root}")
    else:
        shutil.rmtree(root)
    return not problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bundle")
    parser.add_argument("--seed", type=int)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--keep", action="store_true")
    arguments = parser.parse_args()
    seeds = [arguments.seed] if arguments.seed is not None else range(arguments.count)
    failed = [seed for seed in seeds if not try_seed(seed, arguments.bundle, arguments.keep)]
    print(f"{len(seeds) - len(failed)} passed, {len(failed)} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
