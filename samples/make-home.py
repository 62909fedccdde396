#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the sample home: a Vennick 4 user, Anna, whose home is /Users/anna.

    samples/make-home.py [FOLDER]        (default: the folder "home" beside this script)

The home holds what version 4 leaves on a Mac: three binary preference domains with settings that are
not the defaults, three folder sets, favorites with alias records and hotkeys, default folders of
applications, and the folders that they lead to. Everything is written the same way every time, so that
the committed files can be compared with what this script makes.
"""

import os
import plistlib
import struct
import sys
import unicodedata

HOME = "/Users/anna"
VOLUME = "Macintosh HD"

# Seconds from 1904-01-01, where HFS dates begin, to 1970-01-01.
HFS_EPOCH = 2082844800
VOLUME_CREATED = 1330000000 + HFS_EPOCH  # February 2012
FOLDER_CREATED = 1398000000 + HFS_EPOCH  # April 2014

# The folders in the home, each with the catalog number that it had on Anna's disk.
FOLDERS = {
    "Desktop": 412001,
    "Documents": 412002,
    "Documents/Rechnungen": 518730,
    "Documents/Rechnungen/2023": 518731,
    "Documents/Projekte": 520114,
    "Documents/Projekte/Brücke": 520120,
    "Documents/Projekte/Größenvergleich": 520377,
    "Documents/Notes from Mia & Joe": 533008,
    "Downloads": 412003,
    "Music": 412005,
    "Music/Scores": 601200,
    "Pictures": 412006,
    "Pictures/Reise 2019 (Málaga)": 602415,
    "Public": 412007,
}
HOME_ID = 411990
USERS_ID = 20480

# Applications in the home: identifier, signature, executable.
APPLICATIONS = {
    "Inkwell": ("org.example.inkwell", "IKwl", "Inkwell"),
    # Version 4 packed creator codes backwards, so only an application whose signature spells the stored
    # code backwards is found by it.
    "Pixel Studio": ("org.example.pixelstudio", "oidS", "PixelStudio"),
    "Ledger": (None, "LDGR", "ledger-app"),
}

COMMAND, SHIFT, OPTION, CONTROL = 0x0100, 0x0200, 0x0800, 0x1000
KEY_1, KEY_2, KEY_B, KEY_R, KEY_F5 = 18, 19, 11, 15, 0x60


def crc16(data):
    """CRC-16/CCITT-FALSE, the checksum that version 4 keeps beside an alias record."""
    crc = 0xFFFF
    for byte in data:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021) & 0xFFFF if crc & 0x8000 else crc << 1
    return crc


def pascal_string(text, width):
    """A Mac Roman string behind its length byte, in a field of that many bytes."""
    data = unicodedata.normalize("NFC", text).encode("mac_roman")[: width - 1]
    return bytes([len(data)]) + data.ljust(width - 1, b"\0")


def utf16_name(text):
    """A name as the file system has it: decomposed, counted in UTF-16 units."""
    data = unicodedata.normalize("NFD", text).encode("utf-16-be")
    return struct.pack(">H", len(data) // 2) + data


def tag(number, data):
    return struct.pack(">hH", number, len(data)) + data + b"\0" * (len(data) % 2)


def utc_date(seconds):
    """Sixteen bits, thirty-two bits and a fraction: seconds since 1904."""
    return struct.pack(">HIH", seconds >> 32, seconds & 0xFFFFFFFF, 0)


def alias_record(path, catalog_id, parent_ids):
    """An Alias Manager record of version 2 for a folder, given by its path on the boot volume."""
    components = path.strip("/").split("/")
    name = components[-1]
    parent = components[-2]
    tags = [
        tag(0, unicodedata.normalize("NFC", parent).encode("mac_roman")),
        tag(16, utc_date(VOLUME_CREATED)),
        tag(17, utc_date(FOLDER_CREATED)),
        tag(1, b"".join(struct.pack(">I", number) for number in parent_ids)),
        tag(2, ":".join([VOLUME, *map(lambda c: unicodedata.normalize("NFC", c), components)]).encode("mac_roman")),
        tag(14, utf16_name(name)),
        tag(15, utf16_name(VOLUME)),
        tag(18, unicodedata.normalize("NFD", path.lstrip("/")).encode("utf-8")),
        tag(19, b"/"),
        struct.pack(">hH", -1, 0),
    ]
    fixed = struct.pack(
        ">H 28s I 2s H I 64s I I 8s h h I H 10s",
        1,  # a folder
        pascal_string(VOLUME, 28),
        VOLUME_CREATED,
        b"H+",
        0,  # a fixed disk
        parent_ids[0],
        pascal_string(name, 64),
        catalog_id,
        FOLDER_CREATED,
        b"\0" * 8,
        -1,
        -1,
        0x00000920,
        0,
        b"\0" * 10,
    )
    body = fixed + b"".join(tags)
    return struct.pack(">IHH", 0, 8 + len(body), 2) + body


def folder_ids(folder):
    """The catalog numbers of a folder's parents, the nearest first, up to the top of the disk."""
    parents = []
    while "/" in folder:
        folder = folder.rsplit("/", 1)[0]
        parents.append(FOLDERS[folder])
    return parents + [HOME_ID, USERS_ID]


def hotkey(key_code, modifiers, flag=0, big_endian=False):
    """The eight bytes of a version 4 hotkey; records from a PowerPC are in the other byte order."""
    return struct.pack(">BBHI" if big_endian else "<BBHI", key_code, flag, modifiers, 0)


def item(folder, name=None, key=None, catalog_id=None, swapped_checksum=False, damaged=False):
    """An item dictionary for a folder in the home; the checksum of a damaged one is another's."""
    known = catalog_id if catalog_id is not None else FOLDERS[folder]
    alias = alias_record(f"{HOME}/{folder}", known, folder_ids(folder))
    entry = {
        "Name": name if name is not None else folder.rsplit("/", 1)[-1],
        "Alias": alias,
        "AliasChecksum": struct.pack(">H" if swapped_checksum else "<H", crc16(alias) ^ (0x5A5A if damaged else 0)),
    }
    if key is not None:
        entry["CommandKey"] = key
    return entry


def settings():
    return {
        "ActiveSet": "Größere Projekte",
        "AddRecentFoldersWithinPackages": 1,
        "AnchorLocation": 8,
        "CopyFilenames": 0,
        "CurrentInfoWindowTab": 2,
        "DisableSwitchToFinder": 1,
        "DoFolderSynchronization": 1,
        "ExcludedApplications": ["OD4Contact", "VajA", "Inkwell"],
        "FinderClickKey": COMMAND | SHIFT,
        "FinderClickOptions": 1 | 16 | 32,
        "LastUpdateCheck": 1388534400,
        "LatestSupportedOS": 4248,
        "LatestUsedOS": 4245,
        "MaxRecentFolders": 25,
        "MaxReboundFolders": 40,
        "MiscellaneousFlags": 2 | 16 | 32 | 128 | 8192,
        "OpenInTerminal": 1,
        "OpenInTerminalKey": COMMAND | SHIFT | OPTION | CONTROL,
        "PrefsVersion": 2,
        "ReboundOptions": 3,
        "ReboundToLastSelection": 0,
        "ShowDiskSpace": 1,
        "ShowHiddenFinderWindows": 1,
        "ShowMenuIcons": 0,
        "ShowPreviewsInMenus": 0,
        "SpotlightOptions": 1,
        "ToolbarOnLeft": 1,
        "UpdateCheckInterval": 7,
    }


def folder_set(favorites, default_folders=None, recents=(), **others):
    stored = {
        "Favorite": favorites,
        "Recent": list(recents),
        "Default": default_folders or {},
        "Rebound": {},
        "LastOpen": {},
        "LastSave": {},
        "SpotlightHistory": [],
        "SpotlightTerms": [],
    }
    stored.update(others)
    return stored


def project_favorites():
    return [
        item("Documents/Projekte/Brücke", "Brücke", hotkey(KEY_B, COMMAND | OPTION)),
        item("Documents/Projekte/Größenvergleich", key=hotkey(KEY_1, COMMAND | CONTROL)),
        item("Documents/Rechnungen", "Invoices", hotkey(KEY_R, COMMAND | SHIFT, big_endian=True)),
        # Deleted since; only the name is left.
        item("Documents/Altes Projekt", "Altes Projekt", catalog_id=530999),
    ]


def folder_sets():
    return {
        "Größere Projekte": folder_set(
            project_favorites(),
            {
                "@PP$": item("Documents"),
                "Sdio": item("Pictures"),
                "Ledger": item("Documents/Rechnungen/2023"),
                "Gone App": item("Downloads"),
            },
            [item("Documents/Rechnungen/2023"), item("Downloads")],
            Rebound={"Inkwell": item("Documents/Projekte")},
            LastOpen={"Inkwell": item("Documents/Projekte/Brücke")},
            LastSave={"Inkwell": item("Documents/Projekte/Größenvergleich")},
            SpotlightHistory=["rechnung", "brücke"],
            SpotlightTerms=["kind:pdf"],
        ),
        "privat": folder_set(
            [
                item("Pictures/Reise 2019 (Málaga)", key=hotkey(KEY_F5, 0, flag=1)),
                item("Music/Scores", swapped_checksum=True),
                # The same folder twice: the later one takes the place of the first, and its hotkey.
                item("Public", "Briefkasten", hotkey(KEY_1, COMMAND)),
                item("Downloads", key=hotkey(KEY_2, COMMAND)),
                item("Public", "Öffentlich"),
                item("Music", "Musik", damaged=True),
                # A key without a modifier that is no function key: no hotkey.
                item("Pictures", "Bilder", hotkey(KEY_B, 0)),
            ],
            {"Inkwell": item("Documents/Notes from Mia & Joe")},
        ),
        # Version 5 has no set of this name; its entries go into the set that comes before it.
        "Scripts": folder_set([item("Documents/Projekte", "Skripte")]),
        "Default Set": folder_set([item("Desktop"), item("Documents")]),
    }


def write_domain(home, domain, content):
    path = os.path.join(home, "Library/Preferences", domain + ".plist")
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        plistlib.dump(content, file, fmt=plistlib.FMT_BINARY)


def write_text(path, text, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(path, mode)


def write_application(home, name, identifier, signature, executable):
    contents = os.path.join(home, "Applications", name + ".app", "Contents")
    information = {
        "CFBundleExecutable": executable,
        "CFBundleName": name,
        "CFBundlePackageType": "APPL",
        "CFBundleSignature": signature,
        "CFBundleShortVersionString": "1.0",
        "CFBundleVersion": "1",
    }
    if identifier:
        information["CFBundleIdentifier"] = identifier
    os.makedirs(contents, exist_ok=True)
    with open(os.path.join(contents, "Info.plist"), "wb") as file:
        plistlib.dump(information, file)
    write_text(os.path.join(contents, "PkgInfo"), "APPL" + signature)
    write_text(os.path.join(contents, "MacOS", executable), "#!/bin/sh\n", 0o755)


def main():
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), "home")
    home = sys.argv[1] if len(sys.argv) > 1 else beside
    for folder in FOLDERS:
        write_text(os.path.join(home, folder, ".keep"), "")
    for name, (identifier, signature, executable) in APPLICATIONS.items():
        write_application(home, name, identifier, signature, executable)
    write_domain(home, "com.quorvale.Vennick", {"FolderSets": folder_sets(), "Settings": settings()})
    write_domain(home, "com.quorvale.Vennick.favorites", {"Favorite": project_favorites()})
    write_domain(home, "com.quorvale.Vennick.settings", {"Settings": settings()})
    write_domain(home, "com.quorvale.prefPane.Vennick", {"SUEnableAutomaticChecks": True})
    write_domain(home, ".GlobalPreferences", {"AppleLanguages": ["de-DE", "en-DE"], "AppleLocale": "de_DE"})


if __name__ == "__main__":
    main()
