#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads the compiled keyboard layouts with nothing but struct, and compares them with their tables.

    check_layouts.py TABLES COMPILED VECTORS

TABLES is resources/keyboards, COMPILED the folder of the .uchr files, VECTORS the folder of us.tsv and de.tsv.
Shares no code with the compiler or with the reader of the product. Prints every difference; exits with 1
when there is one.
"""
import pathlib
import struct
import sys
import unicodedata

COMMAND, SHIFT, CAPS, OPTION, CONTROL = 1, 2, 4, 8, 16
RIGHT = {SHIFT: 32, OPTION: 64, CONTROL: 128}
COMBINING = {"`": "\u0300", "´": "\u0301", "'": "\u0301", "^": "\u0302", "ˆ": "\u0302", "~": "\u0303", "˜": "\u0303",
             "¨": "\u0308", '"': "\u0308"}
problems = []


def check(condition, *what):
    if not condition:
        problems.append(" ".join(str(word) for word in what))


class Uchr:
    """The structures of one keyboard type, each read whole and checked for lying inside the data."""

    def __init__(self, data):
        self.data = data
        fmt, _, feature, types = self.read("<HHII", 0)
        check(fmt == 0x1002, "header format", hex(fmt))
        check(types == 1, "keyboard types", types)
        _, _, modifiers, tables, records, terminators, sequences = self.read("<7I", 12)
        check(all(offset % 4 == 0 and offset for offset in (feature, modifiers, tables, records, terminators, sequences)),
              "offsets are set and aligned")
        fmt, _, self.longest = self.read("<HHI", feature)
        check(fmt == 0x2001, "feature format", hex(fmt))

        fmt, self.default_table, count = self.read("<HHI", modifiers)
        check(fmt == 0x3001, "modifiers format", hex(fmt))
        self.modifiers = self.read("<%dB" % count, modifiers + 8)

        fmt, size, count = self.read("<HHI", tables)
        check(fmt == 0x4001, "tables format", hex(fmt))
        self.tables = [self.read("<%dH" % size, offset) for offset in self.read("<%dI" % count, tables + 8)]

        fmt, count = self.read("<HH", records)
        check(fmt == 0x5001, "records format", hex(fmt))
        self.records = [self.record(offset) for offset in self.read("<%dI" % count, records + 4)]

        fmt, count = self.read("<HH", terminators)
        check(fmt == 0x6001, "terminators format", hex(fmt))
        self.terminators = self.read("<%dH" % count, terminators + 4)

        fmt, count = self.read("<HH", sequences)
        check(fmt == 0x7001, "sequences format", hex(fmt))
        ends = self.read("<%dH" % (count + 1), sequences + 4)
        self.sequences = [self.data[sequences + a:sequences + b].decode("utf-16-le") for a, b in zip(ends, ends[1:])]

    def read(self, fmt, offset):
        return struct.unpack_from(fmt, self.data, offset)

    def record(self, offset):
        char, next_state, count, fmt = self.read("<4H", offset)
        check(fmt in (0, 1), "entry format", fmt)
        entries = [self.read("<HH", offset + 8 + 4 * i) for i in range(count)]
        return {"char": char, "next": next_state, "format": fmt, "entries": entries}

    def text(self, char_data):
        if char_data >= 0xFFFE:
            return ""
        return self.sequences[char_data & 0x3FFF] if char_data >> 14 == 2 else chr(char_data)

    def output(self, key, modifiers):
        return self.tables[self.modifiers[modifiers]][key]

    def stroke(self, key, modifiers):
        """What the key types alone, and the dead-key state that it leaves."""
        out = self.output(key, modifiers)
        if out >> 14 == 1:
            record = self.records[out & 0x3FFF]
            return self.text(record["char"]), record["next"]
        return self.text(out), 0

    def after(self, state, key, modifiers):
        """What the key types after a dead key."""
        out = self.output(key, modifiers)
        if out >> 14 == 1:
            record = self.records[out & 0x3FFF]
            for entry_state, char in record["entries"]:
                if entry_state == state:
                    return self.text(char)
            return chr(self.terminators[state - 1]) + self.text(record["char"])
        return chr(self.terminators[state - 1]) + self.text(out)


def cell(word):
    if word == "none":
        return ""
    if word.startswith("U+") and len(word) > 2:
        return chr(int(word[2:], 16))
    return word


def read_table(path, special):
    layout = {"dead": [], "keys": {}, "any": {}}
    for line in (special.read_text("utf-8") + path.read_text("utf-8")).splitlines():
        words = line.split()
        if not words or words[0].startswith("#"):
            continue
        if words[0] == "dead":
            layout["dead"].append((words[1], words[2], {pair[0]: pair[1] for pair in words[3:]}))
        elif words[0] == "any":
            layout["any"][int(words[1])] = cell(words[2])
        elif words[0] in ("name", "identifier"):
            layout[words[0]] = " ".join(words[1:])
        else:
            options = dict(word.split("=", 1) for word in words[5:])
            layout["keys"][int(words[0])] = (words[1:5], options)
    return layout


def states_of(layout):
    return {"(%s)" % name: state for state, (name, _, _) in enumerate(layout["dead"], 1)}


def check_key(name, uchr, layout, key):
    words, options = layout["keys"][key]
    states = states_of(layout)
    plain, shift, option, shift_option = words

    def expect(modifiers, word, dead_keys_work=True):
        text, state = uchr.stroke(key, modifiers)
        if word in states:
            accent = layout["dead"][states[word] - 1][1]
            want = ("", states[word]) if dead_keys_work else (accent, 0)
        else:
            want = (cell(word), 0)
        check((text, state) == want, name, "key", key, "modifiers", modifiers, "types", repr(text), state, "not", want)

    for byte in range(256):
        pressed = byte & 31
        for bit, right in RIGHT.items():
            pressed |= bit if byte & right else 0
        if pressed & CONTROL:
            letter = chr(ord(plain) - ord("a") + 1) if len(plain) == 1 and "a" <= plain <= "z" else plain
            expect(byte, options.get("control", letter), False)
        elif pressed & OPTION:
            expect(byte, shift_option if pressed & SHIFT else option)
        elif pressed & COMMAND:
            expect(byte, plain, False)
        elif pressed & SHIFT:
            expect(byte, shift)
        elif pressed & CAPS:
            is_letter = len(plain) == 1 and plain != plain.upper() and plain.upper() == shift
            expect(byte, options.get("caps", shift if is_letter else plain))
        else:
            expect(byte, plain)

    for state, (_, accent, pairs) in enumerate(layout["dead"], 1):
        for modifiers, word in zip((0, SHIFT, OPTION, SHIFT | OPTION), words):
            if word in states:
                continue
            typed = cell(word)
            want = accent if typed == " " else pairs.get(typed, accent + typed)
            text = uchr.after(state, key, modifiers)
            check(text == want, name, "state", state, "key", key, "modifiers", modifiers, "types", repr(text), "not", repr(want))


def check_layout(name, uchr, layout):
    for key in layout["keys"]:
        check_key(name, uchr, layout, key)
    for key in range(128):
        for modifiers in range(256):
            if key in layout["any"] and key not in layout["keys"]:
                check(uchr.stroke(key, modifiers) == (layout["any"][key], 0), name, "key", key, "modifiers", modifiers)
            elif key not in layout["keys"]:
                check(uchr.output(key, modifiers) >= 0xFFFE, name, "key", key, "types something")
    check(all(len(table) == 128 for table in uchr.tables), name, "table size")
    check("".join(map(chr, uchr.terminators)) == "".join(accent for _, accent, _ in layout["dead"]), name, "accents")

    # Dense records: an entry for every state in order, and none in a dead key's.
    states = list(range(1, len(layout["dead"]) + 1))
    for record in uchr.records:
        if record["next"]:
            check((record["char"], record["format"], record["entries"]) == (0xFFFF, 0, []), name, "dead key", record)
        else:
            check(record["format"] == 1 and [state for state, _ in record["entries"]] == states, name, "record", record)
    check(sorted(r["next"] for r in uchr.records if r["next"]) == states, name, "a dead key for every state")
    check(max(map(len, uchr.sequences)) <= uchr.longest, name, "longest sequence")

    # A combination is what Unicode composes of the letter and the accent.
    for _, accent, pairs in layout["dead"]:
        for base, result in pairs.items():
            mark = "\u0327" if base in "cC" else COMBINING[accent]
            check(unicodedata.normalize("NFC", base + mark) == result, name, accent, base, "is not", result)


def check_vectors(name, uchr, path):
    rows = [line.split("\t") for line in path.read_text("utf-8").splitlines()[1:]]
    check(len(rows) == 49, path, "rows", len(rows))
    for row in rows:
        for modifiers, word in zip((0, SHIFT, OPTION, SHIFT | OPTION), row[1:]):
            text, state = uchr.stroke(int(row[0]), modifiers)
            if word.startswith("dead:"):
                accent = chr(int(word[7:], 16))
                check(text == "" and state and chr(uchr.terminators[state - 1]) == accent, name, "vector", row, modifiers)
            else:
                check((text, state) == (chr(int(word[2:], 16)), 0), name, "vector", row, modifiers, repr(text))


def main():
    tables, compiled, vectors = map(pathlib.Path, sys.argv[1:])
    special = tables / "SpecialKeys.txt"
    sources = sorted(path for path in tables.glob("*.txt") if path != special)
    check([path.stem for path in sources] == ["French", "German", "Spanish", "SwissGerman", "US", "USInternational-PC"],
          "layouts", [path.stem for path in sources])
    for source in sources:
        uchr = Uchr((compiled / (source.stem + ".uchr")).read_bytes())
        check_layout(source.stem, uchr, read_table(source, special))
        for layout, vector in (("US", "us.tsv"), ("German", "de.tsv")):
            if source.stem == layout:
                check_vectors(layout, uchr, vectors / vector)
    for problem in problems[:50]:
        print(problem)
    print("%d layouts, %d problems" % (len(sources), len(problems)))
    sys.exit(1 if problems else 0)


main()
