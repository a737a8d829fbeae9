"""Pieces of the large machine folders that the report benchmarks write.

The attached disks are 32 external drives of 7 HFS+ volumes each (256 media
objects in all); the last volume of each drive is mountable but has no mount
folder, so it reads as not mounted.
"""

import os
import plistlib
import uuid
from urllib.parse import quote


def new_uuid(rng):
    return str(uuid.UUID(int=rng.getrandbits(128), version=4)).upper()


def bookmark(name, volume_uuid):
    """A registry value as the machine folder's bookmarks encode it."""
    return plistlib.dumps({"NSURLBookmarkURL": "file://" + quote("/Volumes/" + name) + "/",
                           "NSURLVolumeNameKey": name, "NSURLVolumeLocalizedNameKey": name,
                           "NSURLVolumeUUIDStringKey": volume_uuid, "NSURLVolumeIsEjectableKey": True},
                          fmt=plistlib.FMT_BINARY)


def attached_media(folder, rng, count):
    """The media objects of machine.json, and (name, volume UUID) of each volume."""
    media, volumes = [], []
    for disk in range(count // 8):
        whole = "disk%d" % (4 + disk)
        media.append({"da": {"DAMediaBSDName": whole, "DAMediaWhole": True, "DAMediaName": "Drive %d" % disk,
                             "DAMediaSize": 2000398934016},
                      "io": {"BSD Name": whole, "Whole": True}})
        for part in range(1, 8):
            bsd, name, volume_uuid = "%ss%d" % (whole, part), "Volume %d-%d" % (disk, part), new_uuid(rng)
            volumes.append((name, volume_uuid))
            mount = "/Volumes/" + name
            if part != 7:
                os.makedirs(folder + mount)
            media.append({"da": {"DAMediaBSDName": bsd, "DAMediaWhole": False, "DAVolumeName": name,
                                 "DAVolumeKind": "hfs", "DAVolumeMountable": True,
                                 "DAVolumePath": {"$url": "file://" + quote(mount) + "/"},
                                 "DAVolumeUUID": {"$uuid": volume_uuid}, "DAMediaSize": 285771276288},
                          "io": {"BSD Name": bsd, "Whole": False}})
    return media, volumes


def write_registry(folder, path, entries):
    """Corvane's preferences with the registry and one other key."""
    os.makedirs(os.path.dirname(folder + path), exist_ok=True)
    with open(folder + path, "wb") as out:
        plistlib.dump({"CVDiskKnownVolumes": entries, "SUEnableAutomaticChecks": True}, out, fmt=plistlib.FMT_BINARY)
