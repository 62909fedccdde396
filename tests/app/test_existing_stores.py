#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whole runs over stores that hold something already: they are added to, and the rest stays the user's."""

import os
import pathlib
import unittest

import homes
from home_case import CAFE, FOLDERS, LETTER, PROJECTS, HomeCase, entry, hotkey
from homes import Home

OTHER = {"name": "own", "url": "file:///Users/anna/Other/", "itemType": 2}
COLLECTIONS = ["RecentFiles", "RecentFolders", "RecentFinderFolders", "RecentApplications", "DroppedItems"]


def default_folder(place, **more):
    return {"name": "own", "url": place, "itemType": 2, "applications": ["com.example.editor"], "fileTypes": ["*"],
            "flags": 9} | more


class ExistingStoreTest(HomeCase):
    def write_store(self):
        for name in ("Mine", "Theirs"):
            for filename in ["Favorites", "DefaultFolders", *COLLECTIONS]:
                self.write_store_file(name, filename, [OTHER])
            self.write_store_file(name, "LastFolders", {"com.example.editor+1": "file:///x/"})
            self.write_store_file(name, "Rebound", {"com.example.editor": [{"url": "file:///x/", "name": "x"}]})
        self.write_store_file(".", "SaveActions", {"com.example.editor": [{"action": 1}]})
        self.write_store_file(".", "DialogSizes", {"com.example.editor+1": "{{0, 0}, {1, 1}}"})
        self.write_store_domain({"folderSets": ["Mine", "Theirs"], "currentSet": "Theirs", "theirOwn": [1, {"a": b"b"}],
                                 "maxHistorySize": 33, "openInTerminal": True})

    def contents(self, name):
        return {path.name: homes.read(path) for path in pathlib.Path(f"{self.root}{homes.STORE}/{name}").iterdir()}

    def test_what_the_run_does_not_touch_stays_as_it_was(self):
        self.migrate(Home(sets={"Mine": [entry(PROJECTS, "p")], "New": []}, defaults={"Mine": {"@PP$": entry(CAFE)}},
                          active="New"), self.write_store)
        theirs, mine = self.contents("Theirs"), self.contents("Mine")
        self.assertEqual({f"{name}.plist": [OTHER] for name in ["Favorites", "DefaultFolders", *COLLECTIONS]},
                         {name: content for name, content in theirs.items() if isinstance(content, list)})
        for filename in COLLECTIONS:
            self.assertEqual([OTHER], mine[filename + ".plist"], filename)
        for content in (theirs, mine):
            self.assertEqual({"com.example.editor+1": "file:///x/"}, content["LastFolders.plist"])
            self.assertEqual({"com.example.editor": [{"url": "file:///x/", "name": "x"}]}, content["Rebound.plist"])
        self.assertEqual({"com.example.editor": [{"action": 1}]}, homes.read(self.root + homes.STORE + "/SaveActions.plist"))
        self.assertEqual({"com.example.editor+1": "{{0, 0}, {1, 1}}"},
                         homes.read(self.root + homes.STORE + "/DialogSizes.plist"))
        domain = self.domain()
        self.assertEqual(([1, {"a": b"b"}], 33), (domain["theirOwn"], domain["maxHistorySize"]))
        # A setting of the mapping is not the user's any more.
        self.assertIs(False, domain["openInTerminal"])

    def test_sets_and_entries_are_added_to_those_that_are_there(self):
        self.migrate(Home(sets={"Mine": [entry(PROJECTS, "p")], "New": [entry(CAFE, "c")]},
                          defaults={"Mine": {"@PP$": entry(CAFE)}}, active="New"), self.write_store)
        self.assertEqual(["Mine", "New", "Theirs"], self.domain()["folderSets"])
        self.assertEqual("New", self.domain()["currentSet"])
        self.assertEqual(["own", "p"], [favorite["name"] for favorite in self.favorites("Mine")])
        self.assertEqual(["c"], [favorite["name"] for favorite in self.favorites("New")])
        self.assertEqual(["own", "Café"], [folder["name"] for folder in homes.composed(self.default_folders("Mine"))])

    def test_a_favorite_that_is_there_moves_to_the_end_with_its_version_4_name(self):
        def prepare():
            self.write_store()
            self.write_store_file("Mine", "Favorites", [{"name": "older", "url": PROJECTS.location(), "itemType": 2}, OTHER])

        self.migrate(Home(sets={"Mine": [entry(PROJECTS, "newer")]}), prepare)
        self.assertEqual(["own", "newer"], [favorite["name"] for favorite in self.favorites("Mine")])

    def test_a_default_folder_that_is_there_already_ends_as_exactly_one_that_is_new(self):
        def prepare():
            self.write_store()
            self.write_store_file("Mine", "DefaultFolders", [default_folder(PROJECTS.location(), name="older"), OTHER])

        self.migrate(Home(sets={"Mine": []}, defaults={"Mine": {"Editor": entry(PROJECTS)}}), prepare)
        own, new = self.default_folders("Mine")
        self.assertEqual(("own", "Projects", 1), (own["name"], new["name"], new["flags"]))
        self.assertEqual(PROJECTS.location(), new["url"])
        self.assertEqual(1, sum(line.startswith("Checking <VKItem: 0x") for line in self.messages()))

    def test_a_different_default_folder_that_is_there_stays_and_shadows_the_new_one(self):
        def prepare():
            self.write_store()
            self.write_store_file("Mine", "DefaultFolders", [default_folder(CAFE.location())])

        self.migrate(Home(sets={"Mine": []}, defaults={"Mine": {"Editor": entry(PROJECTS)}},
                          settings={"MiscellaneousFlags": 32}), prepare)
        first, second = self.default_folders("Mine")
        self.assertEqual((CAFE.location(), 9), (first["url"], first["flags"]))
        self.assertEqual((PROJECTS.location(), 2), (second["url"], second["flags"]))

    def test_a_default_folder_that_is_a_link_to_a_file_is_added_by_every_run(self):
        link = FOLDERS["/Users/anna/Recent letter"]
        self.check(Home(sets={"a": []}, defaults={"a": {"Editor": entry(link)}}))
        for runs in (1, 2, 3):
            self.assertEqual([LETTER.location()] * runs, [folder["url"] for folder in self.default_folders("a")])
            self.run_again()

    def test_a_second_run_over_such_a_store_changes_nothing_but_dates_and_bookmarks(self):
        home = Home(sets={"Mine": [entry(PROJECTS, "p", CommandKey=hotkey(0, 0x0100)), entry(LETTER, "l")],
                          "New": [entry(CAFE, "c")]},
                    defaults={"Mine": {"@PP$": entry(CAFE), "Editor": entry(PROJECTS)}}, active="New")
        self.migrate(home, self.write_store)
        first, names = self.store_without_dates(), self.names()
        for _ in range(2):
            self.run_again()
            self.assertEqual(first, self.store_without_dates())
            self.assertEqual(names, self.names())

    def names(self):
        return sorted(os.path.join(folder, name) for top in (homes.STORE, homes.PREFERENCES)
                      for folder, _, names in os.walk(self.root + top) for name in names)


if __name__ == "__main__":
    unittest.main()
