# SPDX-License-Identifier: MIT
import datetime
import random
import re
import string
import unittest

from staged_tools import ToolTest

LOG_STAMP = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} defaults\[\d+:\d+\] "


def quoted(text):
    """A string inside a list or dictionary: bare when it is letters and digits of ASCII alone."""
    if text and all(c in string.ascii_letters + string.digits for c in text):
        return text
    named = {'"': '\\"', "\\": "\\\\", "\a": "\\a", "\b": "\\b", "\f": "\\f", "\n": "\\n", "\r": "\\r",
             "\t": "\\t", "\v": "\\v"}
    units = text.encode("utf-16-be")
    out = ""
    for high, low in zip(units[::2], units[1::2]):
        unit = high << 8 | low
        if unit < 0x80 and chr(unit) in named:
            out += named[chr(unit)]
        elif 0x20 <= unit < 0x7F:
            out += chr(unit)
        else:
            out += f"\\{unit:03o}" if unit < 0x80 else f"\\U{unit:04x}"
    return f'"{out}"'


def shown(value, level=0):
    """The platform's old-style description, written down from its rule."""
    inner = " " * 4 * (level + 1)

    def inside(each):
        if isinstance(each, (dict, list)):
            return inner + shown(each, level + 1)
        return shown(each) if isinstance(each, bytes) else quoted(shown(each))

    if isinstance(value, dict):
        lines = [f"{inner}{quoted(key)} = {inside(value[key])};\n" for key in sorted(value)]
        return "{\n" + "".join(lines) + " " * 4 * level + "}"
    if isinstance(value, list):
        return "(\n" + ",\n".join(inner + inside(each) for each in value) + ("\n" if value else "") + \
            " " * 4 * level + ")"
    if isinstance(value, bool):
        return str(int(value))
    if isinstance(value, bytes):
        return f"{{length = {len(value)}, bytes = 0x{value.hex()}}}"
    if isinstance(value, datetime.datetime):
        return value.strftime("%Y-%m-%d %H:%M:%S +0000")
    return str(value)


def random_value(source, depth):
    kind = source.randrange(8 if depth else 6)
    if kind == 0:
        return source.choice([True, False])
    if kind == 1:
        return source.randrange(-10**9, 10**9)
    if kind == 2:
        return source.randrange(10**6) + source.randrange(1, 8) / 8
    if kind == 3:
        return bytes(source.randrange(256) for _ in range(source.randrange(40)))
    if kind == 4:
        return datetime.datetime(2001, 1, 1) + datetime.timedelta(seconds=source.randrange(10**9))
    if kind == 5:
        return random_text(source)
    if kind == 6:
        return [random_value(source, depth - 1) for _ in range(source.randrange(4))]
    return {random_text(source): random_value(source, depth - 1) for _ in range(source.randrange(4))}


def random_text(source):
    return "".join(source.choice("abzAZ059 _-./$:\"'\\\n\té€😀") for _ in range(source.randrange(8)))


class Defaults(ToolTest):
    def defaults(self, *arguments):
        return self.output_of("defaults", *arguments)

    def refused(self, *arguments):
        """The text behind the time and process of the one message."""
        status, output, errors = self.run_tool("defaults", *arguments)
        self.assertEqual((status, output), (1, ""))
        self.assertRegex(errors, "^" + LOG_STAMP)
        return re.sub("^" + LOG_STAMP, "", errors)

    def test_a_value_at_the_top_is_printed_unquoted_with_one_new_line(self):
        self.put_domain(".GlobalPreferences", {"AppleLocale": "de_CH", "Words": "two words; \"quoted\"", "Yes": True,
                                               "No": False, "Count": -7, "Half": 0.5, "Empty": "",
                                               "When": datetime.datetime(2024, 2, 29, 12, 30, 1)})
        self.assertEqual(self.defaults("read", "-g", "AppleLocale"), "de_CH\n")
        self.assertEqual(self.defaults("read", "-g", "Words"), "two words; \"quoted\"\n")
        self.assertEqual(self.defaults("read", "-g", "Yes"), "1\n")
        self.assertEqual(self.defaults("read", "-g", "No"), "0\n")
        self.assertEqual(self.defaults("read", "-g", "Count"), "-7\n")
        self.assertEqual(self.defaults("read", "-g", "Half"), "0.5\n")
        self.assertEqual(self.defaults("read", "-g", "Empty"), "\n")
        self.assertEqual(self.defaults("read", "-g", "When"), "2024-02-29 12:30:01 +0000\n")

    def test_the_global_domain_has_its_four_names(self):
        self.put_domain(".GlobalPreferences", {"AppleLocale": "sv_SE"})
        for name in ("-g", "-globalDomain", "NSGlobalDomain", "Apple Global Domain"):
            self.assertEqual(self.defaults("read", name, "AppleLocale"), "sv_SE\n", name)

    def test_a_list_of_languages_is_shown_on_several_lines(self):
        self.put_domain(".GlobalPreferences", {"AppleLanguages": ["en", "zh-Hans", "pt-BR"]})
        self.assertEqual(self.defaults("read", "-g", "AppleLanguages"),
                         '(\n    en,\n    "zh-Hans",\n    "pt-BR"\n)\n')

    def test_containers_inside_containers_begin_where_the_platform_begins_them(self):
        self.put_domain("com.example.dock", {
            "autohide": True, "empty-list": [], "empty-table": {}, "mod-count": 104,
            "persistent-apps": [{"GUID": 1462136225, "tile-data": {"_CFURLStringType": 15, "file-label": "Launchpad"}},
                                ["a"]],
            "size": 47.5, "title": "Grüße \U0001F600", "unread": -1, "book": b"\x62\x6f\x6f\x6b"})
        self.assertEqual(self.defaults("read", "com.example.dock"), """{
    autohide = 1;
    book = {length = 4, bytes = 0x626f6f6b};
    "empty-list" =     (
    );
    "empty-table" =     {
    };
    "mod-count" = 104;
    "persistent-apps" =     (
                {
            GUID = 1462136225;
            "tile-data" =             {
                "_CFURLStringType" = 15;
                "file-label" = Launchpad;
            };
        },
                (
            a
        )
    );
    size = "47.5";
    title = "Gr\\U00fc\\U00dfe \\Ud83d\\Ude00";
    unread = "-1";
}
""")

    def test_random_domains_are_shown_as_the_rule_says(self):
        source = random.Random(5)
        for number in range(40):
            content = {random_text(source) or "k": random_value(source, 3) for _ in range(6)}
            self.put_domain("com.example.random", content)
            self.assertEqual(self.defaults("read", "com.example.random"), shown(content) + "\n", number)

    def test_read_alone_shows_every_domain_by_name(self):
        self.put_domain("com.example.a", {"x": 1})
        self.put_domain(".GlobalPreferences", {"AppleLocale": "en"})
        self.assertEqual(self.defaults("read"),
                         shown({"Apple Global Domain": {"AppleLocale": "en"}, "com.example.a": {"x": 1}}) + "\n")

    def test_what_is_not_there_is_told_and_the_status_is_one(self):
        self.put_domain("com.example.a", {"x": 1})
        self.assertEqual(self.refused("read", "com.example.a", "y"),
                         "\nThe domain/default pair of (com.example.a, y) does not exist\n")
        self.assertEqual(self.refused("read", "com.example.b"), "\nDomain com.example.b does not exist\n")
        self.assertEqual(self.refused("delete", "com.example.a", "y"),
                         "\nDomain (com.example.a) not found.\nDefaults have not been changed.\n")
        self.assertEqual(self.domain("com.example.a"), {"x": 1})

    def test_messages_call_the_global_domain_by_the_platforms_constant(self):
        for name in ("-g", "-globalDomain", "NSGlobalDomain"):
            self.assertEqual(self.refused("read", name, "y"),
                             "\nThe domain/default pair of (kCFPreferencesAnyApplication, y) does not exist\n")
            self.assertEqual(self.refused("read", name), "\nDomain kCFPreferencesAnyApplication does not exist\n")
            self.assertEqual(self.refused("delete", name, "y"),
                             "\nDomain (kCFPreferencesAnyApplication) not found.\nDefaults have not been changed.\n")

    def test_typed_values_are_written_as_what_they_are(self):
        written = {("-string", "12"): "12", ("-int", "-12"): -12, ("-integer", "7"): 7, ("-float", "1.5"): 1.5,
                   ("-bool", "yes"): True, ("-boolean", "FALSE"): False, ("-data", "00ff10"): b"\x00\xff\x10",
                   ("-date", "2001-02-03 04:05:06 +0000"): datetime.datetime(2001, 2, 3, 4, 5, 6),
                   ("-array", "a", "-int", "3"): ["a", 3], ("-dict", "k", "v", "n", "-bool", "true"): {"k": "v", "n": True},
                   ("plain words",): "plain words", ("(one, {two = 3;})",): ["one", {"two": "3"}], ("",): "",
                   ("-array",): []}
        for arguments, expected in written.items():
            self.defaults("write", "com.example.w", "key", *arguments)
            value = self.domain("com.example.w")["key"]
            self.assertEqual((type(value), value), (type(expected), expected), arguments)

    def test_lists_and_dictionaries_can_be_added_to(self):
        self.defaults("write", "com.example.w", "list", "-array", "a")
        self.defaults("write", "com.example.w", "list", "-array-add", "b", "c")
        self.defaults("write", "com.example.w", "table", "-dict", "a", "1")
        self.defaults("write", "com.example.w", "table", "-dict-add", "b", "2")
        self.assertEqual(self.domain("com.example.w"), {"list": ["a", "b", "c"], "table": {"a": "1", "b": "2"}})
        self.refused("write", "com.example.w", "table", "-array-add", "x")
        self.assertEqual(self.domain("com.example.w"), {"list": ["a", "b", "c"], "table": {"a": "1", "b": "2"}})

    def test_what_does_not_fit_its_type_changes_nothing(self):
        self.put_domain("com.example.w", {"key": "old"})
        for arguments in [("-int", "twelve"), ("-bool", "perhaps"), ("-data", "xyz"), ("-date", "today"), ("-dict", "k"),
                          ("a", "b")]:
            self.assertTrue(self.refused("write", "com.example.w", "key", *arguments)
                            .endswith("\nDefaults have not been changed.\n"), arguments)
        self.assertEqual(self.domain("com.example.w"), {"key": "old"})

    def test_a_whole_domain_is_written_over_and_deleted(self):
        self.put_domain("com.example.w", {"old": 1})
        self.defaults("write", "com.example.w", "{ new = (1, 2); }")
        self.assertEqual(self.domain("com.example.w"), {"new": ["1", "2"]})
        self.assertTrue(self.refused("write", "com.example.w", "(1)")
                        .startswith("\nRep argument is not a dictionary"))
        self.defaults("delete", "com.example.w")
        self.assertEqual(self.refused("read", "com.example.w"), "\nDomain com.example.w does not exist\n")

    def test_one_key_is_deleted(self):
        self.put_domain("com.example.w", {"a": 1, "b": 2})
        self.defaults("delete", "com.example.w", "a")
        self.assertEqual(self.domain("com.example.w"), {"b": 2})

    def test_written_global_settings_land_in_the_global_file(self):
        self.defaults("write", "-g", "AppleLanguages", "-array", "de-CH", "en")
        self.assertEqual(self.domain(".GlobalPreferences"), {"AppleLanguages": ["de-CH", "en"]})

    def test_domains_are_listed_by_name_without_the_global_one(self):
        for name in ("com.example.b", "com.example.a", ".GlobalPreferences"):
            self.put_domain(name, {"x": 1})
        (self.preferences / "notes.txt").write_text("no domain")
        self.assertEqual(self.defaults("domains"), "com.example.a, com.example.b\n")

    def test_find_shows_the_keys_that_have_the_word_in_them_or_in_their_value(self):
        self.put_domain("com.example.a", {"WindowColour": "red", "other": ["a BLUE sky"], "third": {"bluest": 1}, "x": 2})
        self.put_domain("com.example.b", {"x": "y"})
        self.put_domain(".GlobalPreferences", {"Blues": True})
        self.assertEqual(self.defaults("find", "blue"),
                         "Found 2 keys in domain 'com.example.a': " +
                         shown({"other": ["a BLUE sky"], "third": {"bluest": 1}}) +
                         "\nFound 1 keys in domain 'Apple Global Domain': " + shown({"Blues": True}) + "\n")
        status, output, errors = self.run_tool("defaults", "find", "green")
        self.assertEqual((status, output), (0, ""))
        self.assertRegex(errors, "^" + LOG_STAMP + "No domain, key, nor value containing 'green'\n$")

    def test_a_damaged_domain_reads_as_missing_and_is_not_lost(self):
        self.domain_file("com.example.bad").write_bytes(b"bplist00 and then nothing of use")
        status, output, _ = self.run_tool("defaults", "read", "com.example.bad")
        self.assertEqual((status, output), (1, ""))
        self.assertEqual(self.domain_file("com.example.bad").read_bytes(), b"bplist00 and then nothing of use")

    def test_writing_to_a_damaged_domain_keeps_the_damaged_file(self):
        damaged = b"bplist00 and then nothing of use"
        self.domain_file("com.example.bad").write_bytes(damaged)
        self.run_tool("defaults", "write", "com.example.bad", "key", "value")
        self.assertIn(damaged, [file.read_bytes() for file in self.preferences.iterdir()])
        self.assertEqual(self.domain("com.example.bad"), {"key": "value"})

    def test_a_domain_is_a_name_and_never_leads_out_of_the_preferences(self):
        for name in ("../../outside", "/Users/anna/outside", ""):
            status, output, _ = self.run_tool("defaults", "write", name, "key", "value")
            self.assertEqual((status, output), (1, ""), name)
        self.assertEqual([file for file in self.root.rglob("*") if file.is_file()], [])

    def test_wrong_use_prints_the_syntax(self):
        for arguments in [(), ("reed",), ("read", "a", "b", "c"), ("write", "a"), ("delete",), ("find",)]:
            status, output, errors = self.run_tool("defaults", *arguments)
            self.assertEqual((status, output), (255, ""), arguments)
            self.assertTrue(errors.startswith("Command line interface to a user's defaults.\nSyntax:\n"), arguments)


if __name__ == "__main__":
    unittest.main()
