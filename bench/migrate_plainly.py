#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The migration as a plain script: what WholeRunBench compares the migrator's cost with.

    migrate_plainly.py ROOT HOME

It carries settings, folder sets, favorites with names, hotkeys and bookmarks, and default folders, for homes that
hold nothing unusual: whole alias records, no links in the way, an English user, a U.S. keyboard. It writes what the
migrator writes, as safely: beside the file, flushed, renamed.
"""

import datetime
import os
import pathlib
import plistlib
import struct
import sys
import unicodedata
import urllib.parse

DOMAIN = "com.quorvale.Vennick"
STORE_DOMAIN = "com.quorvale.Vennick5"
US_KEYS = dict(zip([0, 11, 8, 2, 14, 3, 5, 4, 34, 38, 40, 37, 46, 45, 31, 35, 12, 15, 1, 17, 32, 9, 13, 7, 16, 6],
                   "abcdefghijklmnopqrstuvwxyz"))
MODIFIERS = {0x0100: 0x100000, 0x0200: 0x20000, 0x0800: 0x80000, 0x1000: 0x40000}
# Version 5 key: version 4 key, its default, and what is made of the number.
SETTINGS = {
    "openInTerminal": ("OpenInTerminal", 0, lambda n: n & 255 != 0),
    "openInTerminalModifiers": ("OpenInTerminalKey", 256, lambda n: modifiers(n)),
    "switchToFinder": ("DisableSwitchToFinder", 0, lambda n: n & 255 == 0),
    "hotkeysInFinderOnly": ("MiscellaneousFlags", 10440, lambda n: not n & 16),
    "hotkeysOutsideFileDialogs": ("MiscellaneousFlags", 10440, lambda n: n & 8 != 0),
    "menusShowIcons": ("ShowMenuIcons", 1, lambda n: n & 255 != 0),
    "menusHierarchical": ("MiscellaneousFlags", 10440, lambda n: n & 64 != 0),
    "menusShowParents": ("MiscellaneousFlags", 10440, lambda n: not n & 8192),
    "menusShowPreviews": ("ShowPreviewsInMenus", 1, lambda n: n & 255 != 0),
    "menusShowDiskSpace": ("ShowDiskSpace", 0, lambda n: n & 255 != 0),
    "menusSortRecentByName": ("MiscellaneousFlags", 10440, lambda n: n & 2 != 0),
    "toolbarStyle": ("AnchorLocation", 1, lambda n: 4 if n & 12 else 1),
    "toolbarOnLeft": ("ToolbarOnLeft", 0, lambda n: n & 255 != 0),
    "toolbarShowAttributesOnOpen": ("SpotlightOptions", 5, lambda n: n & 4 != 0),
    "toolbarShowAttributesOnSave": ("SpotlightOptions", 5, lambda n: n & 1 != 0),
    "historySize": ("MaxRecentFolders", 10, lambda n: n),
    "finderClick": ("FinderClickOptions", 39, lambda n: n & 1 != 0),
    "finderClickName": ("FinderClickOptions", 39, lambda n: n & 4 != 0),
    "finderClickDesktop": ("FinderClickOptions", 39, lambda n: not n & 32),
    "finderClickShadow": ("FinderClickOptions", 39, lambda n: n & 2 != 0),
    "finderClickModifiers": ("FinderClickKey", 0, lambda n: modifiers(n)),
    "defaultToDocumentFolder": ("MiscellaneousFlags", 10440, lambda n: n & 2048 != 0),
    "reboundSelection": ("ReboundToLastSelection", 1, lambda n: n & 255 != 0),
    "createAliasesInLibrary": ("DoFolderSynchronization", 0, lambda n: n != 0),
    "showItemsInPackages": ("AddRecentFoldersWithinPackages", 0, lambda n: n & 255 != 0),
}


def modifiers(mask):
    return sum(new for old, new in MODIFIERS.items() if mask & old)


def alias_path(record):
    """The path that a version 2 record holds: on the boot volume from its root, else below the mount point."""
    position, path, mount = 150, None, "/"
    while position + 4 <= len(record):
        tag, length = struct.unpack_from(">hH", record, position)
        data = record[position + 4:position + 4 + length]
        if tag == -1:
            break
        if tag == 18:
            path = data.decode()
        elif tag == 19:
            mount = data.decode()
        position += 4 + length + length % 2
    return path and mount.rstrip("/") + "/" + path.lstrip("/")


def checksum_is_right(item):
    crc = 0xFFFF
    for byte in item["Alias"]:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021) & 0xFFFF if crc & 0x8000 else crc << 1
    return item["AliasChecksum"] in (struct.pack("<H", crc), struct.pack(">H", crc))


def file_url(path):
    return "file://" + urllib.parse.quote(unicodedata.normalize("NFD", path), safe="/-._~!$&'()*+,=:@")


class Bookmark:
    """The bytes of a bookmark: items behind one another, and a table of where each key's item lies."""

    def __init__(self):
        self.body = bytearray(4)
        self.keys = []

    def item(self, kind, payload):
        offset = len(self.body)
        self.body += struct.pack("<II", len(payload), kind) + payload + b"\0" * (-len(payload) % 4)
        return offset

    def set(self, key, kind, payload):
        self.keys.append((key, self.item(kind, payload)))

    def set_array(self, key, kind, payloads):
        offsets = [self.item(kind, payload) for payload in payloads]
        self.set(key, 0x0601, struct.pack(f"<{len(offsets)}I", *offsets))

    def data(self):
        struct.pack_into("<I", self.body, 0, len(self.body))
        self.body += struct.pack("<IIIII", 12 * len(self.keys) + 12, 0xFFFFFFFE, 1, 0, len(self.keys))
        for key, offset in self.keys:
            self.body += struct.pack("<III", key, offset, 0)
        return struct.pack("<4sIII", b"book", 48 + len(self.body), 0x10040000, 48) + bytes(32) + bytes(self.body)


class Migration:
    def __init__(self, root, home):
        self.root = root
        self.home = home
        self.preferences = f"{root}{home}/Library/Preferences"
        self.store = f"{root}{home}/Library/Application Support/{STORE_DOMAIN}"
        disk = os.statvfs(root)
        self.capacity = disk.f_blocks * disk.f_frsize
        self.volume_created = os.stat(root).st_mtime - 978307200

    def read(self, domain, key):
        try:
            return plistlib.loads(pathlib.Path(f"{self.preferences}/{domain}.plist").read_bytes()).get(key)
        except OSError:
            return None

    def write(self, path, content, fmt):
        new = f"{os.path.dirname(path)}/.{os.path.basename(path)}.{os.getpid()}"
        with open(new, "wb") as file:
            plistlib.dump(content, file, fmt=fmt)
            file.flush()
            os.fsync(file.fileno())
        os.replace(new, path)

    def bookmark(self, path, info):
        bookmark = Bookmark()
        components = path.strip("/").split("/")
        parents = ["/" + "/".join(components[:count]) for count in range(1, len(components))]
        numbers = [os.stat(self.root + parent).st_ino for parent in parents] + [info.st_ino]
        bookmark.set_array(0x1004, 0x0101, [component.encode() for component in components])
        bookmark.set_array(0x1005, 0x0304, [struct.pack("<q", number) for number in numbers])
        bookmark.set(0x1010, 0x0201, struct.pack("<QQQ", 2, 15, 0))
        bookmark.set(0x1040, 0x0400, struct.pack(">d", info.st_mtime - 978307200))
        bookmark.set(0x2002, 0x0101, b"/")
        bookmark.set(0x2005, 0x0901, b"file:///")
        bookmark.set(0x2010, 0x0101, b"Macintosh HD")
        bookmark.set(0x2012, 0x0304, struct.pack("<q", self.capacity))
        bookmark.set(0x2013, 0x0400, struct.pack(">d", self.volume_created))
        bookmark.set(0x2020, 0x0201, struct.pack("<QQQ", 0x100000081, 0x1000000A9, 0))
        bookmark.set(0x2030, 0x0501, b"")
        bookmark.set(0xC001, 0x0304, struct.pack("<q", len(components) - 2))
        bookmark.set(0xD010, 0x0303, struct.pack("<i", 0))
        return bookmark.data()

    def entry(self, item):
        if not item.get("Name") or not item.get("Alias") or ("AliasChecksum" in item and not checksum_is_right(item)):
            return None
        path = alias_path(item["Alias"])
        entry = {"name": item["Name"], "date": datetime.datetime.now(datetime.timezone.utc).replace(tzinfo=None)}
        try:
            info = os.stat(self.root + path)
        except OSError:
            return entry | {"url": "file:///com.quorvale.emptyPath", "itemType": 2}
        is_folder = os.path.isdir(self.root + path)
        return entry | {"url": file_url(path) + ("/" if is_folder else ""), "itemType": 2 if is_folder else 1,
                        "bookmark": self.bookmark(path, info)}

    def favorites(self, items):
        favorites = {}
        for item in items:
            entry = self.entry(item)
            if entry is None:
                continue
            print(f"Adding favorite {entry['name']} : {entry['url']}", file=sys.stderr)
            if len(item.get("CommandKey", b"")) == 8:
                code, _, mask, _ = struct.unpack("<BBHI", item["CommandKey"])
                if mask & 0xFB00:
                    entry["hotkey"] = {"keyCode": code, "modifierFlags": modifiers(mask),
                                       "charactersIgnoringModifiers": US_KEYS[code]}
            favorites.pop(entry["url"], None)
            favorites[entry["url"]] = entry
        return list(favorites.values())

    def applications(self):
        identifiers = {"@PP$": "*"}
        for bundle in pathlib.Path(self.root + "/Applications").glob("*.app"):
            info = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())
            identifiers[bundle.stem] = info.get("CFBundleIdentifier") or info["CFBundleExecutable"]
        return identifiers

    def default_folders(self, items, flags, applications):
        folders = []
        for key in sorted(items):
            entry = self.entry(items[key]) if key in applications else None
            if entry and "bookmark" in entry:
                name = os.path.basename(alias_path(items[key]["Alias"]))
                folders.append(entry | {"name": name, "applications": [applications[key]], "fileTypes": ["*"], "flags": flags,
                                        "itemType": 2})
        return folders

    def run(self):
        settings = self.read(DOMAIN, "Settings") or {}
        sets = self.read(DOMAIN, "FolderSets") or {}
        integer = lambda key, default: settings[key] if type(settings.get(key)) is int else default
        domain = {key: convert(integer(old, default)) for key, (old, default, convert) in SETTINGS.items()}
        flags = 2 if integer("MiscellaneousFlags", 10440) & 32 else 1
        applications = self.applications()
        empty = {"RecentFiles": [], "RecentFolders": [], "RecentFinderFolders": [], "RecentApplications": [],
                 "DroppedItems": [], "LastFolders": {}, "Rebound": {}}
        print(f"Converting {len(sets)} folder set(s)", file=sys.stderr)
        for name in ["Default Set", *sorted(sets, key=str.casefold)]:
            folder = self.store + "/" + unicodedata.normalize("NFD", name)
            os.makedirs(folder, exist_ok=True)
            stored = sets.get(name, {})
            content = {"Favorites": self.favorites(stored.get("Favorite", [])),
                       "DefaultFolders": self.default_folders(stored.get("Default", {}), flags, applications)}
            for filename, value in (content | empty).items():
                self.write(f"{folder}/{filename}.plist", value, plistlib.FMT_XML)
        for filename in ["DialogSizes", "SidebarSizes", "Statistics", "SaveActions"]:
            self.write(f"{self.store}/{filename}.plist", {}, plistlib.FMT_XML)
        domain |= {"folderSets": sorted({"Default Set", *sets}), "currentSet": settings.get("ActiveSet", "Default Set")}
        self.write(f"{self.preferences}/{STORE_DOMAIN}.plist", domain, plistlib.FMT_BINARY)


if __name__ == "__main__":
    Migration(sys.argv[1], sys.argv[2]).run()
