#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whole runs of the migrator beside a plain Python script that does the same and a floor that does the least.

    bench/whole_runs.py BUILD [--sets 1,10,100,1000] [--favorites 100] [--repeat 3] [--memory]

For each number of sets a home with so many sets of favorites, each leading to a folder of its own, is migrated by
all three in turn, and the best of the repeats counts. Printed are wall time, processor time, system calls and peak
memory, with their ratios to the script's and the floor's, and how the migrator's cost grows with the favorites. The
store that the script writes is compared with the migrator's. System calls are counted with perf where it may, else
by tracing, small homes only; "-" where neither can. --memory puts the homes into /dev/shm, where flushing is free.
"""

import argparse
import os
import pathlib
import plistlib
import shutil
import struct
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/app"))
sys.dont_write_bytecode = True
import homes  # noqa: E402

MIGRATOR = "Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator"
# Tracing takes some hundred microseconds a call.
MOST_TRACED_FAVORITES = 1000


def item(path, name, key=None):
    alias = homes.alias_record(path, "Macintosh HD", "/")
    stored = {"Name": name, "Alias": alias, "AliasChecksum": struct.pack("<H", homes.crc16(alias))}
    return stored | ({"CommandKey": key} if key else {})


def make_home(root, sets, favorites):
    """Gives the paths of all targets."""
    os.makedirs(root + homes.PREFERENCES)
    os.makedirs(root + "/Volumes")
    os.symlink("/", root + "/Volumes/Macintosh HD")
    homes.make_applications(root)
    targets, stored = [], {}
    key = struct.pack("<BBHI", 11, 0, 0x0900, 0)
    for number in range(sets):
        folder = f"{homes.HOME}/Work/Project {number:04}"
        os.makedirs(root + folder)
        entries = []
        for index in range(favorites):
            path = f"{folder}/Folder {index:05}"
            os.mkdir(root + path)
            targets.append(root + path)
            entries.append(item(path, f"Favorite {index}", key if index % 10 == 0 else None))
        stored[f"Set {number:04}"] = {"Favorite": entries, "Default": {"@PP$": item(folder, "All"),
                                                                       "Editor": item(folder, "Editor")}}
    content = {"FolderSets": stored, "Settings": {"ActiveSet": "Set 0000", "PrefsVersion": 2}}
    domain_file(root, homes.DOMAIN).write_bytes(plistlib.dumps(content, fmt=plistlib.FMT_BINARY))
    return targets


def domain_file(root, domain):
    return pathlib.Path(f"{root}{homes.PREFERENCES}/{domain}.plist")


def store_files(root):
    return [*sorted(pathlib.Path(root + homes.STORE).rglob("*.plist")), domain_file(root, homes.STORE_DOMAIN)]


def store_content(root):
    def comparable(value):
        return [homes.without(entry, "date", "bookmark") for entry in value] if isinstance(value, list) else value

    files = {str(path)[len(root):]: comparable(homes.read(path)) for path in store_files(root)}
    # The migrator's domain holds what the built-in defaults brought, too.
    domain = files[str(domain_file("", homes.STORE_DOMAIN))]
    for key in ("appsToExclude", "keyBindings"):
        domain.pop(key, None)
    return files


def remove_store(root):
    shutil.rmtree(root + homes.STORE, ignore_errors=True)
    domain_file(root, homes.STORE_DOMAIN).unlink(missing_ok=True)


class Peer:
    def __init__(self, name, command, environment):
        self.name = name
        self.command = command
        self.environment = environment | {"PATH": os.environ["PATH"]}
        self.wall, self.processor, self.peak, self.calls = 1e9, 1e9, 0, None

    def measure(self, build):
        result = subprocess.run([build / "bench/programs/MeasuredRun", *self.command], env=self.environment,
                                capture_output=True, text=True, check=True)
        wall, processor, peak = result.stdout.split()
        self.wall, self.processor = min(self.wall, float(wall)), min(self.processor, float(processor))
        self.peak = max(self.peak, int(peak))

    def count_calls(self, build, may_trace):
        with tempfile.NamedTemporaryFile("r") as counts:
            perf = shutil.which("perf")
            if perf and subprocess.run([perf, "stat", "-x", ",", "-e", "raw_syscalls:sys_enter", "-o", counts.name,
                                        *self.command], env=self.environment, capture_output=True,
                                       check=False).returncode == 0:
                lines = [line.split(",") for line in counts if "sys_enter" in line]
                if lines and lines[0][0].isdigit():
                    self.calls = int(lines[0][0])
                    return
        if may_trace:
            result = subprocess.run([build / "tests/interrupt", "calls", *self.command], env=self.environment,
                                    capture_output=True, check=False)
            lines = [line for line in result.stderr.splitlines() if line.startswith(b"calls ")]
            self.calls = int(lines[-1].split()[1]) if result.returncode == 0 and lines else None


def write_pack(root, path):
    with open(path, "wb") as pack:
        for file in store_files(root):
            content = file.read_bytes()
            pack.write(f"{str(file)[len(root) + 1:]}\n{len(content)}\n".encode() + content)


def run_size(build, scratch, sets, favorites, repeat):
    root = scratch + "/root"
    targets = make_home(root, sets, favorites)
    bundle = pathlib.Path(scratch + "/Vennick 5.app")
    if not bundle.exists():
        shutil.copytree(build / "Vennick 5.app", bundle, symlinks=True)
        shutil.rmtree(bundle / "Contents/MacOS")  # what it would start is not what is measured
    pathlib.Path(scratch + "/targets").write_text("\n".join(targets) + "\n")
    peers = [Peer("migrator", [str(bundle / MIGRATOR)], {"MACOS_ROOT": root, "HOME": homes.HOME}),
             Peer("script", [sys.executable, str(HERE / "migrate_plainly.py"), root, homes.HOME], {}),
             Peer("floor", [str(build / "bench/programs/MigrationFloor"), str(domain_file(root, homes.DOMAIN)),
                            scratch + "/targets", scratch + "/pack", root], {})]
    stores = {}
    for turn in range(repeat):
        for peer in peers:
            remove_store(root)
            peer.measure(build)
            if turn == 0 and peer.name == "migrator":
                write_pack(root, scratch + "/pack")
            if turn == 0:
                stores[peer.name] = store_content(root)
    for name in ("script", "floor"):
        assert stores[name] == stores["migrator"], f"the {name} wrote another store"
    for peer in peers:
        remove_store(root)
        peer.count_calls(build, len(targets) <= MOST_TRACED_FAVORITES)
    shutil.rmtree(root)
    return peers


def ratio(value, other):
    return f"{value / other:8.2f}" if value is not None and other else "       -"


def show(sets, favorites, peers):
    print(f"\n{sets} sets of {favorites} favorites")
    print(f"  {'':10}{'wall s':>10}{'cpu s':>10}{'calls':>12}{'peak MiB':>10}")
    for peer in peers:
        calls = peer.calls if peer.calls is not None else "-"
        print(f"  {peer.name:10}{peer.wall:10.3f}{peer.processor:10.3f}{calls:>12}{peer.peak / 1024:10.1f}")
    ours = peers[0]
    for other in peers[1:]:
        print(f"  migrator to {other.name + ':':8} wall {ratio(ours.wall, other.wall)}  cpu "
              f"{ratio(ours.processor, other.processor)}  calls {ratio(ours.calls, other.calls)}  peak "
              f"{ratio(ours.peak, other.peak)}")


def show_growth(results):
    print("\nThe migrator's cost per favorite, beyond what a run of one set costs")
    print(f"  {'favorites':>10}{'cpu us':>10}{'calls':>10}{'peak bytes':>12}")
    (first_count, first), *others = results
    for count, peers in others:
        ours, more = peers[0], count - first_count
        calls = f"{(ours.calls - first[0].calls) / more:10.1f}" if ours.calls and first[0].calls else "         -"
        print(f"  {count:10}{(ours.processor - first[0].processor) / more * 1e6:10.1f}{calls}"
              f"{(ours.peak - first[0].peak) * 1024 / more:12.0f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--sets", default="1,10,100,1000")
    parser.add_argument("--favorites", type=int, default=100)
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--memory", action="store_true")
    arguments = parser.parse_args()
    results = []
    for sets in map(int, arguments.sets.split(",")):
        with tempfile.TemporaryDirectory(prefix="vennick-bench-", dir="/dev/shm" if arguments.memory else None) as scratch:
            # The large ones take their time, and vary less.
            repeat = arguments.repeat if sets < 1000 else 1
            peers = run_size(arguments.build.resolve(), os.path.realpath(scratch), sets, arguments.favorites, repeat)
        show(sets, arguments.favorites, peers)
        results.append((sets * arguments.favorites, peers))
        sys.stdout.flush()
    if len(results) > 1:
        show_growth(results)


if __name__ == "__main__":
    main()
