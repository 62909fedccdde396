# SPDX-License-Identifier: MIT
import os
import unittest
from urllib.parse import quote

from staged_tools import HOME, ToolTest

SYSTEM_TABLES = "/System/Library/CoreServices/SystemFolderLocalizations"


class DisplayNameTool(ToolTest):
    def make_folder(self, mac_path, localized=True):
        self.path(mac_path).mkdir(parents=True, exist_ok=True)
        if localized:
            (self.path(mac_path) / ".localized").touch()

    def put_system_table(self, language, text):
        folder = self.path(SYSTEM_TABLES) / (language + ".lproj")
        folder.mkdir(parents=True)
        (folder / "SystemFolderLocalizations.strings").write_text(text, encoding="utf-16")

    def name(self, mac_path, language=None, locale=None):
        arguments = [quote(mac_path, safe="")]
        if language:
            arguments += ["-AppleLanguages", f"({language})", "-AppleLocale", locale or language]
        return self.output_of("displayNameTool", *arguments)

    def test_answers_in_the_given_language_from_our_tables_and_prints_no_new_line(self):
        self.make_folder(HOME + "/Documents")
        for language, expected in {"de": "Dokumente", "en": "Documents", "ja": "書類", "fr": "Documents",
                                   "nb": "Dokumenter", "zh-Hans": "文稿"}.items():
            self.assertEqual(self.name(HOME + "/Documents", language), expected, language)

    def test_answers_from_the_systems_tables_when_the_root_has_them(self):
        self.make_folder(HOME + "/Documents")
        self.make_folder(HOME + "/Music")
        self.put_system_table("de", '"Documents" = "Unterlagen";')
        self.put_system_table("en", '"Documents" = "Papers"; "Music" = "Songs";')
        self.assertEqual(self.name(HOME + "/Documents", "de"), "Unterlagen")
        self.assertEqual(self.name(HOME + "/Documents", "en"), "Papers")
        # Ours, which would say "Musik", are not mixed in.
        self.assertEqual(self.name(HOME + "/Music", "de"), "Music")

    def test_without_a_language_the_first_of_the_users_with_a_table_counts(self):
        self.make_folder(HOME + "/Documents")
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["tlh", "sv-SE", "de"], "AppleLocale": "fr_FR"})
        self.assertEqual(self.name(HOME + "/Documents"), "Dokument")

    def test_without_languages_the_locales_counts_and_then_english(self):
        self.make_folder(HOME + "/Documents")
        self.make_folder(HOME + "/Downloads")
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["tlh"], "AppleLocale": "it_IT"})
        self.assertEqual(self.name(HOME + "/Documents"), "Documenti")
        self.domain_file(".GlobalPreferences").unlink()
        self.assertEqual(self.name(HOME + "/Downloads"), "Downloads")

    def test_the_given_languages_go_before_the_users(self):
        self.make_folder(HOME + "/Documents")
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["sv"]})
        self.assertEqual(self.name(HOME + "/Documents", "de", "de_AT"), "Dokumente")

    def test_a_folder_without_the_mark_keeps_its_name(self):
        self.make_folder(HOME + "/Documents", localized=False)
        self.assertEqual(self.name(HOME + "/Documents", "de"), "Documents")

    def test_a_path_is_unescaped_whatever_is_in_it(self):
        for name in ["it's 100% <new>", "größe", "a?b#c&d=e;f", "line\nfeed", "[x](y)"]:
            self.make_folder(HOME + "/" + name)
            self.assertEqual(self.name(HOME + "/" + name, "de"), name)
        # A Mac's disk keeps as ':' what is shown as '/'.
        self.make_folder(HOME + "/either:or")
        self.assertEqual(self.name(HOME + "/either:or"), "either/or")

    def test_bytes_that_are_not_utf8_are_found_and_shown_replaced(self):
        escaped = quote((HOME + "/caf").encode() + b"\xe9.app", safe="")
        os.mkdir(os.fsencode(self.path(HOME)) + b"/caf\xe9.app")
        # An application's extension is hidden, which shows that it was found.
        self.assertEqual(self.output_of("displayNameTool", escaped), "caf\ufffd")

    def test_an_item_that_is_not_there_has_its_last_component_as_name(self):
        self.assertEqual(self.name(HOME + "/Nothing", "de"), "Nothing")

    def test_failures_are_lines_that_begin_with_the_error_mark(self):
        for arguments in [(), ("",), ("%zz",), ("%",), ("%2FUsers%00",)]:
            status, output, errors = self.run_tool("displayNameTool", *arguments)
            self.assertEqual((status, errors), (1, ""), arguments)
            self.assertTrue(output.startswith("displayNameTool error:"), (arguments, output))
            self.assertTrue(output.endswith("\n") and output.count("\n") == 1, (arguments, output))


if __name__ == "__main__":
    unittest.main()
