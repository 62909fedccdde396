# SPDX-License-Identifier: MIT
"""An application that waits, and another process that changes the user's languages."""
import os
import pathlib
import queue
import shutil
import subprocess
import threading
import unittest

from staged_tools import HOME, TOOLS, ToolTest

PROGRAM = pathlib.Path(os.environ["VENNICK_TEST_LANGUAGES"])


class LanguageNotice(ToolTest):
    def setUp(self):
        super().setUp()
        self.contents = self.path("/Applications/Waiting.app/Contents")
        (self.contents / "MacOS").mkdir(parents=True)
        shutil.copy(PROGRAM, self.contents / "MacOS/Waiting")
        for language in ("en", "de", "sv"):
            shutil.copytree(TOOLS / f"{language}.lproj", self.contents / f"Resources/{language}.lproj")
        for tool in ("defaults", "displayNameTool"):
            shutil.copy(TOOLS / tool, self.contents / "Resources" / tool)
        self.path(HOME + "/Documents").mkdir()
        (self.path(HOME + "/Documents") / ".localized").touch()

    def start(self, path=os.environ["PATH"]):
        environment = {"PATH": path, "HOME": HOME, "MACOS_ROOT": str(self.root)}
        process = subprocess.Popen([self.contents / "MacOS/Waiting", HOME + "/Documents"], env=environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, text=True)
        self.lines = queue.Queue()
        reader = threading.Thread(target=lambda: [self.lines.put(line.rstrip("\n")) for line in process.stdout])
        reader.start()
        for stop in (process.stdout.close, reader.join, process.wait, process.kill):
            self.addCleanup(stop)

    def next_line(self):
        return self.lines.get(timeout=30)

    def test_the_commands_of_the_language_monitor_find_our_defaults_among_the_resources(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["sv-SE", "pt-BR"], "AppleLocale": "de_CH"})
        self.start()
        self.assertEqual(self.next_line(), "sv|de|sv-SE,pt-BR|Dokument")

    def test_ours_comes_before_another_command_of_that_name(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["en"], "AppleLocale": "sv_SE"})
        folder = self.path("/usr/local/bin")
        folder.mkdir(parents=True)
        (folder / "defaults").write_text("#!/bin/sh\necho fr_FR\n")
        (folder / "defaults").chmod(0o755)
        self.start(f"{folder}:{os.environ['PATH']}")
        self.assertEqual(self.next_line().split("|")[1], "sv")

    def test_writing_the_languages_in_another_process_reaches_a_waiting_application(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["de"], "AppleLocale": "de_DE"})
        self.start()
        self.assertEqual(self.next_line(), "de|de|de|Dokumente")
        # The locale alone announces nothing; the next change of the languages brings it along.
        self.output_of("defaults", "write", "-g", "AppleLocale", "sv_SE")
        self.output_of("defaults", "write", "-g", "AppleLanguages", "-array", "en-GB", "sv")
        line = self.next_line()
        self.assertEqual(line.split("|")[1:3], ["sv", "en-GB,sv"])

    def test_deleting_the_languages_in_another_process_is_a_change_too(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["de"], "AppleLocale": "de_DE"})
        self.start()
        self.assertEqual(self.next_line(), "de|de|de|Dokumente")
        self.output_of("defaults", "delete", "-g", "AppleLanguages")
        self.assertEqual(self.next_line().split("|")[1:3], ["de", "en"])

    def test_a_change_below_another_root_does_not_arrive(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["de"], "AppleLocale": "de_DE"})
        self.start()
        self.assertEqual(self.next_line(), "de|de|de|Dokumente")
        ours, self.root = self.root, self.path("/other root")
        self.preferences.mkdir(parents=True)
        self.output_of("defaults", "write", "-g", "AppleLanguages", "-array", "fr")
        self.root = ours
        self.output_of("defaults", "write", "-g", "AppleLanguages", "-array", "sv")
        self.assertEqual(self.next_line().split("|")[2], "sv")


if __name__ == "__main__":
    unittest.main()
