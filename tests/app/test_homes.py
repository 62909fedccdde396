#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whole runs of the real program on homes of every sort, each compared with the whole expected store."""

import os
import pathlib
import plistlib
import shutil
import struct
import subprocess
import unicodedata
import unittest

import homes
from home_case import BUNDLE, CAFE, DELETED, FOLDERS, LETTER, PROJECTS, HomeCase, entry, hotkey
from homes import Entry, Home



class HomeTest(HomeCase):
    # --- Homes with little in them

    def test_a_home_without_version_4_preferences_gets_the_default_set(self):
        home = Home()
        home.write(self.root)
        os.remove(f"{self.root}{homes.PREFERENCES}/{homes.DOMAIN}.plist")
        self.run_again()
        self.assertEqual([], homes.compare(self.root, home, self.log))
        self.assertEqual("Default Set", self.domain()["currentSet"])
        self.assertIn("Converting 0 folder set(s)", self.messages())
        self.assertEqual([f"{homes.STORE_DOMAIN}.plist"],
                         sorted(os.listdir(self.root + homes.PREFERENCES)))

    def test_an_empty_settings_dictionary_gives_every_default(self):
        self.check(Home(settings={}))
        self.assertEqual((1048576, 1), (self.domain()["openInTerminalModifiers"], self.domain()["toolbarStyle"]))

    def test_empty_folder_sets_are_no_sets(self):
        self.check(Home(sets={}))
        self.assertIn("Converting 0 folder set(s)", self.messages())

    def test_a_set_without_entries_is_created_all_the_same(self):
        self.check(Home(sets={"Work": []}))
        self.assertEqual(["Default Set", "Work"], self.domain()["folderSets"])

    # --- Sets

    def test_sets_are_created_in_case_insensitive_order(self):
        self.check(Home(sets={"beta": [], "Alpha": [], "gamma": []}))
        created = [line for line in self.messages() if line.startswith("Creating set: ")]
        self.assertEqual(["Creating set: Alpha", "Creating set: beta", "Creating set: gamma"], created)

    def test_the_active_set_becomes_the_current_one(self):
        self.check(Home(sets={"Work": [entry(PROJECTS)], "Alpha": []}, active="Work"))
        self.assertEqual("Work", self.domain()["currentSet"])

    def test_an_active_set_that_is_no_set_is_created_and_counted(self):
        self.check(Home(sets={"Work": []}, active="Brand new"))
        self.assertIn("Converting 2 folder set(s)", self.messages())

    def test_a_set_called_scripts_is_refused_and_its_entries_go_into_the_set_before_it(self):
        self.check(Home(sets={"Alpha": [entry(CAFE, "a")], "Scripts": [entry(PROJECTS, "s")], "Work": []}))
        self.assertEqual(["a", "s"], [favorite["name"] for favorite in self.favorites("Alpha")])
        self.assertNotIn("Scripts", self.domain()["folderSets"])

    def test_a_set_called_default_set_fills_the_stores_own(self):
        self.check(Home(sets={"Default Set": [entry(PROJECTS, "p")]}, active="Default Set"))
        self.assertEqual(["Default Set"], self.domain()["folderSets"])

    def test_sets_with_slashes_and_dots_stay_inside_the_settings_folder(self):
        names = ["Clients/North", "..", "a/../../b", ".hidden", ""]
        self.check(Home(sets={name: [entry(PROJECTS, name or "none")] for name in names}))
        self.assertEqual([".hidden", "Clients/North", "Default Set"], sorted(self.domain()["folderSets"]))
        outside = os.listdir(os.path.dirname(self.root + homes.STORE))
        self.assertEqual([os.path.basename(homes.STORE)], outside)

    def test_two_sets_whose_names_differ_in_case_both_exist(self):
        self.check(Home(sets={"Work": [entry(PROJECTS, "W")], "work": [entry(CAFE, "w")]}))
        self.assertEqual(["Default Set", "Work", "work"], self.domain()["folderSets"])

    def test_names_in_many_scripts_arrive(self):
        self.check(Home(sets={name: [entry(FOLDERS["/Users/anna/書類"], name)]
                              for name in ["Übung", unicodedata.normalize("NFD", "Éclair"), "日本", "Привет", "שלום", "😀"]}))

    # --- Favorites

    def test_a_typical_home_arrives(self):
        self.check(Home(
            sets={"Work": [entry(PROJECTS, "Projects", CommandKey=hotkey(0, 0x0100), key=(0, 0x0100)),
                           entry(LETTER, "Letter"), entry(CAFE, "Café")],
                  "Private": [entry(FOLDERS["/Users/anna/書類"], "Papers")]},
            defaults={"Work": {"@PP$": entry(PROJECTS), "edit": entry(CAFE)}},
            active="Private", settings={"MaxRecentFolders": 30, "AnchorLocation": 4}))
        self.assertEqual(1048576, self.favorites("Work")[0]["hotkey"]["modifierFlags"])

    def test_a_favorite_with_a_name_only_is_kept_at_the_placeholder_location(self):
        self.check(Home(sets={"Work": [entry(DELETED, "Lost")]}))
        (favorite,) = self.favorites("Work")
        self.assertEqual(("Lost", homes.MISSING, 2), (favorite["name"], favorite["url"], favorite["itemType"]))
        self.assertNotIn("bookmark", favorite)

    def test_a_second_placeholder_takes_the_first_ones_place(self):
        self.check(Home(sets={"Work": [entry(DELETED, "first"), entry(PROJECTS, "p"), entry(DELETED, "second")]}))
        self.assertEqual(["p", "second"], [favorite["name"] for favorite in self.favorites("Work")])

    def test_a_favorite_with_neither_location_nor_name_is_dropped(self):
        nameless = Entry({"Alias": homes.alias_record(DELETED.path, "Macintosh HD", "/")}, keeps=False)
        self.check(Home(sets={"Work": [entry(PROJECTS, "p"), nameless]}))
        self.assertIn("** No name for item 1 **", self.messages())
        self.assertIn("** Deleting item 1 **", self.messages())

    def test_entries_that_are_no_items_are_dropped_with_their_messages(self):
        self.check(Home(sets={"Work": [Entry("text", keeps=False), entry(PROJECTS, "p")]}))
        expected = ["CFItemList contains no dictionary at index 0", "** No name for item 0 **", "** Deleting item 0 **"]
        self.assertEqual(expected, [line for line in self.messages() if "item 0" in line or "index 0" in line])

    def test_a_corrupted_alias_is_named_and_its_entry_deleted_once(self):
        corrupt = entry(PROJECTS, "Größe", AliasChecksum=b"\1\2")
        corrupt.keeps = False
        self.check(Home(sets={"Work": [corrupt]}))
        expected = ["** Corrupted alias data for Größe - ignoring the alias **",
                    "** No alias data for item 0 (Größe) **", "** Deleting item 0 **"]
        self.assertEqual(expected, [line for line in self.messages() if line.startswith("** ")])

    def test_an_adjacent_duplicate_keeps_the_first_ones_hotkey_and_another_loses_it(self):
        first = entry(PROJECTS, "1", CommandKey=hotkey(0, 0x0100), key=(0, 0x0100))
        self.check(Home(sets={"a": [first, entry(PROJECTS, "2")],
                              "b": [first, entry(CAFE, "c"), entry(PROJECTS, "2")]}))
        self.assertIn("hotkey", self.favorites("a")[0])
        self.assertNotIn("hotkey", self.favorites("b")[1])

    def test_hotkeys_arrive_in_both_byte_orders(self):
        big_endian = struct.pack(">BBHI", 8, 0, 0x0900, 7)
        self.check(Home(sets={"Work": [entry(PROJECTS, "p", CommandKey=big_endian, key=(8, 0x0900)),
                                       entry(CAFE, "c", CommandKey=hotkey(0x7A, 0, 1), key=(0x7A, 0))]}))
        self.assertEqual(0x180000, self.favorites("Work")[0]["hotkey"]["modifierFlags"])
        self.assertIn("Adding favorite p : " + PROJECTS.location(), self.messages())

    def test_a_key_whose_text_no_property_list_holds_keeps_its_hotkey(self):
        self.migrate(Home(sets={"Work": [entry(PROJECTS, "p", CommandKey=hotkey(53, 0x0100))]}))
        self.assertEqual({"keyCode": 53, "modifierFlags": 0x100000}, self.favorites("Work")[0]["hotkey"])

    def test_hotkeys_get_the_texts_of_the_keys_on_the_users_keyboard(self):
        def prepare():
            pathlib.Path(f"{self.root}{homes.PREFERENCES}/com.apple.HIToolbox.plist").write_bytes(
                plistlib.dumps({"AppleCurrentKeyboardLayoutInputSourceID": "com.apple.keylayout.German"}))

        keys = {6: "y", 16: "z", 24: "´", 41: "ö"}
        places = [PROJECTS, CAFE, LETTER, FOLDERS["/Users/anna/書類"]]
        self.migrate(Home(sets={"Work": [entry(place, "p", CommandKey=hotkey(code, 0x0100))
                                         for code, place in zip(keys, places)]}), prepare)
        found = [favorite["hotkey"] for favorite in self.favorites("Work")]
        self.assertEqual(keys, {key["keyCode"]: key["charactersIgnoringModifiers"] for key in found})

    def test_an_item_that_was_tried_before_is_not_tried_again_outside_the_active_set(self):
        tried = entry(PROJECTS, "p", ResolveError=struct.pack("<h", 0))
        tried.tried = True
        self.check(Home(sets={"active": [tried], "other": [tried]}, active="active"))
        self.assertEqual(PROJECTS.location(), self.favorites("active")[0]["url"])
        self.assertEqual(homes.MISSING, self.favorites("other")[0]["url"])

    def test_links_packages_and_files_arrive_as_what_they_are(self):
        self.check(Home(sets={"Work": [entry(target, target.name()) for target in homes.TARGETS]}))

    def test_a_volume_of_another_name_is_not_the_recorded_one(self):
        archive = FOLDERS["/Volumes/Data/Archive"]
        foreign = entry(archive, "Archive", record=homes.alias_record(archive.path, "Disk", archive.mount))
        foreign.target = None
        renamed = entry(archive, "Half", record=homes.alias_record(archive.path, "Dart", archive.mount))
        self.check(Home(sets={"Work": [foreign, renamed]}))
        self.assertEqual([homes.MISSING, archive.location()], [favorite["url"] for favorite in self.favorites("Work")])

    def test_the_favorites_domain_overrides_the_active_set_only(self):
        self.check(Home(sets={"a": [entry(PROJECTS, "own")], "b": [entry(PROJECTS, "own")]}, active="a",
                        favorites_domain=[entry(CAFE, "global")]))
        self.assertEqual(["global"], [favorite["name"] for favorite in self.favorites("a")])
        self.assertEqual(["own"], [favorite["name"] for favorite in self.favorites("b")])

    def test_global_favorites_are_lost_without_an_active_set_or_a_default_set(self):
        self.check(Home(sets={"a": [entry(PROJECTS, "own")]}, favorites_domain=[entry(CAFE, "global")]))
        self.assertEqual(0, sum(len(self.favorites(name)) for name in ["Default Set"]))

    def test_an_empty_favorites_domain_empties_the_active_set(self):
        self.check(Home(sets={"a": [entry(PROJECTS, "own")]}, active="a", favorites_domain=[]))
        self.assertEqual([], self.favorites("a"))

    def test_all_three_domains_together_arrive(self):
        self.check(Home(sets={"a": [entry(PROJECTS, "own")], "b": []}, active="a",
                        defaults={"b": {"@PP$": entry(CAFE)}}, settings={"MiscellaneousFlags": 0, "ShowDiskSpace": 1},
                        favorites_domain=[entry(CAFE, "global")],
                        settings_domain={"MiscellaneousFlags": 32, "ToolbarOnLeft": 1}))
        self.assertEqual(2, self.default_folders("b")[0]["flags"])

    # --- Default folders

    def test_a_default_folder_for_every_application_is_one_for_a_star(self):
        self.check(Home(sets={"a": []}, defaults={"a": {"@PP$": entry(PROJECTS)}}))
        self.assertEqual(["*"], self.default_folders("a")[0]["applications"])

    def test_applications_are_found_by_creator_code_and_by_name(self):
        self.check(Home(sets={"a": []}, defaults={"a": {key: entry(PROJECTS) for key in homes.APPLICATION_KEYS}}))
        found = [folder["applications"] for folder in self.default_folders("a")]
        self.assertEqual([["*"], ["runme"], ["com.example.editor"]], found)

    def test_the_same_default_folder_is_replaced_and_another_stays(self):
        home = Home(sets={"a": []}, defaults={"a": {"Editor": entry(PROJECTS), "edit": entry(PROJECTS)}})
        self.check(home)
        self.assertEqual(1, len(self.default_folders("a")))
        self.assertTrue(any(line.startswith("Checking <VKItem: 0x") for line in self.messages()))

    def test_a_different_default_folder_in_the_store_stays_beside_the_new_one(self):
        self.check(Home(sets={"a": []}, defaults={"a": {"Editor": entry(PROJECTS), "edit": entry(CAFE)}}))
        self.assertEqual(2, len(self.default_folders("a")))

    def test_a_default_folder_without_an_application_still_says_what_is_wrong_with_its_alias(self):
        corrupt = entry(PROJECTS, "p", AliasChecksum=b"\1\2")
        corrupt.keeps = False
        self.check(Home(sets={"a": []}, defaults={"a": {"Unknown": corrupt}}))
        self.assertIn("** Corrupted alias data for p - ignoring the alias **", self.messages())

    # --- Stores that are there already

    def test_a_second_run_changes_nothing_but_dates_and_bookmarks(self):
        home = Home(sets={"a": [entry(PROJECTS, "p", CommandKey=hotkey(0, 0x0100), key=(0, 0x0100)), entry(CAFE, "c")],
                          "b": [entry(LETTER, "l")]},
                    defaults={"a": {"@PP$": entry(PROJECTS), "edit": entry(CAFE)}}, active="b")
        self.check(home)
        first = self.store_without_dates()
        self.run_again()
        self.assertEqual(first, self.store_without_dates())

    def test_a_store_that_has_sets_and_favorites_is_merged_into(self):
        def prepare():
            folder = f"{self.root}{homes.STORE}/Mine"
            os.makedirs(folder)
            mine = [{"name": "mine", "url": "file:///Users/anna/Other/", "itemType": 2}]
            pathlib.Path(folder + "/Favorites.plist").write_bytes(plistlib.dumps(mine))
            pathlib.Path(folder + "/RecentFiles.plist").write_bytes(plistlib.dumps(mine))
            content = {"folderSets": ["Mine"], "currentSet": "Mine", "theirOwn": 5, "maxHistorySize": 33}
            pathlib.Path(f"{self.root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist").write_bytes(plistlib.dumps(content))

        self.migrate(Home(sets={"Mine": [entry(PROJECTS, "p")], "New": []}, active="New"), prepare)
        self.assertEqual(["mine", "p"], [favorite["name"] for favorite in self.favorites("Mine")])
        self.assertEqual(1, len(homes.read(f"{self.root}{homes.STORE}/Mine/RecentFiles.plist")))
        domain = self.domain()
        self.assertEqual((["Mine", "New"], "New", 5, 33),
                         (domain["folderSets"], domain["currentSet"], domain["theirOwn"], domain["maxHistorySize"]))

    def test_favorites_that_stay_sorted_give_name_and_hotkey_to_whatever_is_last(self):
        def prepare():
            pathlib.Path(f"{self.root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist").write_bytes(
                plistlib.dumps({"favoritesStaySorted": True}))

        self.migrate(Home(sets={"a": [entry(PROJECTS, "z"), entry(CAFE, "y", CommandKey=hotkey(0, 0x0100))]}), prepare)
        # Café is sorted before "z", so that the second name and its hotkey go to Projects.
        found = [(unicodedata.normalize("NFC", favorite["name"]), favorite["url"], "hotkey" in favorite)
                 for favorite in self.favorites("a")]
        self.assertEqual([("Café", CAFE.location(), False), ("y", PROJECTS.location(), True)], found)

    def test_the_migrated_history_size_is_not_the_key_that_limits_the_lists(self):
        self.check(Home(sets={}, settings={"MaxRecentFolders": 3}))
        self.assertEqual(3, self.domain()["historySize"])
        self.assertNotIn("maxHistorySize", self.domain())

    # --- Large homes and the German user

    def test_a_very_large_home_arrives_and_does_not_log_its_aliases(self):
        names = [f"set {number:03}" for number in range(60)]
        home = Home(sets={name: [entry(target, f"{name} {index}") for index, target in enumerate(homes.TARGETS * 4)]
                          for name in names})
        self.check(home)
        alias_bytes = sum(len(item.stored["Alias"]) for items in home.sets.values() for item in items)
        listed = [line for line in self.messages() if line.startswith("Converting favorite folders: ")]
        self.assertLess(sum(map(len, listed)), alias_bytes / 4)

    def speak_german(self):
        pathlib.Path(f"{self.root}{homes.PREFERENCES}/.GlobalPreferences.plist").write_bytes(
            plistlib.dumps({"AppleLanguages": ["de-DE", "en"], "AppleLocale": "de_DE"}))

    def test_a_german_user_gets_the_default_set_under_its_german_name_in_the_english_folder(self):
        self.migrate(Home(sets={}), self.speak_german)
        self.assertEqual((["Standardset"], "Standardset"), (self.domain()["folderSets"], self.domain()["currentSet"]))
        self.assertEqual([], self.favorites("Default Set"))

    def test_without_an_active_set_global_favorites_are_the_default_sets_under_its_german_name(self):
        self.migrate(Home(sets={"Standardset": [entry(PROJECTS, "own")], "b": [entry(PROJECTS, "own")]},
                          favorites_domain=[entry(CAFE, "global")]), self.speak_german)
        self.assertEqual((["Standardset", "b"], "Standardset"), (self.domain()["folderSets"], self.domain()["currentSet"]))
        self.assertEqual(["global"], [favorite["name"] for favorite in self.favorites("Default Set")])
        self.assertEqual(["own"], [favorite["name"] for favorite in self.favorites("b")])

    def test_the_main_application_runs_again_with_its_notice(self):
        Home().write(self.root)
        application = self.root + "/Applications/Vennick 5.app"
        shutil.copytree(BUNDLE, application, symlinks=True)
        environment = {"PATH": os.environ["PATH"], "HOME": homes.HOME, "MACOS_ROOT": self.root,
                       "VK_PREFS_IMPORT_COMPLETED": "older"}
        executable = application + "/Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator"
        subprocess.run([executable], env=environment, capture_output=True, timeout=60, check=True)
        try:
            program = application + "/Contents/MacOS/Vennick5"
            running = [process for process in pathlib.Path("/proc").glob("[0-9]*") if homes.is_running(process, program)]
            self.assertEqual(1, len(running))
            self.assertIn(b"VK_PREFS_IMPORT_COMPLETED=YES", (running[0] / "environ").read_bytes().split(b"\0"))
        finally:
            homes.end_main_application(application)


if __name__ == "__main__":
    unittest.main()
