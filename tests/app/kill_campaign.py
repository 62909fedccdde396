#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Kills the real program at each of its calls that change a file, one after the other.

    tests/app/kill_campaign.py INTERRUPT BUNDLE [--stride N] [--first N]

After each kill the version 4 files must be as they were and every file of the store whole; the next run,
left alone, must come to the same end as one that was never interrupted, in everything but dates and bookmarks.
A home without a store and one whose store holds sets of the user's own are tried, and some runs are killed
twice. Ends with status 77 where no process may be traced.
"""

import argparse
import os
import pathlib
import plistlib
import random
import re
import shutil
import subprocess
import sys
import tempfile

import homes
from homes import TARGETS, Entry, Home, alias_record

NO_TRACING = 77
KILLED = 137
# What a kill may leave beside whole files: content that was on its way into a file, and the run's lock.
LEFTOVER = re.compile(r"^\..+\.[0-9a-f]{16}$|^\..+\.lock$")
BY_PATH = {target.path: target for target in TARGETS}


def entry(path, name, key=None):
    target = BY_PATH[path]
    stored = {"Name": name, "Alias": alias_record(target.path, target.volume, target.mount)}
    if key:
        stored["CommandKey"] = key
    return Entry(stored, name=name, target=target)


def home():
    command_a, option_c = b"\0\0\0\1\0\0\0\0", b"\x08\0\0\x08\0\0\0\0"
    return Home(
        sets={"Alpha": [entry("/Users/anna/Projects", "Projects", command_a), entry("/Users/anna/Café", "Café"),
                        entry("/Users/anna/Deleted", "Lost"), Entry("no item")],
              "Mine": [entry("/Users/anna/書類", "Papers", option_c), entry("/Users/anna/Letter to Joe.txt", "Letter")],
              "Scripts": [entry("/Users/anna/Shortcut", "Into the set before")]},
        defaults={"Alpha": {"@PP$": entry("/Users/anna/Projects", "p"), "edit": entry("/Users/anna/Café", "c")},
                  "Mine": {"Nameless": entry("/Users/anna/Projects", "p")}},
        active="Alpha", settings={"MaxRecentFolders": 21, "AnchorLocation": 8},
        favorites_domain=[entry("/Users/anna/Café", "Global", command_a), entry("/Users/anna/Projects", "Second")])


def write_store(root):
    """A store with sets of its own, one of the same name as a version 4 one."""
    own = [{"name": "own", "url": "file:///Users/anna/Other/", "itemType": 2},
           {"name": "older", "url": homes.file_url("/Users/anna/書類", True), "itemType": 2}]
    for name in ("Mine", "Theirs"):
        folder = pathlib.Path(f"{root}{homes.STORE}/{name}")
        folder.mkdir(parents=True)
        for filename in ("Favorites", "RecentFiles", "DefaultFolders"):
            (folder / f"{filename}.plist").write_bytes(plistlib.dumps(own))
        (folder / "Rebound.plist").write_bytes(plistlib.dumps({"x": own}))
    content = {"folderSets": ["Mine", "Theirs"], "currentSet": "Theirs", "theirOwn": 5}
    pathlib.Path(f"{root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist").write_bytes(plistlib.dumps(content))


def store_files(root):
    domain = pathlib.Path(f"{root}{homes.PREFERENCES}/{homes.STORE_DOMAIN}.plist")
    return [path for path in [*pathlib.Path(root + homes.STORE).rglob("*"), domain] if path.is_file()]


def without_dates(value):
    if isinstance(value, list):
        return [without_dates(item) for item in value]
    if isinstance(value, dict):
        return {key: without_dates(item) for key, item in value.items() if key not in ("date", "bookmark")}
    return value


def store_state(root):
    """Every file of the store by its path; a file that is no whole property list is an error."""
    return {str(path)[len(root):]: without_dates(plistlib.loads(path.read_bytes()))
            for path in store_files(root) if not LEFTOVER.match(path.name)}


class Campaign:
    def __init__(self, interrupt, bundle, scratch, prepare):
        self.interrupt = interrupt
        self.executable = bundle + "/Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator"
        self.template = scratch + "/template"
        self.root = scratch + "/root"
        home().write(self.template)
        if prepare:
            prepare(self.template)
        self.version_4 = homes.snapshot(self.template)
        self.unfinished = self.leftovers = 0
        self.start_over()
        self.calls = self.count_changing_calls()
        self.end = store_state(self.root)

    def start_over(self):
        shutil.rmtree(self.root, ignore_errors=True)
        shutil.copytree(self.template, self.root, symlinks=True)

    def run(self, *through):
        environment = {"PATH": os.environ["PATH"], "HOME": homes.HOME, "MACOS_ROOT": self.root,
                       # No leak is looked for in a process that is traced.
                       "ASAN_OPTIONS": "detect_leaks=0"}
        return subprocess.run([*through, self.executable], env=environment, capture_output=True, timeout=120, check=False)

    def count_changing_calls(self):
        result = self.run(self.interrupt, "0")
        if result.returncode == NO_TRACING:
            print("processes cannot be traced here; nothing was tried")
            sys.exit(NO_TRACING)
        assert result.returncode == 0, result.stderr[-2000:]
        return int(re.search(rb"changing calls (\d+)", result.stderr)[1])

    def killed_run(self, kill_at):
        result = self.run(self.interrupt, str(kill_at))
        assert result.returncode == KILLED, f"was not killed: {result.returncode}\n{result.stderr[-2000:]}"
        assert homes.snapshot(self.root) == self.version_4, "the version 4 files have changed"
        self.unfinished += store_state(self.root) != self.end
        self.leftovers += any(LEFTOVER.match(path.name) for path in store_files(self.root))

    def attempt(self, kills):
        """What goes wrong when runs are killed there, one after the other; None when nothing does."""
        self.start_over()
        try:
            for kill_at in kills:
                self.killed_run(kill_at)
            result = self.run()
            assert result.returncode == 0, result.stderr[-2000:]
            assert homes.snapshot(self.root) == self.version_4, "the version 4 files have changed"
            end = store_state(self.root)
            assert end == self.end, f"another end\n  expected {self.end}\n  found    {end}"
        except (AssertionError, plistlib.InvalidFileException, ValueError) as problem:
            return problem
        return None

    def run_all(self, first, stride):
        rng = random.Random(1)
        cases = [[kill_at] for kill_at in range(first, self.calls + 1, stride)]
        # A run that goes on from a killed one makes about as many calls; the second kill falls into its first half.
        cases += [[rng.randint(1, self.calls), rng.randint(1, self.calls // 2)]
                  for _ in range(max(1, len(cases) // 10))]
        failed = 0
        for kills in cases:
            problem = self.attempt(kills)
            if problem is not None:
                failed += 1
                print(f"killed at {kills} of {self.calls}: {problem}")
        print(f"{self.calls} changing calls, {len(cases)} times killed, {self.unfinished} times before the end was "
              f"reached, {self.leftovers} times with a file on its way; {failed} failed")
        if not (self.unfinished and self.leftovers):
            print("the kills came at no moment that matters")
        return failed or not (self.unfinished and self.leftovers)


def quiet_bundle(bundle, scratch):
    """A copy whose main application is missing, so that no process is left."""
    copy = scratch + "/Vennick 5.app"
    shutil.copytree(bundle, copy, symlinks=True)
    shutil.rmtree(copy + "/Contents/MacOS")
    return copy


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("interrupt")
    parser.add_argument("bundle")
    parser.add_argument("--first", type=int, default=1)
    parser.add_argument("--stride", type=int, default=1)
    arguments = parser.parse_args()
    failed = 0
    for prepare in (None, write_store):
        # Thousands of flushes cost nothing in memory.
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        with tempfile.TemporaryDirectory(prefix="vennick-kill-", dir=memory) as scratch:
            scratch = os.path.realpath(scratch)
            bundle = quiet_bundle(arguments.bundle, scratch)
            campaign = Campaign(arguments.interrupt, bundle, scratch, prepare)
            failed += campaign.run_all(arguments.first, arguments.stride)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
