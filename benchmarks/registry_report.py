#!/usr/bin/env python3
"""Times `CVDiag --volume-registry --duplicate-volume-entries` on a large Mac.

Writes a machine folder with 256 media objects (32 external disks of 7
volumes each, every one with a volume UUID) and a registry of 4,096
entries: each volume remembered under several GUIDs, plus entries of volumes
that are not attached, so the duplicate check has plenty to find. Then runs
the given CVDiag a few times and prints the best and median wall time.

    python3 benchmarks/registry_report.py build/release/CVDiag [runs]
"""

import json
import os
import random
import statistics
import subprocess
import sys
import tempfile
import time

from large_mac import attached_media, bookmark, new_uuid, write_registry

MEDIA = 256
ENTRIES = 4096


def write_machine(folder):
    rng = random.Random(4096)
    media, volume_uuids = attached_media(folder, rng, MEDIA)
    with open(os.path.join(folder, "machine.json"), "w") as out:
        json.dump({"home": "/Users/ada", "media": media}, out)
    entries = {}
    for i in range(ENTRIES):
        if i % 8 == 7:
            name, volume_uuid = "Gone %d" % i, new_uuid(rng)
        else:
            name, volume_uuid = volume_uuids[rng.randrange(len(volume_uuids))]
        entries[new_uuid(rng)] = bookmark(name, volume_uuid)
    write_registry(folder, "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist", entries)


def main():
    executable = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    with tempfile.TemporaryDirectory(prefix="cvdiag-registry-bench-") as folder:
        write_machine(folder)
        env = dict(os.environ, CVDIAG_MACHINE=folder)
        times = []
        for _ in range(runs):
            start = time.perf_counter()
            result = subprocess.run([executable, "--volume-registry", "--duplicate-volume-entries"], env=env,
                                    stdout=subprocess.PIPE, check=True)
            times.append(time.perf_counter() - start)
        lines = result.stdout.decode().count("\n")
        print("%d entries, %d media, %d lines: best %.0f ms, median %.0f ms over %d runs"
              % (ENTRIES, MEDIA, lines, min(times) * 1000, statistics.median(times) * 1000, runs))


if __name__ == "__main__":
    main()
