#!/usr/bin/env python3
"""Writes a machine folder whose diskutil knows every attached disk.

    python3 benchmarks/diskutil_mac.py FOLDER [N]

The media are those of large_mac.py (N media objects, 256 by default: whole
drives of seven HFS+ volumes each). The diskutil is the recorded-Mac program
of the demo (demo/stubs/diskutil), answering from a diskutil.d with one
`info` property list per disk, the layout, the file system personalities and
an empty list of APFS volume groups. Then it prints the argument lists the
diskutil section runs, one per line, in the order it runs them.
The folder is rewritten from scratch; its contents are the same on every run.
"""

import json
import os
import plistlib
import random
import shutil
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import large_mac  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))


def info(entry, rng):
    """What `diskutil info -plist` says of one media object."""
    da = entry["da"]
    whole = da["DAMediaWhole"]
    bsd = da["DAMediaBSDName"]
    value = {"DeviceIdentifier": bsd, "DeviceNode": "/dev/" + bsd, "WholeDisk": whole,
             "Size": da["DAMediaSize"], "TotalSize": da["DAMediaSize"], "IOKitSize": da["DAMediaSize"],
             "DeviceBlockSize": 512, "BusProtocol": "USB", "Internal": False, "Ejectable": True,
             "Removable": False, "RemovableMediaOrExternalDevice": True, "SolidState": False,
             "SMARTStatus": "Not Supported", "Writable": True, "WritableMedia": True,
             "DiskUUID": large_mac.new_uuid(rng), "MediaName": da.get("DAMediaName", ""),
             "ParentWholeDisk": bsd.split("s")[0] if "s" in bsd[4:] else bsd}
    if whole:
        value.update({"Content": "GUID_partition_scheme", "IORegistryEntryName": da["DAMediaName"] + " Media"})
    else:
        name = da["DAVolumeName"]
        value.update({"Content": "Apple_HFS", "VolumeName": name, "VolumeUUID": da["DAVolumeUUID"]["$uuid"],
                      "FilesystemType": "hfs", "FilesystemName": "Journaled HFS+",
                      "FilesystemUserVisibleName": "Mac OS Extended (Journaled)",
                      "MountPoint": "/Volumes/" + name if "DAVolumePath" in da else "",
                      "FreeSpace": 100000000000, "VolumeSize": da["DAMediaSize"],
                      "VolumeAllocationBlockSize": 4096, "WritableVolume": True,
                      "GlobalPermissionsEnabled": True, "JournalSize": 8388608})
    return value


def layout(media):
    disks = [m["da"]["DAMediaBSDName"] for m in media]
    wholes = [m for m in media if m["da"]["DAMediaWhole"]]
    partitions = []
    for w in wholes:
        bsd = w["da"]["DAMediaBSDName"]
        parts = [{"Content": "Apple_HFS", "DeviceIdentifier": m["da"]["DAMediaBSDName"],
                  "Size": m["da"]["DAMediaSize"], "VolumeName": m["da"]["DAVolumeName"]}
                 for m in media if m["da"]["DAMediaBSDName"].startswith(bsd + "s")]
        partitions.append({"Content": "GUID_partition_scheme", "DeviceIdentifier": bsd, "OSInternal": False,
                           "Partitions": parts, "Size": w["da"]["DAMediaSize"]})
    return {"AllDisks": disks, "AllDisksAndPartitions": partitions,
            "WholeDisks": [w["da"]["DAMediaBSDName"] for w in wholes],
            "VolumesFromDisks": [m["da"]["DAVolumeName"] for m in media if not m["da"]["DAMediaWhole"]]}


def write(path, data, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.write(data)
    os.chmod(path, mode)


def make(folder, count):
    if os.path.exists(folder):
        shutil.rmtree(folder)
    os.makedirs(folder)
    rng = random.Random(count)
    media, _ = large_mac.attached_media(folder, rng, count)
    with open(os.path.join(folder, "machine.json"), "w") as out:
        json.dump({"home": "/Users/ada", "media": media}, out, indent=1)
    data = os.path.join(folder, "usr/sbin/diskutil.d")
    stub = os.path.join(HERE, "..", "demo", "stubs", "diskutil")
    with open(stub, "rb") as source:
        write(os.path.join(folder, "usr/sbin/diskutil"), source.read(), 0o755)
    write(os.path.join(data, "listFileSystems.plist"), plistlib.dumps(
        [{"UserVisibleName": "Mac OS Extended (Journaled)", "Personality": "Journaled HFS+"},
         {"UserVisibleName": "APFS", "Personality": "APFS"}]))
    write(os.path.join(data, "list.plist"), plistlib.dumps(layout(media)))
    write(os.path.join(data, "apfs-listVolumeGroups.plist"), plistlib.dumps({"Containers": []}))
    for m in media:
        write(os.path.join(data, "info", m["da"]["DAMediaBSDName"] + ".plist"), plistlib.dumps(info(m, rng)))
    runs = [["listFileSystems", "-plist"], ["list", "-plist"], ["list", "-plist"]]
    runs += [["info", "-plist", m["da"]["DAMediaBSDName"]] for m in media]
    runs.append(["apfs", "listVolumeGroups", "-plist"])
    for run in runs:
        print(" ".join(run))


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit("usage: diskutil_mac.py FOLDER [N]")
    make(sys.argv[1], int(sys.argv[2]) if len(sys.argv) == 3 else 256)
