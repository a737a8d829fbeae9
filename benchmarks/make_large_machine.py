#!/usr/bin/env python3
"""Writes a machine folder with many attached media, for scaling runs.

    python3 benchmarks/make_large_machine.py N FOLDER

N is the number of media objects (rounded down to a multiple of four): every
disk is a whole disk with three volumes, the first two mounted under
/Volumes, the third not. Every eighth volume repeats the volume UUID of the
volume before it, so the duplicate-UUID report has groups to show. The media
are handed out in a shuffled but fixed order, so the catalogue has to sort.
The folder is rewritten from scratch; the output is the same on every run.
"""

import json
import os
import random
import shutil
import sys
import uuid


def typed_uuid(rng):
    return {"$uuid": str(uuid.UUID(int=rng.getrandbits(128), version=4)).upper()}


def make(count, folder):
    rng = random.Random(count)
    disks = max(1, count // 4)
    media = []
    previous_volume_uuid = None
    volume_index = 0
    if os.path.exists(folder):
        shutil.rmtree(folder)
    os.makedirs(os.path.join(folder, "Volumes"))
    for d in range(disks):
        whole = f"disk{d}"
        media.append({
            "da": {"DAMediaBSDName": whole, "DAMediaWhole": True, "DAMediaName": f"Drive {d}",
                   "DAMediaSize": 2_000_398_934_016, "DAMediaKind": "IOMedia",
                   "DAMediaContent": "GUID_partition_scheme", "DAMediaBlockSize": 512,
                   "DAMediaUUID": typed_uuid(rng), "DAMediaEjectable": True,
                   "DADeviceInternal": False, "DADeviceProtocol": "USB"},
            "io": {"BSD Name": whole, "Whole": True}})
        for s in range(1, 4):
            name = f"Volume {d}-{s}"
            volume_uuid = typed_uuid(rng)
            if volume_index % 8 == 7 and previous_volume_uuid:
                volume_uuid = previous_volume_uuid
            previous_volume_uuid = volume_uuid
            volume_index += 1
            da = {"DAMediaBSDName": f"{whole}s{s}", "DAMediaWhole": False, "DAMediaName": name,
                  "DAMediaSize": 600_000_000_000, "DAMediaKind": "IOMedia", "DAMediaBlockSize": 512,
                  "DAMediaUUID": typed_uuid(rng), "DAMediaEjectable": True,
                  "DADeviceInternal": False, "DADeviceProtocol": "USB",
                  "DAVolumeName": name, "DAVolumeKind": "hfs", "DAVolumeMountable": True,
                  "DAVolumeType": "Mac OS Extended (Journaled)", "DAVolumeUUID": volume_uuid}
            entry = {"da": da, "io": {"BSD Name": f"{whole}s{s}", "Whole": False}}
            if s < 3:
                mount = f"/Volumes/{name}"
                os.makedirs(folder + mount)
                da["DAVolumePath"] = {"$url": "file://" + mount.replace(" ", "%20") + "/"}
                entry["volume"] = {
                    "resources": {"NSURLVolumeLocalizedNameKey": name, "NSURLVolumeIsBrowsableKey": True,
                                  "NSURLVolumeTotalCapacityKey": 599_000_000_000},
                    "statfs": {"bsize": 4096, "blocks": 146_240_234, "bfree": 100_000_000, "flags": 0}}
            media.append(entry)
    rng.shuffle(media)
    with open(os.path.join(folder, "machine.json"), "w") as out:
        json.dump({"home": "/Users/user", "media": media}, out, indent=1)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: make_large_machine.py N FOLDER")
    make(int(sys.argv[1]), sys.argv[2])
