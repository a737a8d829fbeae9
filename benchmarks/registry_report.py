#!/usr/bin/env python3
"""Times `CVDiag --volume-registry --duplicate-volume-entries` on a large Mac.

Writes a machine folder with 256 media objects (32 external disks of 7
mounted volumes each, every one with a volume UUID) and a registry of 4,096
entries: each volume remembered under several GUIDs, plus entries of volumes
that are not attached, so the duplicate check has plenty to find. Then runs
the given CVDiag a few times and prints the best and median wall time.

    python3 benchmarks/registry_report.py build/release/CVDiag [runs]
"""

import json
import os
import plistlib
import random
import statistics
import subprocess
import sys
import tempfile
import time
import uuid
from urllib.parse import quote

MEDIA = 256
ENTRIES = 4096


def new_uuid(rng):
    return str(uuid.UUID(int=rng.getrandbits(128), version=4)).upper()


def write_machine(folder):
    rng = random.Random(4096)
    media, volume_uuids = [], []
    for disk in range(MEDIA // 8):
        whole = "disk%d" % (4 + disk)
        media.append({"da": {"DAMediaBSDName": whole, "DAMediaWhole": True, "DAMediaName": "Drive %d" % disk,
                             "DAMediaSize": 2000398934016},
                      "io": {"BSD Name": whole, "Whole": True}})
        for part in range(1, 8):
            bsd = "%ss%d" % (whole, part)
            name = "Volume %d-%d" % (disk, part)
            volume_uuid = new_uuid(rng)
            volume_uuids.append((name, volume_uuid))
            mount = "/Volumes/" + name
            os.makedirs(folder + mount)
            media.append({"da": {"DAMediaBSDName": bsd, "DAMediaWhole": False, "DAVolumeName": name,
                                 "DAVolumeKind": "hfs", "DAVolumeMountable": part != 7,
                                 "DAVolumePath": {"$url": "file://" + quote(mount) + "/"},
                                 "DAVolumeUUID": {"$uuid": volume_uuid}, "DAMediaSize": 285771276288},
                          "io": {"BSD Name": bsd, "Whole": False}})
    with open(os.path.join(folder, "machine.json"), "w") as out:
        json.dump({"home": "/Users/ada", "media": media}, out)

    entries = {}
    for i in range(ENTRIES):
        if i % 8 == 7:
            name, volume_uuid = "Gone %d" % i, new_uuid(rng)
        else:
            name, volume_uuid = volume_uuids[rng.randrange(len(volume_uuids))]
        blob = {"NSURLBookmarkURL": "file://" + quote("/Volumes/" + name) + "/",
                "NSURLVolumeNameKey": name, "NSURLVolumeLocalizedNameKey": name,
                "NSURLVolumeUUIDStringKey": volume_uuid, "NSURLVolumeIsEjectableKey": True}
        entries[new_uuid(rng)] = plistlib.dumps(blob, fmt=plistlib.FMT_BINARY)
    preferences = folder + "/Users/ada/Library/Preferences"
    os.makedirs(preferences)
    with open(preferences + "/com.tamarlin.Corvane.plist", "wb") as out:
        plistlib.dump({"CVDiskKnownVolumes": entries, "SUEnableAutomaticChecks": True}, out,
                      fmt=plistlib.FMT_BINARY)


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
