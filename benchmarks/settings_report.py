#!/usr/bin/env python3
"""Times `CVDiag --settings-volumes` on a large Mac, with and without pruning.

Writes a machine folder with 256 media objects (32 external disks of 7
volumes each, all but one per disk mounted), a registry of 4,096 entries and
1,024 settings documents. The documents refer to 1,096 of the entries (most
by their own name, some by an old name, a few by GUIDs the registry doesn't
hold), so every group of the report has members; the other 3,000 entries are
orphans (and so are the few referenced only under an old name). Each run gets a fresh copy of the registry file, and reports its wall
time and peak resident memory; the pruning run also checks that the file
afterwards holds exactly the referenced entries.

    python3 benchmarks/settings_report.py build/release/CVDiag [runs]
"""

import json
import os
import plistlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from large_mac import attached_media, bookmark, new_uuid, write_registry

MEDIA = 256
ENTRIES = 4096
DOCUMENTS = 1024
ORPHANS = 3000
HOME = "/Users/ada"
DOMAIN = HOME + "/Library/Preferences/com.tamarlin.Corvane.plist"
SETTINGS = HOME + "/Library/Application Support/Corvane!"


def write_machine(folder):
    """Writes the folder; gives the registry's keys that documents refer to."""
    rng = random.Random(1024)
    media, volumes = attached_media(folder, rng, MEDIA)

    # Referenced entries: each attached volume once under its own name, the
    # rest under names of disks that are gone; then the orphans.
    referenced, entries = [], {}
    for i in range(ENTRIES - ORPHANS):
        name, volume_uuid = volumes[i] if i < len(volumes) else ("Gone %d" % i, new_uuid(rng))
        key = new_uuid(rng)
        entries[key] = bookmark(name, volume_uuid)
        referenced.append((key, name))
    for i in range(ORPHANS):
        name, volume_uuid = volumes[rng.randrange(len(volumes))] if i % 2 else ("Orphan %d" % i, new_uuid(rng))
        entries[new_uuid(rng)] = bookmark(name, volume_uuid)
    write_registry(folder, DOMAIN, entries)

    files, used = {}, set()
    for d in range(DOCUMENTS):
        source, target = referenced[d], referenced[(d + DOCUMENTS) % len(referenced)]
        source_name = source[1] if d % 16 else "Old " + source[1]       # no entry of that name: unresolvable
        target_guid = target[0] if d % 64 else new_uuid(rng)            # a GUID from another Mac
        settings = {"CVSourceVolume": source[0], "CVsourceVolumeName": source_name,
                    "CVTargetVolume": target_guid, "CVtargetVolumeName": target[1], "CVSessionSettingsVersion": 5}
        used |= {(source[0], source_name), (target_guid, target[1])}
        package = SETTINGS + "/%s/Session %04d.cvsp" % ("Group %02d" % (d % 32), d)
        os.makedirs(folder + package)
        with open(folder + package + "/Session Settings.cvss", "wb") as out:
            plistlib.dump(settings, out, fmt=plistlib.FMT_XML)
        files[package + "/Session Settings.cvss"] = {"created": {"$date": "2025-01-01T00:00:00Z"},
                                                     "modified": {"$date": "2026-01-01T00:00:00Z"}}
    with open(os.path.join(folder, "machine.json"), "w") as out:
        json.dump({"home": HOME, "media": media, "files": files}, out)
    return sorted(key for key, name in referenced if (key, name) in used)


def run(executable, folder, flags):
    start = time.perf_counter()
    child = subprocess.Popen([executable] + flags, env=dict(os.environ, CVDIAG_MACHINE=folder),
                             stdout=subprocess.PIPE)
    output = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit("CVDiag failed: status %d" % status)
    return elapsed, usage.ru_maxrss / 1024, output.decode().count("\n")


def main():
    executable = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    with tempfile.TemporaryDirectory(prefix="cvdiag-settings-bench-") as folder:
        kept = write_machine(folder)
        original = folder + "/original.plist"
        shutil.copyfile(folder + DOMAIN, original)
        for flags in (["--settings-volumes"], ["--settings-volumes", "--prune-orphans"]):
            times, peaks = [], []
            for _ in range(runs):
                shutil.copyfile(original, folder + DOMAIN)
                elapsed, peak, lines = run(executable, folder, flags)
                times.append(elapsed)
                peaks.append(peak)
            if "--prune-orphans" in flags:
                with open(folder + DOMAIN, "rb") as f:
                    if sorted(plistlib.load(f)["CVDiskKnownVolumes"]) != kept:
                        sys.exit("the pruned registry is not the expected one")
            print("%-40s %d documents, %d entries, %d media, %d lines: best %.2f s, median %.2f s, peak %.0f MB"
                  % (" ".join(flags), DOCUMENTS, ENTRIES, MEDIA, lines, min(times), statistics.median(times),
                     max(peaks)))


if __name__ == "__main__":
    main()
