#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Version 4 homes to try the migration on, and what is to become of them.

The expected store is computed here from what was put into a home, in the plainest way that the rules of the
migration can be written down; nothing is shared with the program.
"""

import atexit
import contextlib
import functools
import os
import pathlib
import plistlib
import shutil
import signal
import struct
import subprocess
import tempfile
import time
import unicodedata
import urllib.parse

HFS_EPOCH = 2082844800
DOMAIN = "com.quorvale.Vennick"
STORE_DOMAIN = "com.quorvale.Vennick5"
HOME = "/Users/anna"
STORE = HOME + "/Library/Application Support/com.quorvale.Vennick5"
PREFERENCES = HOME + "/Library/Preferences"
MISSING = "file:///com.quorvale.emptyPath"
FUNCTION_KEYS = {0x7A, 0x78, 0x63, 0x76, 0x60, 0x61, 0x62, 0x64, 0x65, 0x6D, 0x67, 0x6F, 0x69, 0x6B, 0x71, 0x6A,
                 0x40, 0x4F, 0x50}
# What these keys type on the U.S. layout; F1 and the left arrow type what a key event carries for them.
KEYS = {0: "a", 8: "c", 18: "1", 31: "o", 41: ";", 49: " ", 0x7A: "\uf704", 123: "\uf702"}


# --- What a home is made of


def crc16(data):
    crc = 0xFFFF
    for byte in data[: len(data) % 65536]:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021) & 0xFFFF if crc & 0x8000 else crc << 1
    return crc


def pascal(text, width):
    data = unicodedata.normalize("NFC", text).encode("mac_roman", "replace")[: width - 1]
    return bytes([len(data)]) + data.ljust(width - 1, b"\0")


def tag(number, data):
    return struct.pack(">hH", number, len(data)) + data + b"\0" * (len(data) % 2)


def counted_name(text):
    data = unicodedata.normalize("NFD", text).encode("utf-16-be")
    return struct.pack(">H", len(data) // 2) + data


def alias_record(path, volume, mount):
    """A version 2 record: the path from the volume's root, the volume's name and mount point."""
    name = path.rstrip("/").rsplit("/", 1)[-1]
    relative = path[len(mount.rstrip("/")):]
    created = 1400000000 + HFS_EPOCH
    fixed = struct.pack(">H", 1) + pascal(volume, 28) + struct.pack(">I", created) + b"H+" + struct.pack(">HI", 0, 77)
    fixed += pascal(name, 64) + struct.pack(">II", 4242, created) + b"\0" * 8
    fixed += struct.pack(">hhIH", -1, -1, 0x920 if mount == "/" else 0x900, 0) + b"\0" * 10
    tags = tag(14, counted_name(name)) + tag(15, counted_name(volume))
    tags += tag(18, unicodedata.normalize("NFD", relative.lstrip("/") if mount == "/" else relative).encode())
    tags += tag(19, mount.encode()) + struct.pack(">hH", -1, 0)
    body = fixed + tags
    return struct.pack(">IHH", 0, 8 + len(body), 2) + body


def file_url(path, is_folder):
    text = "".join(unicodedata.normalize("NFD", c) for c in path)
    text = unicodedata.normalize("NFD", text)
    return "file://" + urllib.parse.quote(text, safe="/-._~!$&'()*+,=:@") + ("/" if is_folder else "")


class Target:
    """A place that aliases lead to: where it is, and what the migration is to make of it."""

    def __init__(self, path, kind, volume="Macintosh HD", mount="/", final=None):
        self.path = path
        self.kind = kind  # folder, file, package, link to a folder, link to a file, missing
        self.volume = volume
        self.mount = mount
        self.final = final  # where a link leads

    def location(self):
        """The URL that the record resolves to, or None."""
        if self.kind == "missing":
            return None
        if self.kind == "folder link":
            return file_url(self.final, True)
        return file_url(self.path, self.kind in ("folder", "package"))

    def stored(self):
        """The URL and the type of the favorite that is made of it."""
        if self.kind == "file link":
            return file_url(self.final, False), 2
        return self.location(), 1 if self.kind in ("file", "package") else 2

    def name(self):
        name = self.final if self.kind == "folder link" else self.path
        return name.rsplit("/", 1)[-1]


TARGETS = [
    Target("/Users/anna/Projects", "folder"),
    Target("/Users/anna/Projects/Ä & ö; 100%", "folder"),
    Target("/Users/anna/書類", "folder"),
    Target("/Users/anna/Café", "folder"),
    Target("/Users/anna/Letter to Joe.txt", "file"),
    Target("/Users/anna/Report.rtfd", "package"),
    Target("/Users/anna/Shortcut", "folder link", final="/Users/anna/Projects"),
    Target("/Users/anna/Recent letter", "file link", final="/Users/anna/Letter to Joe.txt"),
    Target("/Volumes/Data/Archive", "folder", volume="Data", mount="/Volumes/Data"),
    Target("/Volumes/Gone/Archive", "missing", volume="Gone", mount="/Volumes/Gone"),
    Target("/Users/anna/Deleted", "missing"),
]

APPLICATIONS = {
    # name: identifier, signature, executable
    "Editor": ("com.example.editor", "tide", "Editor"),
    "Nameless": (None, "NMLS", "runme"),
}
APPLICATION_KEYS = {"@PP$": "*", "edit": "com.example.editor", "Editor": "com.example.editor",
                    "editor.APP": "com.example.editor", "Nameless": "runme", "Unknown": None, "": None,
                    "NMLS": None}

SET_NAMES = ["Work", "work", "Default Set", "Scripts", "Alpha", "beta", "Übung", "Clients/North", "..", "", "日本",
             "set 10", "set 9"]


def make_targets(root):
    for target in TARGETS:
        path = root + target.path
        os.makedirs(os.path.dirname(path) if target.kind != "missing" else root + HOME, exist_ok=True)
        if target.kind in ("folder", "package"):
            os.makedirs(path, exist_ok=True)
        elif target.kind == "file":
            pathlib.Path(path).write_text("x")
        elif target.kind in ("folder link", "file link"):
            os.symlink(target.final, path)


def make_applications(root):
    for name, (identifier, signature, executable) in APPLICATIONS.items():
        contents = f"{root}/Applications/{name}.app/Contents"
        os.makedirs(contents + "/MacOS")
        info = {"CFBundlePackageType": "APPL", "CFBundleSignature": signature, "CFBundleExecutable": executable}
        if identifier:
            info["CFBundleIdentifier"] = identifier
        pathlib.Path(contents + "/Info.plist").write_bytes(plistlib.dumps(info))
        pathlib.Path(f"{contents}/MacOS/{executable}").write_text("#!/bin/sh\n")
        os.chmod(f"{contents}/MacOS/{executable}", 0o755)


class Entry:
    """One stored item and what the migration is to see in it."""

    def __init__(self, stored, keeps=True, name="", target=None, tried=False, key=None):
        self.stored = stored
        self.keeps = keeps  # whether the repair keeps it
        self.name = name
        self.target = target
        self.tried = tried  # a stored result that keeps it from being resolved
        self.key = key  # the hotkey: key code, legacy modifiers; or None

    def location(self, is_cleared):
        if self.target is None or (self.tried and not is_cleared):
            return None
        return self.target.location()


class Home:
    """A version 4 home: its folder sets, what else they hold, settings, and the other domains."""

    def __init__(self, sets=None, defaults=None, active=None, settings=None, favorites_domain=None,
                 settings_domain=None, fmt=plistlib.FMT_BINARY):
        self.sets = sets or {}
        self.defaults = {name: {} for name in self.sets} | (defaults or {})
        self.active = active
        self.settings = settings or {}
        self.favorites_domain = favorites_domain
        self.settings_domain = settings_domain
        self.format = fmt

    def write(self, root):
        os.makedirs(root + PREFERENCES)
        os.makedirs(root + "/Volumes")
        os.symlink("/", root + "/Volumes/Macintosh HD")
        make_targets(root)
        make_applications(root)
        settings = dict(self.settings)
        if self.active is not None:
            settings["ActiveSet"] = self.active
        sets = {name: {"Favorite": [entry.stored for entry in entries],
                       "Default": {key: entry.stored for key, entry in self.defaults[name].items()}}
                for name, entries in self.sets.items()}
        self.dump(root, DOMAIN, {"FolderSets": sets, "Settings": settings})
        if self.favorites_domain is not None:
            self.dump(root, DOMAIN + ".favorites", {"Favorite": [entry.stored for entry in self.favorites_domain]})
        if self.settings_domain is not None:
            self.dump(root, DOMAIN + ".settings", {"Settings": self.settings_domain})

    def dump(self, root, domain, content):
        pathlib.Path(f"{root}{PREFERENCES}/{domain}.plist").write_bytes(plistlib.dumps(content, fmt=self.format))


# --- The second computation: settings


def integer(settings, key, default):
    value = settings.get(key)
    return value if isinstance(value, int) and not isinstance(value, bool) else default


def truth(settings, key, default):
    return integer(settings, key, default) & 0xFF != 0


def modifiers(mask):
    pairs = {0x0100: 0x100000, 0x0200: 0x20000, 0x0800: 0x80000, 0x1000: 0x40000}
    return sum(new for old, new in pairs.items() if mask & old)


def repaired(settings):
    """The main domain's settings as they are after loading: Finder click and search options."""
    settings = dict(settings)
    options = click_options(settings)
    if not options & 16:
        settings["FinderClickOptions"] = options | 16
        settings["FinderClickKey"] = 0
    key = integer(settings, "FinderClickKey", 0)
    if key & 0x800:
        settings["FinderClickKey"] = key & ~0x800
    if integer(settings, "PrefsVersion", 0) < 2:
        settings["SpotlightOptions"] = integer(settings, "SpotlightOptions", 5) | 4
    return settings


def click_options(settings):
    options = integer(settings, "FinderClickOptions", 39) & ~64
    return options | 64 if integer(settings, "ShowHiddenFinderWindows", 0) else options


def expected_settings(s):
    flags = integer(s, "MiscellaneousFlags", 10440)
    click = click_options(s)
    spotlight = integer(s, "SpotlightOptions", 5)
    return {
        "openInTerminal": truth(s, "OpenInTerminal", 0),
        "openInTerminalModifiers": modifiers(integer(s, "OpenInTerminalKey", 256)),
        "switchToFinder": not truth(s, "DisableSwitchToFinder", 0),
        "hotkeysInFinderOnly": not flags & 16,
        "hotkeysOutsideFileDialogs": bool(flags & 8),
        "menusShowIcons": truth(s, "ShowMenuIcons", 1),
        "menusHierarchical": bool(flags & 64),
        "menusShowParents": not flags & 8192,
        "menusShowPreviews": truth(s, "ShowPreviewsInMenus", 1),
        "menusShowDiskSpace": truth(s, "ShowDiskSpace", 0),
        "menusSortRecentByName": bool(flags & 2),
        "toolbarStyle": 4 if integer(s, "AnchorLocation", 1) & 12 else 1,
        "toolbarOnLeft": truth(s, "ToolbarOnLeft", 0),
        "toolbarShowAttributesOnOpen": bool(spotlight & 4),
        "toolbarShowAttributesOnSave": bool(spotlight & 1),
        "historySize": integer(s, "MaxRecentFolders", 10),
        "finderClick": bool(click & 1),
        "finderClickName": bool(click & 4),
        "finderClickDesktop": not click & 32,
        "finderClickShadow": bool(click & 2),
        "finderClickModifiers": modifiers(integer(s, "FinderClickKey", 0)),
        "defaultToDocumentFolder": bool(flags & 2048),
        "reboundSelection": truth(s, "ReboundToLastSelection", 1),
        "createAliasesInLibrary": integer(s, "DoFolderSynchronization", 0) != 0,
        "showItemsInPackages": truth(s, "AddRecentFoldersWithinPackages", 0),
    }


# --- The second computation: folder sets


def is_usable(name):
    return all(part not in ("", ".", "..") for part in name.split("/"))


class ExpectedStore:
    def __init__(self):
        self.sets = {"Default Set": ([], [])}
        self.current = "Default Set"
        self.log = []  # what is said of sets and favorites, in order

    def switch_to_new(self, name):
        self.log.append("Creating set: " + name)
        if name not in self.sets and name != "Scripts" and is_usable(name):
            self.sets[name] = ([], [])
        self.switch(name)

    def switch(self, name):
        if name in self.sets:
            self.current = name

    def add_favorite(self, location, name, key):
        favorites = self.sets[self.current][0]
        url, item_type = location
        if not (favorites and favorites[-1]["url"] == url):
            favorites[:] = [entry for entry in favorites if entry["url"] != url]
            favorites.append({"url": url, "itemType": item_type})
        favorites[-1]["name"] = name
        if key:
            code, mask = key
            favorites[-1]["hotkey"] = {"keyCode": code, "modifierFlags": modifiers(mask),
                                       "charactersIgnoringModifiers": KEYS[code]}

    def add_default_folder(self, application, location, stored_url, name, flags):
        folders = self.sets[self.current][1]
        present = next((f for f in folders if application in f["applications"]),
                       next((f for f in folders if "*" in f["applications"]), None))
        if present and application in present["applications"] and present["url"] == location:
            folders[:] = [f for f in folders if f != present]
        folders.append({"url": stored_url, "name": name, "applications": [application], "fileTypes": ["*"],
                        "flags": flags, "itemType": 2})


def expected_store(home):
    store = ExpectedStore()
    sets = {name: list(entries) for name, entries in home.sets.items()}
    defaults = dict(home.defaults)
    is_named = isinstance(home.active, str) and home.active != ""
    active = home.active if is_named else "Default Set"
    if is_named:
        sets.setdefault(active, [])
        defaults.setdefault(active, {})
    # The active set takes the global favorites. Without a name it is no set, but the first switch puts it
    # among them all the same, where a set without a name finds it.
    contents = dict(sets)
    if home.favorites_domain is not None:
        contents[active] = home.favorites_domain
    settings = home.settings_domain if home.settings_domain is not None else repaired(home.settings)
    flags = 2 if integer(settings, "MiscellaneousFlags", 10440) & 32 else 1
    left = {active}
    store.log.append(f"Converting {len(sets)} folder set(s)")
    for name in sorted(sets, key=lambda name: (name.casefold(), name)):
        store.switch_to_new(name)
        # No set can be active under an empty name: the default set is, once more.
        source = name or "Default Set"
        for entry in contents.get(source, []):
            # Leaving a set clears what its entries remember of earlier attempts.
            location = entry.location(is_cleared=source in left)
            if entry.keeps:
                store.log.append(f"Adding favorite {entry.name} : {location or MISSING}")
                if entry.key:
                    store.log.append("Adding favorite shortcut {")
                store.add_favorite(entry.target.stored() if location else (MISSING, 2), entry.name, entry.key)
        for key in sorted(defaults.get(source, {})):
            convert_default_folder(store, key, defaults[source][key], flags)
        left.add(source)
    store.switch(active)
    return store, expected_settings(settings)


def convert_default_folder(store, key, entry, flags):
    application = APPLICATION_KEYS[key]
    has_alias = isinstance(entry.stored, dict) and len(entry.stored.get("Alias", b"")) > 0
    is_corrupt = has_alias and not entry.keeps and "AliasChecksum" in entry.stored
    location = entry.location(is_cleared=False) if has_alias and not is_corrupt else None
    if application and location:
        url = entry.target.stored()[0]
        name = urllib.parse.unquote(url).rstrip("/").rsplit("/", 1)[-1]
        store.add_default_folder(application, location, url, name, flags)


# --- Running and comparing


def read(path):
    return plistlib.loads(pathlib.Path(path).read_bytes())


def composed(value):
    """Text in one normal form: names come from the disk in either."""
    if isinstance(value, str):
        return unicodedata.normalize("NFC", value)
    if isinstance(value, list):
        return [composed(item) for item in value]
    if isinstance(value, dict):
        return {key: composed(item) for key, item in value.items()}
    return value


def without(entry, *keys):
    return {key: value for key, value in entry.items() if key not in keys}


def messages(log, *beginnings):
    """The lines of a log that begin so, without what stands before each message."""
    lines = [line.split("] ", 1)[-1] for line in log.splitlines()]
    return [line for line in lines if line.startswith(beginnings)]


def bookmark_path(data):
    """Where a bookmark leads by its own record, on the boot volume or on the volume that it names."""
    body = data[struct.unpack_from("<I", data, 12)[0]:]
    table = struct.unpack_from("<I", body, 0)[0]
    count = struct.unpack_from("<I", body, table + 16)[0]
    keys = {key: offset for key, offset, _ in struct.iter_unpack("<III", body[table + 20:table + 20 + 12 * count])}

    def item(offset):
        length = struct.unpack_from("<I", body, offset)[0]
        return body[offset + 8:offset + 8 + length]

    return "".join("/" + item(offset).decode() for offset, in struct.iter_unpack("<I", item(keys[0x1004])))


def bookmark_problems(entry):
    if entry["url"] == MISSING:
        return difference(f"bookmark of {entry['name']!r}", None, entry.get("bookmark"))
    path = urllib.parse.unquote(entry["url"].removeprefix("file://")).rstrip("/")
    return difference(f"bookmark of {entry['name']!r}", composed(path), composed(bookmark_path(entry["bookmark"])))


def snapshot(root):
    return {path.name: path.read_bytes() for path in pathlib.Path(root + PREFERENCES).glob(DOMAIN + "*.plist")
            if not path.name.startswith(STORE_DOMAIN)}


def difference(what, expected, found):
    return [] if expected == found else [f"{what}\n  expected {expected}\n  found    {found}"]


def compare_set(root, name, favorites, folders):
    # Made through a URL, whose path is decomposed as a Mac's disk keeps it.
    folder = f"{root}{STORE}/{unicodedata.normalize('NFD', name)}"
    if not os.path.isdir(folder):
        return difference(f"set {name!r} without a folder", ([], []), (favorites, folders))
    found = read(folder + "/Favorites.plist")
    problems = difference(f"favorites of {name!r}", composed(favorites),
                          composed([without(entry, "bookmark", "date") for entry in found]))
    problems += sum(map(bookmark_problems, found), [])
    found = read(folder + "/DefaultFolders.plist")
    problems += sum(map(bookmark_problems, found), [])
    problems += difference(f"default folders of {name!r}", composed(folders),
                           composed([without(entry, "bookmark", "date") for entry in found]))
    empty_lists = ["RecentFiles", "RecentFolders", "RecentFinderFolders", "RecentApplications", "DroppedItems"]
    filenames = ["Favorites", "DefaultFolders", "LastFolders", "Rebound", *empty_lists]
    # A name with a slash is a folder in a folder.
    problems += difference(f"files of {name!r}", sorted(filename + ".plist" for filename in filenames),
                           sorted(path.name for path in pathlib.Path(folder).iterdir() if path.is_file()))
    for filename in empty_lists:
        problems += difference(filename, [], read(f"{folder}/{filename}.plist"))
    for filename in ["LastFolders", "Rebound"]:
        problems += difference(filename, {}, read(f"{folder}/{filename}.plist"))
    return problems


def compare(root, home, log):
    """The whole store and what the run said of sets and favorites, beside what is expected."""
    store, settings = expected_store(home)
    domain = read(f"{root}{PREFERENCES}/{STORE_DOMAIN}.plist")
    problems = difference("log", composed(store.log), composed(messages(
        log, "Creating set: ", "Adding favorite ", *(f"Converting {digit}" for digit in range(10)))))
    for key, value in settings.items():
        problems += difference(key, (type(value), value), (type(domain.get(key)), domain.get(key)))
    names = sorted(store.sets, key=lambda name: unicodedata.normalize("NFD", name))
    problems += difference("folderSets", names, domain.get("folderSets"))
    problems += difference("currentSet", store.current, domain.get("currentSet"))
    for name, (favorites, folders) in store.sets.items():
        problems += compare_set(root, name, favorites, folders)
    return problems


@functools.cache
def bundle_beside_roots(bundle):
    """A copy on the disk of the temporary roots, so that they can link its files: they are 30 MB."""
    folder = tempfile.mkdtemp(prefix="vennick-bundle-")
    atexit.register(shutil.rmtree, folder)
    return shutil.copytree(bundle, folder + "/Vennick 5.app", symlinks=True)


def run(root, bundle):
    application = root + "/Applications/Vennick 5.app"
    shutil.copytree(bundle_beside_roots(bundle), application, symlinks=True, copy_function=os.link)
    executable = application + "/Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator"
    environment = {"PATH": os.environ["PATH"], "HOME": HOME, "MACOS_ROOT": root}
    result = subprocess.run([executable], env=environment, capture_output=True, timeout=60, check=False)
    result.started_applications = end_main_application(application)
    return result


def is_running(process, program):
    try:
        return os.readlink(process / "exe") == program
    except OSError:
        return False


def end_main_application(application):
    """Ends it and waits until it is gone, so that it changes nothing any more; gives how many there were."""
    program = application + "/Contents/MacOS/Vennick5"
    ended = 0
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        if is_running(process, program):
            ended += 1
            with contextlib.suppress(ProcessLookupError):
                os.kill(int(process.name), signal.SIGKILL)
            while is_running(process, program):
                time.sleep(0.001)
    return ended
