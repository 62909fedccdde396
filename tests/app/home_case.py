# SPDX-License-Identifier: MIT
"""What whole-run tests share: a home in a temporary root, runs of the real program on it, and what it left.

VENNICK_BUNDLE names the staged main application.
"""

import os
import pathlib
import plistlib
import shutil
import struct
import tempfile
import unicodedata
import unittest

import homes
from homes import Entry

BUNDLE = os.environ["VENNICK_BUNDLE"]
FOLDERS = {target.path: target for target in homes.TARGETS}
PROJECTS = FOLDERS["/Users/anna/Projects"]
CAFE = FOLDERS["/Users/anna/Café"]
LETTER = FOLDERS["/Users/anna/Letter to Joe.txt"]
DELETED = FOLDERS["/Users/anna/Deleted"]


def entry(target, name="Place", record=None, key=None, **more):
    """A favorite that leads to a target; more keys of the stored item by name."""
    stored = {"Name": name, "Alias": record or homes.alias_record(target.path, target.volume, target.mount)}
    stored.update(more)
    return Entry(stored, name=name, target=target, key=key)


def hotkey(code, modifiers, flag=0):
    return struct.pack("<BBHI", code, flag, modifiers, 0)


class HomeCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.root = os.path.realpath(tempfile.mkdtemp(prefix="vennick-home-"))
        self.log = ""

    def tearDown(self):
        shutil.rmtree(self.root)

    def migrate(self, home, prepare=None):
        """Runs on the home and compares the whole store; what must hold of every run is checked too."""
        home.write(self.root)
        if prepare:
            prepare()
        before = homes.snapshot(self.root)
        self.run_again()
        self.assertEqual(before, homes.snapshot(self.root), "the version 4 files are as they were")
        return home

    def run_again(self):
        shutil.rmtree(self.root + "/Applications/Vennick 5.app", ignore_errors=True)
        result = homes.run(self.root, BUNDLE)
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.started_applications, 1, "the main application runs again")
        self.log = result.stderr.decode()

    def check(self, home, prepare=None):
        self.migrate(home, prepare)
        self.assertEqual([], homes.compare(self.root, home, self.log), self.log[-3000:])

    def domain(self):
        return homes.read(f"{self.root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist")

    def favorites(self, name):
        return homes.read(f"{self.root}{homes.STORE}/{unicodedata.normalize('NFD', name)}/Favorites.plist")

    def default_folders(self, name):
        return homes.read(f"{self.root}{homes.STORE}/{name}/DefaultFolders.plist")

    def messages(self):
        """The log without what stands before each message."""
        return [line.split("] ", 1)[-1] for line in self.log.splitlines()]

    def store_without_dates(self):
        store = {}
        for path in sorted(pathlib.Path(self.root + homes.STORE).rglob("*.plist")):
            content = homes.read(path)
            if isinstance(content, list):
                content = [homes.without(item, "date", "bookmark") for item in content]
            store[str(path)] = content
        store["domain"] = self.domain()
        return store

    def write_store_domain(self, content):
        path = pathlib.Path(f"{self.root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist")
        path.write_bytes(plistlib.dumps(content))

    def write_store_file(self, name, filename, content):
        path = pathlib.Path(f"{self.root}{homes.STORE}/{name}/{filename}.plist")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(plistlib.dumps(content))
