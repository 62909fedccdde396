# SPDX-License-Identifier: MIT
"""Runs the tools as they are staged in the bundle (VENNICK_BUNDLE), each test on a root folder of its own."""
import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import unittest

TOOLS = pathlib.Path(os.environ["VENNICK_BUNDLE"]) / "Contents/Helpers/VennickMigrator.app/Contents/Resources"
HOME = "/Users/anna"


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="tools-"))
        self.addCleanup(shutil.rmtree, self.root)
        self.preferences.mkdir(parents=True)

    def path(self, mac_path):
        return self.root / mac_path.lstrip("/")

    @property
    def preferences(self):
        return self.path(HOME + "/Library/Preferences")

    def domain_file(self, name):
        return self.preferences / (name + ".plist")

    def put_domain(self, name, content, fmt=plistlib.FMT_BINARY):
        self.domain_file(name).write_bytes(plistlib.dumps(content, fmt=fmt))

    def domain(self, name):
        return plistlib.loads(self.domain_file(name).read_bytes())

    def run_tool(self, name, *arguments):
        environment = {"PATH": os.environ["PATH"], "HOME": HOME, "MACOS_ROOT": str(self.root)}
        done = subprocess.run([TOOLS / name, *arguments], env=environment, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=60)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def output_of(self, name, *arguments):
        status, output, errors = self.run_tool(name, *arguments)
        self.assertEqual((status, errors), (0, ""))
        return output
