#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What the report says after whole runs of the real program: what version 5 holds, as Python reads its files,
and what was left out, as it was put into the homes.

VENNICK_BUNDLE names the staged main application, VENNICK_REPORT the report.
"""

import os
import pathlib
import plistlib
import re
import shutil
import struct
import subprocess
import tempfile
import unicodedata
import unittest

import homes
from home_case import BUNDLE, CAFE, DELETED, FOLDERS, LETTER, PROJECTS, entry, hotkey
from homes import Entry, Home

REPORT = os.environ["VENNICK_REPORT"]
HEADINGS = ("Favorite", "Default folder of", "Left out")


class Report:
    """The printed report, taken apart: settings, and per set the rows of each table by its heading."""

    def __init__(self, text):
        self.settings, self.sets = [], {}
        table = self.settings
        for line in text.splitlines():
            columns = re.split(r" {2,}", line.strip())
            if match := re.match(r'Set "(.*)"(, the current one)?: (\d+) favorites?, (\d+) default folders?$', line):
                tables = self.sets[match[1]] = {"current": bool(match[2]), "counts": (int(match[3]), int(match[4]))}
            elif line == "In no set":
                tables = self.sets[None] = {}
            elif columns[0] in HEADINGS and line.startswith("  "):
                table = tables[columns[0]] = []
            elif line:
                table.append(columns)

    def omissions(self, name):
        return dict(self.sets.get(name, {}).get("Left out", []))


class ReportTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.root = os.path.realpath(tempfile.mkdtemp(prefix="vennick-report-"))

    def tearDown(self):
        shutil.rmtree(self.root)

    def report(self):
        environment = {"PATH": os.environ["PATH"], "HOME": homes.HOME, "MACOS_ROOT": self.root}
        result = subprocess.run([REPORT], env=environment, capture_output=True, timeout=60, check=True)
        return Report(unicodedata.normalize("NFC", result.stdout.decode()))

    def after_run(self, home, prepare=None):
        home.write(self.root)
        if prepare:
            prepare()
        self.assertEqual(0, homes.run(self.root, BUNDLE).returncode)
        return self.report()

    def store_file(self, name, filename):
        return pathlib.Path(f"{self.root}{homes.STORE}/{name}/{filename}.plist")

    # --- What version 5 holds

    def test_every_set_shows_what_its_files_hold(self):
        report = self.after_run(Home(
            sets={"Work": [entry(PROJECTS, "Projects", CommandKey=hotkey(0, 0x1B00)), entry(LETTER, "Letter"),
                           entry(DELETED, "Lost", CommandKey=hotkey(0x7A, 0, 1))],
                  "Private": [entry(CAFE, "Café", CommandKey=hotkey(123, 0x0100))]},
            defaults={"Work": {"@PP$": entry(PROJECTS), "edit": entry(CAFE)}}, active="Private"))
        self.assertEqual(["Default Set", "Private", "Work"], list(report.sets))
        self.assertEqual({"Private"}, {name for name, tables in report.sets.items() if tables["current"]})
        work = report.sets["Work"]
        self.assertEqual([["Projects", "⌃⌥⇧⌘A", "/Users/anna/Projects"],
                          ["Letter", "-", "/Users/anna/Letter to Joe.txt"],
                          ["Lost", "F1", "(leads nowhere)"]], work["Favorite"])
        self.assertEqual([["every application", "/Users/anna/Projects"], ["com.example.editor", "/Users/anna/Café"]],
                         work["Default folder of"])
        self.assertEqual([["Café", "⌘←", "/Users/anna/Café"]], report.sets["Private"]["Favorite"])
        self.assertEqual((3, 2), work["counts"])
        self.assertNotIn("Left out", work)
        self.assertNotIn("Favorite", report.sets["Default Set"])

    def test_it_is_the_files_that_are_read(self):
        self.after_run(Home(sets={"Work": [entry(PROJECTS, "Projects"), entry(CAFE, "Café")]}))
        path = self.store_file("Work", "Favorites")
        favorites = homes.read(path)
        favorites[0]["name"] = "By hand"
        path.write_bytes(plistlib.dumps(favorites[:1], fmt=plistlib.FMT_BINARY))
        report = self.report()
        self.assertEqual([["By hand", "-", "/Users/anna/Projects"]], report.sets["Work"]["Favorite"])
        self.assertEqual({'favorite "Projects"': '"By hand" is for the same place and took its place',
                          'favorite "Café"': "it is not in the set any more; the files do not tell why"},
                         report.omissions("Work"))

    def test_nothing_is_written(self):
        Home(sets={"Work": [entry(PROJECTS, "p"), Entry(5, keeps=False)]}, active="Work").write(self.root)
        homes.run(self.root, BUNDLE)
        before = self.files()
        self.report()
        self.assertEqual(before, self.files())

    def files(self):
        return {path: (path.lstat().st_mtime_ns, path.is_file() and path.read_bytes())
                for path in pathlib.Path(self.root + homes.HOME).rglob("*")}

    def test_before_a_run_there_are_no_sets(self):
        Home(sets={"Work": [entry(PROJECTS, "p")]}).write(self.root)
        report = self.report()
        self.assertEqual([None], list(report.sets))
        self.assertIn('set "Work"', report.omissions(None))
        self.assertFalse(os.path.exists(self.root + homes.STORE))

    def test_the_settings_stand_above_the_sets(self):
        report = self.after_run(Home(settings={"MaxRecentFolders": 25}))
        self.assertEqual(27, len(report.settings))
        self.assertIn(["historySize", "MaxRecentFolders: 25", "25"], report.settings)

    def test_a_default_folder_behind_another_of_its_application_is_hidden(self):
        report = self.after_run(Home(sets={"a": []}, defaults={"a": {"Editor": entry(PROJECTS), "edit": entry(CAFE)}}))
        self.assertEqual([["com.example.editor", "/Users/anna/Projects"],
                          ["com.example.editor", "/Users/anna/Café (hidden by the one before it)"]],
                         report.sets["a"]["Default folder of"])

    def speak_german(self):
        pathlib.Path(f"{self.root}{homes.PREFERENCES}/.GlobalPreferences.plist").write_bytes(
            plistlib.dumps({"AppleLanguages": ["de-DE"], "AppleLocale": "de_DE"}))

    def test_the_default_set_is_found_under_its_german_name(self):
        report = self.after_run(Home(sets={"Standardset": [entry(PROJECTS, "p")]}, active="Standardset"),
                                self.speak_german)
        self.assertEqual([["p", "-", "/Users/anna/Projects"]], report.sets["Standardset"]["Favorite"])
        self.assertTrue(self.store_file("Default Set", "Favorites").exists())

    def test_a_set_that_could_not_be_written_is_not_taken_for_the_default_set(self):
        too_long = "x" * 300
        report = self.after_run(Home(sets={"Default Set": [entry(CAFE, "d")], too_long: [entry(PROJECTS, "p")]}))
        self.assertEqual((0, 0), report.sets[too_long]["counts"])
        self.assertIn('favorite "p"', report.omissions(too_long))
        self.assertEqual((1, 0), report.sets["Default Set"]["counts"])

    def test_hotkeys_are_shown_as_people_read_them(self):
        hotkeys = {"Space": hotkey(49, 0x0100), "up": hotkey(126, 0x0200), "F18": hotkey(0x4F, 0, 1),
                   "Escape": hotkey(53, 0x0100), "no modifiers": hotkey(8, 0x2000)}
        targets = [PROJECTS, CAFE, LETTER, DELETED, FOLDERS["/Users/anna/書類"]]
        report = self.after_run(Home(sets={"a": [entry(target, name, CommandKey=key)
                                                 for target, (name, key) in zip(targets, hotkeys.items())]}))
        self.assertEqual({"Space": "⌘Space", "up": "⇧↑", "F18": "F18", "Escape": "⌘key 53", "no modifiers": "C"},
                         {row[0]: row[1] for row in report.sets["a"]["Favorite"]})

    def test_control_characters_in_names_are_shown_and_not_carried_out(self):
        report = self.after_run(Home(sets={"a\nb": [entry(PROJECTS, "new\nline\t\x1b[31m\x7f"), entry(CAFE, "\u009b2J")]}))
        self.assertEqual(["new␊line␉␛[31m␡", "\ufffd2J"], [row[0] for row in report.sets["a␊b"]["Favorite"]])

    # --- What was left out, and why

    def test_broken_entries_are_named_with_what_is_wrong_with_them(self):
        nameless = dict(entry(PROJECTS).stored)
        del nameless["Name"]
        without_alias = {"Name": "bare"}
        damaged = entry(PROJECTS, "damaged", AliasChecksum=b"\1\2")
        report = self.after_run(Home(sets={"a": [entry(CAFE, "good"), Entry("text"), Entry(nameless),
                                                 Entry(without_alias), damaged]}))
        self.assertEqual({"favorite 2": "it is no item", "favorite 3": "it has no name",
                          'favorite "bare"': "it has no alias record",
                          'favorite "damaged"': "its alias record is damaged: the checksum is another"},
                         report.omissions("a"))
        self.assertEqual(["good"], [row[0] for row in report.sets["a"]["Favorite"]])

    def test_duplicates_name_the_one_that_took_their_place(self):
        report = self.after_run(Home(sets={"a": [entry(PROJECTS, "1"), entry(CAFE, "c"), entry(PROJECTS, "2"),
                                                 entry(DELETED, "lost"), entry(DELETED, "gone")]}))
        self.assertEqual({'favorite "1"': '"2" is for the same place and took its place',
                          'favorite "lost"': 'it leads nowhere, as does "gone", which took its place'},
                         report.omissions("a"))

    def test_hotkeys_that_are_none_or_went_with_their_favorite_are_named(self):
        report = self.after_run(Home(sets={"a": [
            entry(PROJECTS, "p", CommandKey=hotkey(0, 0x0100)), entry(CAFE, "c", CommandKey=hotkey(0, 0x0400)),
            entry(LETTER, "l", CommandKey=b"short"), entry(PROJECTS, "p")]}))
        self.assertEqual({'hotkey of favorite "p"': "another favorite for the same place took its place",
                          'hotkey of favorite "c"': "its record is no hotkey",
                          'hotkey of favorite "l"': "its record is no hotkey"}, report.omissions("a"))

    def test_default_folders_without_an_application_or_a_place_are_named(self):
        report = self.after_run(Home(sets={"a": []}, defaults={"a": {
            "Unknown": entry(PROJECTS), "edit": entry(DELETED), "Nameless": Entry({"Name": "x"}),
            "@PP$": entry(PROJECTS, AliasChecksum=b"\1\2"), "Editor": entry(CAFE)}}))
        self.assertEqual({'default folder of "Unknown"': "no such application is here",
                          'default folder of "edit"': "it leads nowhere",
                          'default folder of "Nameless"': "it has no alias record",
                          'default folder of "@PP$"': "its alias record is damaged: the checksum is another"},
                         report.omissions("a"))
        self.assertEqual([["com.example.editor", "/Users/anna/Café"]], report.sets["a"]["Default folder of"])

    def test_a_refused_set_is_named_with_the_set_that_took_its_entries(self):
        report = self.after_run(Home(sets={"Alpha": [], "Scripts": [entry(PROJECTS, "s"), Entry(1)], "..": []}))
        self.assertEqual({'set "Scripts"': 'version 5 keeps this name for itself; its entries went into "Alpha"',
                          "favorite 2": "it is no item"}, report.omissions("Alpha"))
        self.assertEqual({'set ".."': "this cannot be the name of a folder; its entries went into the set that was "
                                      "current"}, report.omissions(None))

    def test_favorites_that_belong_to_no_set_are_counted(self):
        report = self.after_run(Home(sets={"a": []}, favorites_domain=[entry(CAFE, "1"), entry(PROJECTS, "2")]))
        self.assertEqual({"favorites of the favorites domain, 2": "no set is active that they could belong to"},
                         report.omissions(None))

    def test_without_an_active_set_the_favorites_of_the_favorites_domain_are_the_default_sets_in_german_too(self):
        home = Home(sets={"Standardset": [entry(PROJECTS, "own")]}, favorites_domain=[entry(CAFE, "global"), Entry(1)])
        report = self.after_run(home, self.speak_german)
        self.assertEqual({"favorite 2": "it is no item"}, report.omissions("Standardset"))
        self.assertNotIn(None, report.sets)

    def test_the_english_name_of_the_default_set_is_no_german_users(self):
        home = Home(sets={"Default Set": [entry(PROJECTS, "own")]}, favorites_domain=[entry(CAFE, "global"), Entry(1)])
        report = self.after_run(home, self.speak_german)
        self.assertEqual({}, report.omissions("Default Set"))
        self.assertEqual({"favorites of the favorites domain, 2": "no set is active that they could belong to"},
                         report.omissions(None))

    def test_a_set_without_a_name_is_left_out_with_its_entries(self):
        report = self.after_run(Home(sets={"": [entry(PROJECTS, "lost")], "a": [entry(CAFE, "c")]}))
        self.assertEqual({'set ""': "no set without a name can be active; its entries are left out with it"},
                         report.omissions(None))

    def test_favorites_of_the_favorites_domain_are_the_active_sets(self):
        report = self.after_run(Home(sets={"a": [entry(PROJECTS, "own")]}, active="a",
                                     favorites_domain=[entry(CAFE, "global"), Entry(1)]))
        self.assertEqual({"favorite 2": "it is no item"}, report.omissions("a"))

    def test_an_entry_that_was_tried_before_leads_nowhere_and_is_there(self):
        tried = entry(PROJECTS, "tried", ResolveError=struct.pack("<h", -43))
        report = self.after_run(Home(sets={"a": [tried]}))
        self.assertEqual([["tried", "-", "(leads nowhere)"]], report.sets["a"]["Favorite"])
        self.assertEqual({}, report.omissions("a"))

    def test_lists_that_begin_anew_are_counted(self):
        home = Home(sets={"a": []})
        home.write(self.root)
        content = {"FolderSets": {"a": {"Recent": [entry(PROJECTS).stored] * 3, "LastSave": {"x": entry(CAFE).stored},
                                        "SpotlightTerms": ["kind:pdf"], "Rebound": {}}}}
        home.dump(self.root, homes.DOMAIN, content)
        homes.run(self.root, BUNDLE)
        self.assertEqual({"recent 3, last save 1, search terms 1": "version 5 begins these lists anew"},
                         self.report().omissions("a"))


if __name__ == "__main__":
    unittest.main()
