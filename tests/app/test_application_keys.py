#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whole runs: which application a version 4 key of a default folder becomes."""

import os
import pathlib
import plistlib
import unittest

from home_case import CAFE, PROJECTS, HomeCase, entry
from homes import Home


class ApplicationKeyTest(HomeCase):
    def install(self, name, identifier, signature, executable="run"):
        contents = f"{self.root}/Applications/{name}/Contents"
        os.makedirs(contents + "/MacOS")
        info = {"CFBundlePackageType": "APPL", "CFBundleSignature": signature, "CFBundleExecutable": executable}
        if identifier:
            info["CFBundleIdentifier"] = identifier
        pathlib.Path(contents + "/Info.plist").write_bytes(plistlib.dumps(info))
        program = pathlib.Path(f"{contents}/MacOS/{executable}")
        program.write_text("#!/bin/sh\n")
        program.chmod(0o755)

    def applications_for(self, keys, *installed):
        def prepare():
            for application in installed:
                self.install(*application)

        self.migrate(Home(sets={"a": []}, defaults={"a": {key: entry(PROJECTS) for key in keys}}), prepare)
        return [folder["applications"] for folder in self.default_folders("a")]

    def test_the_key_for_every_application_is_a_star_whatever_is_installed(self):
        self.assertEqual([["*"]], self.applications_for(["@PP$"], ("@PP$.app", "org.example.trap", "$PP@")))

    def test_a_three_character_key_is_looked_up_with_a_trailing_blank(self):
        self.assertEqual([["org.example.one"]], self.applications_for(["abc"], ("One.app", "org.example.one", " cba")))

    def test_a_creator_code_is_packed_backwards(self):
        self.assertEqual([["org.example.back"]], self.applications_for(
            ["abcd"], ("Forth.app", "org.example.forth", "abcd"), ("Back.app", "org.example.back", "dcba")))

    def test_an_empty_key_is_four_blanks(self):
        self.assertEqual([["org.example.blank"]], self.applications_for([""], ("Blank.app", "org.example.blank", "    ")))

    def test_a_four_character_key_is_a_creator_before_it_is_a_name(self):
        self.assertEqual([["org.example.creator"]], self.applications_for(
            ["Four"], ("Four.app", "org.example.name", "----"), ("Creator.app", "org.example.creator", "ruoF")))

    def test_a_four_character_key_is_a_name_with_app_at_last(self):
        self.assertEqual([["org.example.name"]], self.applications_for(["Four"], ("Four.app", "org.example.name", "----")))

    def test_a_key_may_be_the_whole_name(self):
        self.assertEqual([["org.example.name"]], self.applications_for(["Four.app"], ("Four.app", "org.example.name", "----")))

    def test_an_application_without_an_identifier_is_its_executables_name(self):
        self.assertEqual([["plain-program"]], self.applications_for(["Plain"], ("Plain.app", None, "----", "plain-program")))

    def test_a_key_that_leads_to_no_application_is_skipped(self):
        self.assertEqual([], self.applications_for(["Gone", "org.example.named"], ("Named.app", "org.example.named", "----")))

    def test_the_location_is_looked_for_before_the_application_is_missed(self):
        self.migrate(Home(sets={"a": []}, defaults={"a": {"Gone": entry(CAFE, AliasChecksum=b"\1\2")}}))
        self.assertIn("** Corrupted alias data for Place - ignoring the alias **", self.messages())


if __name__ == "__main__":
    unittest.main()
