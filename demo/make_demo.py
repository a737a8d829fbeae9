#!/usr/bin/env python3
"""Writes the demo machine folder demo/machine/.

The demo Mac is an Intel Mac with a T2 chip running macOS 14.2.1:

  disk0      internal SSD (GUID partition map)
  disk0s1    EFI system partition (FAT32, not mounted)
  disk0s2    APFS physical store of container disk1
  disk1      synthesized APFS container
  disk1s1    "Macintosh HD"          System, sealed
  disk1s1s1  "Macintosh HD"          its snapshot, mounted at "/"
  disk1s2    "Macintosh HD - Data"   Data, FileVault on, at /System/Volumes/Data
  disk1s3    "Preboot"               at /System/Volumes/Preboot
  disk1s4    "Recovery"              not mounted
  disk1s5    "VM"                    at /System/Volumes/VM
  disk1s6    "Update"                at /System/Volumes/Update
  disk2      external USB hard disk (GUID partition map)
  disk2s1    EFI
  disk2s2    "Backup"                HFS+ journaled, at /Volumes/Backup
  disk2s3    "Archive"               HFS+ journaled, not mounted
  disk3      USB stick (MBR)
  disk3s1    "USBSTICK"              FAT32, at /Volumes/USBSTICK
  disk4      attached disk image (GUID partition map)
  disk4s1    "Projects"              HFS+ journaled, at /Volumes/Projects

The registry of Corvane and its settings documents are laid out so that a
report run over this machine shows every kind of finding: each way a volume
reference resolves, a volume with two GUIDs, volumes that share a UUID, an
orphaned entry, an unreadable bookmark, and documents that fail to read.

Run it from anywhere: python3 demo/make_demo.py. It rewrites the folder from
scratch (keeping nothing of an earlier run) and is deterministic, so running it
twice gives the same bytes.
"""

import base64
import json
import os
import plistlib
import random
import re
import shutil
import uuid
from datetime import datetime, timezone
from urllib.parse import quote

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "machine")
HOME = "/Users/ada"
SETTINGS = HOME + "/Library/Application Support/Corvane!"
DOMAIN = "com.tamarlin.Corvane"

_rng = random.Random(20261122)


def new_uuid():
    """A random-looking version 4 UUID, the same on every run of the script."""
    return str(uuid.UUID(int=_rng.getrandbits(128), version=4)).upper()


# statfs flags of the mounts.
MNT_RDONLY = 0x00000001
MNT_NOEXEC = 0x00000004
MNT_NOSUID = 0x00000008
MNT_NODEV = 0x00000010
MNT_LOCAL = 0x00001000
MNT_QUOTA = 0x00002000
MNT_ROOTFS = 0x00004000
MNT_DOVOLFS = 0x00008000
MNT_DONTBROWSE = 0x00100000
MNT_IGNORE_OWNERSHIP = 0x00200000
MNT_JOURNALED = 0x00800000
MNT_MULTILABEL = 0x04000000
MNT_NOATIME = 0x10000000
MNT_SNAPSHOT = 0x40000000

GPT_EFI = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B"
GPT_APFS = "7C3457EF-0000-11AA-AA11-00306543ECAC"
GPT_HFS = "48465300-0000-11AA-AA11-00306543ECAC"
APFS_CONTAINER = "EF57347C-0000-11AA-AA11-00306543ECAC"
APFS_VOLUME = "41504653-0000-11AA-AA11-00306543ECAC"

BASE_TIME = 785_490_000.0  # appearance times, seconds since 2001-01-01


def url(path, directory=True):
    text = "file://" + quote(path, safe="-._~!$&'()*+,;=:@/")
    if directory and not text.endswith("/"):
        text += "/"
    return text


def t_url(path):
    return {"$url": url(path)}


def t_uuid(text):
    return {"$uuid": text}


def t_data(raw):
    return {"$data": base64.b64encode(raw).decode("ascii")}


def t_date(text):
    return {"$date": text}


# ---------------------------------------------------------------------------
# The disks.

SSD_MODEL = "APPLE SSD AP0512M"
SSD_SIZE = 500_277_790_720
CONTAINER_SIZE = 500_068_036_608
CONTAINER_FREE = 187_317_026_816
EFI_SIZE = 209_715_200

WD_MODEL = "My Passport 25E2"
WD_SIZE = 2_000_365_289_472
STICK_MODEL = "Cruzer Blade"
STICK_SIZE = 30_752_636_928
IMAGE_SIZE = 10_737_418_240

GROUP_UUID = new_uuid()
CONTAINER_UUID = new_uuid()

# Every media object: its BSD name and the facts the generator needs.
# Volume UUIDs: the sealed snapshot shares the UUID of its System volume, as
# it does on a real Mac, so the duplicate-UUID report has something to show.
U = {name: new_uuid() for name in [
    "disk0", "disk0s1", "disk0s2", "disk1", "disk1s1", "disk1s2", "disk1s3", "disk1s4",
    "disk1s5", "disk1s6", "disk2", "disk2s1", "disk2s2", "disk2s3", "disk3", "disk3s1",
    "disk4", "disk4s1", "disk1s1s1"]}  # media UUIDs
V = {name: new_uuid() for name in [
    "disk0s1", "disk1s1", "disk1s2", "disk1s3", "disk1s4", "disk1s5", "disk1s6", "disk2s1",
    "disk2s2", "disk2s3", "disk4s1"]}  # volume UUIDs
V["disk1s1s1"] = V["disk1s1"]
V["disk3s1"] = new_uuid()
SNAPSHOT_NAME = "com.apple.os.update-7C4E1D6A8B02F5391E6D7A4C0B9F2E81D3A5C7E9F0B1D2C3A4E5F6A7B8C9D0E1"


class Medium:
    def __init__(self, bsd, **kw):
        self.bsd = bsd
        self.__dict__.update(kw)


def ssd_device(extra=None):
    d = {
        "DADeviceInternal": True,
        "DADeviceModel": SSD_MODEL,
        "DADeviceProtocol": "PCI-Express",
        "DADeviceRevision": "1381.140",
        "DADeviceUnit": 0,
        "DADevicePath": "IODeviceTree:/PCI0@0/RP09@1D/SSD0@0/PRT0@0/PMP@0",
        "DABusName": "PCI0",
        "DABusPath": "IODeviceTree:/PCI0@0",
    }
    d.update(extra or {})
    return d


def wd_device():
    return {
        "DADeviceInternal": False,
        "DADeviceModel": WD_MODEL,
        "DADeviceProtocol": "USB",
        "DADeviceRevision": "4004",
        "DADeviceUnit": 0,
        "DADeviceVendor": "WD",
        "DADevicePath": "IOService:/AppleACPIPlatformExpert/PCI0@0/AppleACPIPCI/XHC1@14/XHC1@14000000/HS03@14300000/My Passport 25E2@14300000",
        "DABusName": "XHC1",
        "DABusPath": "IODeviceTree:/PCI0@0/XHC1@14",
    }


def stick_device():
    return {
        "DADeviceInternal": False,
        "DADeviceModel": STICK_MODEL,
        "DADeviceProtocol": "USB",
        "DADeviceRevision": "1.00",
        "DADeviceUnit": 0,
        "DADeviceVendor": "SanDisk",
        "DADevicePath": "IOService:/AppleACPIPlatformExpert/PCI0@0/AppleACPIPCI/XHC1@14/XHC1@14000000/HS01@14100000/Cruzer Blade@14100000",
        "DABusName": "XHC1",
        "DABusPath": "IODeviceTree:/PCI0@0/XHC1@14",
    }


def image_device():
    return {
        "DADeviceInternal": False,
        "DADeviceModel": "Disk Image",
        "DADeviceProtocol": "Virtual Interface",
        "DADeviceRevision": "676",
        "DADeviceUnit": 4,
        "DADeviceVendor": "Apple",
        "DADevicePath": "IOService:/IOResources/AppleDiskImageController/AppleDiskImageDevice@4",
    }


IMAGE_PATH = HOME + "/Disk Images/Projects.sparseimage"

# Every media object, in the order they are described here; IOKIT_ORDER below
# says in which order the I/O registry hands them out.
MEDIA = []


def medium(bsd, **kw):
    m = Medium(bsd, **kw)
    MEDIA.append(m)
    return m


# --- internal SSD -----------------------------------------------------------
medium("disk0", whole=True, size=SSD_SIZE, content="GUID_partition_scheme", media_name=SSD_MODEL + " Media",
       device=ssd_device(), block=4096, removable=False, ejectable=False, writable=True,
       io_class="IOMedia", parents=[
           {"IOClass": "IOBlockStorageDriver", "Statistics": {"Operations (Read)": 4_812_774, "Operations (Write)": 2_210_513}},
           {"IOClass": "IONVMeBlockStorageDevice", "Device Characteristics": {"Product Name": SSD_MODEL, "Medium Type": "Solid State", "Serial Number": "C02123456789ABCD"},
            "Protocol Characteristics": {"Physical Interconnect": "PCI-Express", "Physical Interconnect Location": "Internal"}},
       ])
medium("disk0s1", whole=False, size=EFI_SIZE, content=GPT_EFI, media_name="EFI System Partition",
       device=ssd_device(), block=4096, removable=False, ejectable=False, writable=True,
       vol=dict(kind="msdos", name="EFI", mount=None, type=None, mountable=True),
       partition=1, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}])
medium("disk0s2", whole=False, size=CONTAINER_SIZE, content=GPT_APFS, media_name="",
       device=ssd_device(), block=4096, removable=False, ejectable=False, writable=True,
       partition=2, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}])
medium("disk1", whole=True, size=CONTAINER_SIZE, content=APFS_CONTAINER, media_name="AppleAPFSMedia",
       device=ssd_device({"DADeviceProtocol": "PCI-Express"}), block=4096, removable=False, ejectable=False, writable=True,
       parents=[{"IOClass": "AppleAPFSContainer", "ContainerBlockSize": 4096, "UUID": CONTAINER_UUID},
                {"IOClass": "AppleAPFSMedia", "BSD Name": "disk0s2"}])


def apfs_parents():
    return [
        {"IOClass": "AppleAPFSContainerScheme"},
        {"IOClass": "AppleAPFSMedia", "BSD Name": "disk1", "Content": APFS_CONTAINER, "Whole": True},
        {"IOClass": "AppleAPFSContainer", "ContainerBlockSize": 4096, "UUID": CONTAINER_UUID},
    ]


def apfs_volume(bsd, name, role, mount, used, files, dirs, *, group=False, encrypted=False, sealed=False,
                flags=0, browsable=False, snapshot=False, format_desc="APFS", mount_from=None):
    medium(bsd, whole=False, size=CONTAINER_SIZE, content=APFS_VOLUME, media_name="", device=ssd_device(),
           block=4096, removable=False, ejectable=False, writable=not snapshot,
           vol=dict(kind="apfs", name=name, mount=mount, type=format_desc, mountable=True,
                    format=format_desc, used=used, total=CONTAINER_SIZE, free=CONTAINER_FREE,
                    files=files, dirs=dirs, flags=flags, browsable=browsable, journaling=False,
                    case_sensitive=False, ejectable=False, internal=True, read_only=bool(flags & MNT_RDONLY)),
           apfs=dict(role=role, group=group, encrypted=encrypted, sealed=sealed, snapshot=snapshot,
                     mount_from=mount_from),
           parents=apfs_parents())


apfs_volume("disk1s1", "Macintosh HD", "System", None, 10_731_503_616, 0, 0, group=True, sealed=True,
            mount_from="/dev/disk1s1s1")
apfs_volume("disk1s1s1", "Macintosh HD", "System", "/", 10_731_503_616, 517_964, 142_106, group=True, sealed=True,
            snapshot=True, browsable=True,
            flags=MNT_RDONLY | MNT_LOCAL | MNT_ROOTFS | MNT_DOVOLFS | MNT_JOURNALED | MNT_MULTILABEL | MNT_SNAPSHOT,
            mount_from="/dev/disk1s1s1")
apfs_volume("disk1s2", "Macintosh HD - Data", "Data", "/System/Volumes/Data", 289_306_943_488, 2_684_211, 611_530,
            group=True, encrypted=True, format_desc="APFS (Encrypted)",
            flags=MNT_LOCAL | MNT_DOVOLFS | MNT_DONTBROWSE | MNT_JOURNALED | MNT_MULTILABEL,
            mount_from="/dev/disk1s1s1")
apfs_volume("disk1s3", "Preboot", "PreBoot", "/System/Volumes/Preboot", 1_643_212_800, 1_034, 215,
            flags=MNT_LOCAL | MNT_NOSUID | MNT_NODEV | MNT_DOVOLFS | MNT_DONTBROWSE | MNT_JOURNALED | MNT_MULTILABEL)
apfs_volume("disk1s4", "Recovery", "Recovery", None, 1_079_312_384, 0, 0)
apfs_volume("disk1s5", "VM", "VM", "/System/Volumes/VM", 3_221_245_952, 4, 2,
            flags=MNT_LOCAL | MNT_NOEXEC | MNT_NOSUID | MNT_NODEV | MNT_DOVOLFS | MNT_DONTBROWSE | MNT_JOURNALED
            | MNT_NOATIME | MNT_MULTILABEL)
apfs_volume("disk1s6", "Update", "Update", "/System/Volumes/Update", 3_145_728, 42, 19,
            flags=MNT_LOCAL | MNT_NOSUID | MNT_NODEV | MNT_DOVOLFS | MNT_DONTBROWSE | MNT_JOURNALED | MNT_MULTILABEL)

# --- external backup disk ---------------------------------------------------
medium("disk2", whole=True, size=WD_SIZE, content="GUID_partition_scheme", media_name="WD My Passport 25E2 Media",
       device=wd_device(), block=512, removable=False, ejectable=True, writable=True,
       parents=[{"IOClass": "IOBlockStorageDriver"},
                {"IOClass": "IOSCSIPeripheralDeviceType00", "Vendor Identification": "WD", "Product Identification": WD_MODEL,
                 "Protocol Characteristics": {"Physical Interconnect": "USB", "Physical Interconnect Location": "External"}}])
medium("disk2s1", whole=False, size=EFI_SIZE, content=GPT_EFI, media_name="EFI System Partition",
       device=wd_device(), block=512, removable=False, ejectable=True, writable=True,
       vol=dict(kind="msdos", name="EFI", mount=None, type=None, mountable=True),
       partition=1, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}])
BACKUP_SIZE = 1_499_999_997_952
medium("disk2s2", whole=False, size=BACKUP_SIZE, content=GPT_HFS, media_name="Backup",
       device=wd_device(), block=512, removable=False, ejectable=True, writable=True,
       vol=dict(kind="hfs", name="Backup", mount="/Volumes/Backup", type="Mac OS Extended (Journaled)", mountable=True,
                format="Mac OS Extended (Journaled)", used=1_021_574_483_968, total=BACKUP_SIZE,
                free=BACKUP_SIZE - 1_021_574_483_968, files=3_911_417, dirs=804_333,
                flags=MNT_LOCAL | MNT_NOSUID | MNT_NODEV | MNT_JOURNALED | MNT_DOVOLFS,
                browsable=True, journaling=True, case_sensitive=False, ejectable=True, internal=False, read_only=False,
                time_machine=True),
       partition=2, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}])
ARCHIVE_SIZE = WD_SIZE - BACKUP_SIZE - EFI_SIZE - 134_217_728 - 20480
medium("disk2s3", whole=False, size=ARCHIVE_SIZE, content=GPT_HFS, media_name="Archive",
       device=wd_device(), block=512, removable=False, ejectable=True, writable=True,
       vol=dict(kind="hfs", name="Archive", mount=None, type="Mac OS Extended (Journaled)", mountable=True),
       partition=3, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}])

# --- USB stick ----------------------------------------------------------------
medium("disk3", whole=True, size=STICK_SIZE, content="FDisk_partition_scheme", media_name="SanDisk Cruzer Blade Media",
       device=stick_device(), block=512, removable=True, ejectable=True, writable=True,
       parents=[{"IOClass": "IOBlockStorageDriver"},
                {"IOClass": "IOSCSIPeripheralDeviceType00", "Vendor Identification": "SanDisk", "Product Identification": STICK_MODEL,
                 "Protocol Characteristics": {"Physical Interconnect": "USB", "Physical Interconnect Location": "External"}}])
STICK_VOL = STICK_SIZE - 1_048_576
medium("disk3s1", whole=False, size=STICK_VOL, content="DOS_FAT_32", media_name="",
       device=stick_device(), block=512, removable=True, ejectable=True, writable=True,
       vol=dict(kind="msdos", name="USBSTICK", mount="/Volumes/USBSTICK", type="MS-DOS (FAT32)", mountable=True,
                format="MS-DOS (FAT32)", used=4_315_676_672, total=STICK_VOL - 15_007_744,
                free=STICK_VOL - 15_007_744 - 4_315_676_672, files=1_283, dirs=97,
                flags=MNT_LOCAL | MNT_NOSUID | MNT_NODEV | MNT_IGNORE_OWNERSHIP,
                browsable=True, journaling=False, case_sensitive=False, ejectable=True, internal=False, read_only=False,
                no_realdev=True, bsize=32768),
       partition=1, parents=[{"IOClass": "IOFDiskPartitionScheme", "Content Mask": "FDisk_partition_scheme"}])

# --- disk image -------------------------------------------------------------
image_parents = [
    {"IOClass": "IOBlockStorageDriver"},
    {"IOClass": "AppleDiskImageDevice", "DiskImageURL": url(IMAGE_PATH, directory=False),
     "Device Characteristics": {"Product Name": "Disk Image", "Vendor Name": "Apple"},
     "Protocol Characteristics": {"Physical Interconnect": "Virtual Interface", "Physical Interconnect Location": "File"}},
]
medium("disk4", whole=True, size=IMAGE_SIZE, content="GUID_partition_scheme", media_name="Apple Disk Image Media",
       device=image_device(), block=512, removable=False, ejectable=True, writable=True, parents=image_parents)
IMAGE_VOL = IMAGE_SIZE - EFI_SIZE - 20480 - 134_217_728
medium("disk4s1", whole=False, size=IMAGE_VOL, content=GPT_HFS, media_name="Projects",
       device=image_device(), block=512, removable=False, ejectable=True, writable=True,
       vol=dict(kind="hfs", name="Projects", mount="/Volumes/Projects", type="Mac OS Extended (Journaled)",
                mountable=True, format="Mac OS Extended (Journaled)", used=3_486_973_952, total=IMAGE_VOL,
                free=IMAGE_VOL - 3_486_973_952, files=48_770, dirs=5_912,
                flags=MNT_LOCAL | MNT_NOSUID | MNT_NODEV | MNT_JOURNALED | MNT_DOVOLFS | MNT_IGNORE_OWNERSHIP,
                browsable=True, journaling=True, case_sensitive=False, ejectable=True, internal=False, read_only=False),
       partition=1, parents=[{"IOClass": "IOGUIDPartitionScheme", "Content Mask": "GUID_partition_scheme"}] + image_parents)

# IOKit hands the media out in registration order, not sorted: the image and
# the stick were attached after the backup disk, the snapshot after its volume.
IOKIT_ORDER = ["disk0", "disk0s1", "disk0s2", "disk1", "disk1s2", "disk1s1", "disk1s3", "disk1s4", "disk1s5",
               "disk1s6", "disk1s1s1", "disk2", "disk2s1", "disk2s2", "disk2s3", "disk4", "disk4s1", "disk3",
               "disk3s1"]
BY_NAME = {m.bsd: m for m in MEDIA}
assert sorted(IOKIT_ORDER) == sorted(BY_NAME)

BSD_MAJOR = 1
DEVICES = {}  # bsd -> st_dev
for i, m in enumerate(MEDIA):
    DEVICES[m.bsd] = 16777216 + 4 + i


def bsd_unit(bsd):
    return int(bsd[4:].split("s")[0])


def whole_of(bsd):
    return "disk" + str(bsd_unit(bsd))


def volume_of(m):
    return getattr(m, "vol", None)


def is_mounted(m):
    v = volume_of(m)
    return bool(v and v.get("mount"))


def da_description(m, index):
    d = {
        "DAMediaBSDName": m.bsd,
        "DAMediaBSDMajor": BSD_MAJOR,
        "DAMediaBSDMinor": index,
        "DAMediaBSDUnit": bsd_unit(m.bsd),
        "DAMediaBlockSize": m.block,
        "DAMediaContent": m.content,
        "DAMediaEjectable": m.ejectable,
        "DAMediaKind": "IOMedia",
        "DAMediaLeaf": not m.whole,
        "DAMediaName": m.media_name,
        "DAMediaRemovable": m.removable,
        "DAMediaSize": m.size,
        "DAMediaUUID": t_uuid(U[m.bsd]),
        "DAMediaWhole": m.whole,
        "DAMediaWritable": m.writable,
        "DAAppearanceTime": BASE_TIME + index * 0.013,
    }
    if m.bsd in ("disk1",) or getattr(m, "apfs", None):
        d["DAMediaKind"] = "AppleAPFSMedia" if m.bsd == "disk1" else "AppleAPFSVolume"
    d.update(m.device)
    if getattr(m, "apfs", None) and m.bsd != "disk1":
        # An APFS volume is a leaf of the synthesized container.
        d["DAMediaLeaf"] = True
    v = volume_of(m)
    if v:
        d["DAVolumeKind"] = v["kind"]
        d["DAVolumeMountable"] = v["mountable"]
        d["DAVolumeName"] = v["name"]
        d["DAVolumeNetwork"] = False
        d["DAVolumeUUID"] = t_uuid(V[m.bsd])
        if v.get("type"):
            d["DAVolumeType"] = v["type"]
        if v.get("mount"):
            d["DAVolumePath"] = t_url(v["mount"])
    return d


def io_properties(m, index):
    p = {
        "BSD Name": m.bsd,
        "BSD Major": BSD_MAJOR,
        "BSD Minor": index,
        "BSD Unit": bsd_unit(m.bsd),
        "Content": m.content,
        "Content Hint": "" if m.whole else m.content,
        "Ejectable": m.ejectable,
        "IOMediaIcon": {"CFBundleIdentifier": "com.apple.iokit.IOStorageFamily", "IOBundleResourceFile": "Internal.icns"
                        if m.device["DADeviceInternal"] else "External.icns"},
        "Leaf": not m.whole,
        "Open": True,
        "Preferred Block Size": m.block,
        "Removable": m.removable,
        "Size": m.size,
        "UUID": U[m.bsd],
        "Whole": m.whole,
        "Writable": m.writable,
    }
    if hasattr(m, "partition"):
        p["Partition ID"] = m.partition
    a = getattr(m, "apfs", None)
    if a:
        p["IOClass"] = "AppleAPFSVolume"
        if not a["snapshot"]:
            p["Role"] = [a["role"]]
        p["CaseSensitive"] = False
        p["Encrypted"] = a["encrypted"]
        p["Locked"] = False
        p["Sealed"] = "Yes" if a["sealed"] else "No"
        p["FormattedBy"] = "apfs_boot_util (2235.60.1)" if a["role"] in ("System", "Data") else "newfs_apfs (2235.60.1)"
        p["Status"] = "Online"
        if a["group"]:
            p["VolGroupUUID"] = GROUP_UUID
            p["VolGroupMntFromName"] = a["mount_from"]
        else:
            p["VolGroupUUID"] = "00000000-0000-0000-0000-000000000000"
        if a["snapshot"]:
            p["SnapshotName"] = SNAPSHOT_NAME
            p["Leaf"] = True
    elif m.bsd == "disk1":
        p["IOClass"] = "AppleAPFSMedia"
        p["Content Hint"] = ""
    else:
        p["IOClass"] = "IOMedia"
    return p


def volume_facts(m):
    v = volume_of(m)
    if not v or not v.get("mount"):
        return None
    mount = v["mount"]
    bsize = v.get("bsize", 4096)
    blocks = v["total"] // bsize
    bfree = v["free"] // bsize
    resources = {
        "NSURLVolumeNameKey": v["name"],
        "NSURLVolumeLocalizedNameKey": v["name"],
        "NSURLVolumeUUIDStringKey": V[m.bsd],
        "NSURLVolumeLocalizedFormatDescriptionKey": v["format"],
        "NSURLVolumeTotalCapacityKey": v["total"],
        "NSURLVolumeAvailableCapacityKey": v["free"],
        "NSURLVolumeAvailableCapacityForImportantUsageKey": v["free"] + (12_000_000_000 if v["kind"] == "apfs" else 0),
        "NSURLVolumeIsBrowsableKey": v["browsable"],
        "NSURLVolumeIsEjectableKey": v["ejectable"],
        "NSURLVolumeIsRemovableKey": m.removable,
        "NSURLVolumeIsInternalKey": v["internal"],
        "NSURLVolumeIsLocalKey": True,
        "NSURLVolumeIsReadOnlyKey": v["read_only"],
        "NSURLVolumeIsRootFileSystemKey": mount == "/",
        "NSURLVolumeIsJournalingKey": v["journaling"],
        "NSURLVolumeSupportsHardLinksKey": v["kind"] != "msdos",
        "NSURLVolumeSupportsSparseFilesKey": v["kind"] == "apfs",
        "NSURLVolumeSupportsExtendedSecurityKey": v["kind"] != "msdos",
        "NSURLVolumeSupportsCaseSensitiveNamesKey": False,
        "NSURLVolumeSupportsCasePreservedNamesKey": True,
        "NSURLVolumeSupportsPersistentIDsKey": v["kind"] != "msdos",
        "NSURLVolumeSupportsSymbolicLinksKey": v["kind"] != "msdos",
        "NSURLVolumeSupportsVolumeSizesKey": True,
        "NSURLVolumeMaximumFileSizeKey": 4294967295 if v["kind"] == "msdos" else 9223372036854775807,
        "NSURLVolumeCreationDateKey": t_date({"apfs": "2023-10-02T09:14:31Z", "hfs": "2021-06-18T17:40:02Z",
                                              "msdos": "2022-01-09T12:00:00Z"}[v["kind"]]),
        "NSURLVolumeIdentifierKey": t_data(uuid.UUID(V[m.bsd]).bytes[:8]),
    }
    facts = {
        "resources": resources,
        "statfs": {"bsize": bsize, "blocks": blocks, "bfree": bfree, "flags": v["flags"]},
        "fileCount": v["files"],
        "directoryCount": v["dirs"],
        "device": DEVICES[m.bsd],
    }
    if not v.get("no_realdev"):
        facts["realDevice"] = DEVICES[m.bsd]
    return facts


def media_json():
    result = []
    for index, bsd in enumerate(IOKIT_ORDER):
        m = BY_NAME[bsd]
        obj = {"da": da_description(m, index), "io": io_properties(m, index), "ioParents": m.parents}
        facts = volume_facts(m)
        if facts:
            obj["volume"] = facts
        result.append(obj)
    return result


# ---------------------------------------------------------------------------
# diskutil's answers.

def sort_key(bsd):
    pieces = [p for p in re.split(r"[^0-9]+", bsd) if p]
    return int(sum(float(p) * 1000.0 / 10 ** i for i, p in enumerate(pieces)))


SORTED = sorted(BY_NAME, key=sort_key)


def diskutil_info(m):
    v = volume_of(m)
    a = getattr(m, "apfs", None)
    internal = m.device["DADeviceInternal"]
    info = {
        "Bootable": bool(a and a["role"] in ("System", "Data")) or m.bsd in ("disk0s2", "disk1"),
        "BusProtocol": m.device["DADeviceProtocol"],
        "CanBeMadeBootable": False,
        "CanBeMadeBootableRequiresDestroy": False,
        "Content": {"DOS_FAT_32": "DOS_FAT_32", GPT_EFI: "EFI", GPT_APFS: "Apple_APFS", GPT_HFS: "Apple_HFS",
                    APFS_CONTAINER: "EF57347C-0000-11AA-AA11-00306543ECAC",
                    APFS_VOLUME: "41504653-0000-11AA-AA11-00306543ECAC"}.get(m.content, m.content),
        "DeviceBlockSize": m.block,
        "DeviceIdentifier": m.bsd,
        "DeviceNode": "/dev/" + m.bsd,
        "DeviceTreePath": m.device.get("DADevicePath", ""),
        "DiskUUID": U[m.bsd],
        "Ejectable": m.ejectable,
        "EjectableMediaAutomount": m.ejectable,
        "EjectableOnly": m.ejectable,
        "FreeSpace": 0,
        "GlobalPermissionsEnabled": bool(v and v.get("mount") and not v["flags"] & MNT_IGNORE_OWNERSHIP),
        "IOKitSize": m.size,
        "IORegistryEntryName": m.media_name or (v["name"] if v else m.bsd),
        "Internal": internal,
        "MediaName": m.media_name,
        "MediaType": "Generic",
        "MountPoint": (v.get("mount") or "") if v else "",
        "OSInternalMedia": False,
        "ParentWholeDisk": whole_of(m.bsd),
        "PartitionMapPartition": hasattr(m, "partition"),
        "RAIDMaster": False,
        "RAIDSlice": False,
        "Removable": m.removable,
        "RemovableMedia": m.removable,
        "RemovableMediaOrExternalDevice": not internal,
        "SMARTStatus": "Verified" if internal else "Not Supported",
        "Size": m.size,
        "SolidState": internal,
        "SupportsGlobalPermissionsDisable": bool(v and v["kind"] == "hfs"),
        "SystemImage": m.device["DADeviceModel"] == "Disk Image",
        "TotalSize": m.size,
        "VirtualOrPhysical": "Virtual" if (a or m.bsd == "disk1" or m.device["DADeviceModel"] == "Disk Image") else "Physical",
        "WholeDisk": m.whole,
        "Writable": m.writable and not (v and v.get("read_only")),
        "WritableMedia": m.writable,
        "WritableVolume": bool(v and v.get("mount") and not v.get("read_only")),
    }
    if v:
        fs_name, fs_type, fs_visible = {
            "apfs": ("APFS", "apfs", "APFS"),
            "hfs": ("Journaled HFS+", "hfs", "Mac OS Extended (Journaled)"),
            "msdos": ("MS-DOS FAT32", "msdos", "MS-DOS (FAT32)"),
        }[v["kind"]]
        info.update({
            "FilesystemName": fs_name,
            "FilesystemType": fs_type,
            "FilesystemUserVisibleName": fs_visible,
            "VolumeName": v["name"],
            "VolumeUUID": V[m.bsd],
            "VolumeAllocationBlockSize": v.get("bsize", 4096),
        })
        if v.get("mount"):
            info["VolumeSize"] = v["total"]
            info["FreeSpace"] = v["free"]
        if v["kind"] == "hfs":
            info["Journaled"] = True
    if a:
        info.update({
            "APFSContainerFree": CONTAINER_FREE,
            "APFSContainerReference": "disk1",
            "APFSContainerSize": CONTAINER_SIZE,
            "APFSPhysicalStores": [{"APFSPhysicalStore": "disk0s2"}],
            "APFSSnapshot": a["snapshot"],
            "AESHardware": True,
            "Encryption": True,
            "FileVault": a["encrypted"],
            "Locked": False,
            "Fusion": False,
            "CapacityInUse": v["used"],
            "ParentWholeDisk": "disk1",
        })
        if a["group"]:
            info["APFSVolumeGroupID"] = GROUP_UUID
        if a["sealed"]:
            info["Sealed"] = "Yes"
        if a["snapshot"]:
            info["APFSSnapshotName"] = SNAPSHOT_NAME
            info["APFSSnapshotUUID"] = U[m.bsd]
    if m.bsd == "disk1":
        info.update({"APFSContainerFree": CONTAINER_FREE, "APFSContainerSize": CONTAINER_SIZE,
                     "APFSPhysicalStores": [{"APFSPhysicalStore": "disk0s2"}], "ParentWholeDisk": "disk1"})
    if m.bsd == "disk0s2":
        info["APFSContainerReference"] = "disk1"
    return info


def diskutil_list():
    def partition(m):
        v = volume_of(m)
        d = {"Content": diskutil_info(m)["Content"], "DeviceIdentifier": m.bsd, "DiskUUID": U[m.bsd], "Size": m.size}
        if v:
            d["VolumeName"] = v["name"]
            d["VolumeUUID"] = V[m.bsd]
            if v.get("mount"):
                d["MountPoint"] = v["mount"]
        return d

    entries = []
    for whole in ["disk0", "disk1", "disk2", "disk3", "disk4"]:
        w = BY_NAME[whole]
        parts = [BY_NAME[b] for b in SORTED if b != whole and whole_of(b) == whole and b.count("s") == 1]
        e = {"Content": diskutil_info(w)["Content"], "DeviceIdentifier": whole, "OSInternal": False, "Size": w.size}
        if whole == "disk1":
            e["APFSPhysicalStores"] = [{"DeviceIdentifier": "disk0s2"}]
            vols = []
            for p in parts:
                v = volume_of(p)
                d = {"CapacityInUse": v["used"], "DeviceIdentifier": p.bsd, "DiskUUID": U[p.bsd], "OSInternal": False,
                     "Size": CONTAINER_SIZE, "VolumeName": v["name"], "VolumeUUID": V[p.bsd]}
                if v.get("mount"):
                    d["MountPoint"] = v["mount"]
                if p.bsd == "disk1s1":
                    d["MountedSnapshots"] = [{"Sealed": "Yes", "SnapshotBSD": "disk1s1s1", "SnapshotMountPoint": "/",
                                              "SnapshotName": SNAPSHOT_NAME, "SnapshotUUID": U["disk1s1s1"]}]
                vols.append(d)
            e["APFSVolumes"] = vols
        else:
            e["Partitions"] = [partition(p) for p in parts]
        entries.append(e)
    all_disks = [b for b in SORTED]
    return {
        "AllDisks": all_disks,
        "AllDisksAndPartitions": entries,
        "VolumesFromDisks": [volume_of(BY_NAME[b])["name"] for b in SORTED if is_mounted(BY_NAME[b])],
        "WholeDisks": ["disk0", "disk1", "disk2", "disk3", "disk4"],
    }


def diskutil_file_systems():
    rows = [
        ("apfs", "APFS", "APFS", True),
        ("apfs", "Case-sensitive APFS", "APFS (Case-sensitive)", True),
        ("apfs", "APFS", "APFS (Encrypted)", True),
        ("exfat", "ExFAT", "ExFAT", True),
        ("msdos", "MS-DOS", "MS-DOS (FAT)", True),
        ("msdos", "MS-DOS FAT12", "MS-DOS (FAT12)", True),
        ("msdos", "MS-DOS FAT16", "MS-DOS (FAT16)", True),
        ("msdos", "MS-DOS FAT32", "MS-DOS (FAT32)", True),
        ("hfs", "HFS+", "Mac OS Extended", True),
        ("hfs", "Case-sensitive HFS+", "Mac OS Extended (Case-sensitive)", True),
        ("hfs", "Case-sensitive Journaled HFS+", "Mac OS Extended (Case-sensitive, Journaled)", True),
        ("hfs", "Journaled HFS+", "Mac OS Extended (Journaled)", True),
        ("udf", "UDF", "Universal Disk Format (UDF)", False),
        ("", "Free Space", "Free Space", True),
    ]
    return [{"FileSystemName": fs, "Formattable": fmt, "Personality": pers, "UserVisibleName": name}
            for fs, pers, name, fmt in rows]


def diskutil_volume_groups():
    return {"Containers": [{
        "APFSContainerUUID": CONTAINER_UUID,
        "ContainerReference": "disk1",
        "VolumeGroups": [{
            "APFSVolumeGroupUUID": GROUP_UUID,
            "Volumes": [
                {"DeviceIdentifier": "disk1s1", "DiskUUID": V["disk1s1"], "Role": "System"},
                {"DeviceIdentifier": "disk1s2", "DiskUUID": V["disk1s2"], "Role": "Data"},
            ],
        }],
    }]}


# ---------------------------------------------------------------------------
# Corvane's registry and settings documents.

G_MAC = new_uuid()
G_BACKUP = new_uuid()
G_BACKUP_AGAIN = new_uuid()
G_ARCHIVE = new_uuid()
G_STICK = new_uuid()
G_PROJECTS = new_uuid()
G_OFFSITE = new_uuid()
G_OLD = new_uuid()
G_BROKEN = new_uuid()
G_UNKNOWN = new_uuid()
V_OFFSITE = new_uuid()
V_OLD = new_uuid()
M_OFFSITE = new_uuid()
M_OLD = new_uuid()

# Entries that only the registry's own two reports look at; drawn from a
# generator of their own so that the GUIDs above stay as they are.
_registry_rng = random.Random(2026112301)


def registry_uuid(before=None):
    """A version 4 UUID of the registry's own generator; with `before`, the
    first one that sorts before it."""
    while True:
        u = str(uuid.UUID(int=_registry_rng.getrandbits(128), version=4)).upper()
        if before is None or u < before:
            return u


G_BACKUP_THIRD = registry_uuid()
G_LONG = registry_uuid()
G_ACCENTS = registry_uuid()
G_OFFSITE_UNNAMED = registry_uuid(before=G_OFFSITE)
V_LONG = registry_uuid()
V_ACCENTS = registry_uuid()


def bookmark(url_path, name, volume_uuid, ejectable, media_uuid=None, group_uuid=None, localized=None):
    """A bookmark blob as this platform layer encodes one: a binary property
    list with the URL and the stored resource values."""
    d = {
        "NSURLBookmarkURL": url(url_path),
        "NSURLVolumeLocalizedNameKey": localized if localized is not None else name or "",
        "NSURLVolumeUUIDStringKey": volume_uuid,
        "NSURLVolumeIsEjectableKey": ejectable,
        "CVDiskVolume.volumeRealUUIDStringKey": volume_uuid,
    }
    if name is not None:
        d["NSURLVolumeNameKey"] = name
    if media_uuid:
        d["CVDiskVolume.volumeMediaUUIDStringKey"] = media_uuid
    if group_uuid:
        d["CVDiskVolume.volumeGroupUUIDStringKey"] = group_uuid
    return plistlib.dumps(d, fmt=plistlib.FMT_BINARY)


def registry():
    entries = {
        # The data volume of the boot group stands for "Macintosh HD".
        G_MAC: bookmark("/System/Volumes/Data", "Macintosh HD - Data", V["disk1s2"], False, U["disk1s2"], GROUP_UUID),
        G_BACKUP: bookmark("/Volumes/Backup", "Backup", V["disk2s2"], True, U["disk2s2"]),
        # The same backup volume registered a second time.
        G_BACKUP_AGAIN: bookmark("/Volumes/Backup", "Backup", V["disk2s2"], True, U["disk2s2"]),
        G_ARCHIVE: bookmark("/Volumes/Archive", "Archive", V["disk2s3"], True, U["disk2s3"]),
        G_STICK: bookmark("/Volumes/USBSTICK", "USBSTICK", V["disk3s1"], True, U["disk3s1"]),
        # Registered as "Work"; the image volume has since been renamed "Projects".
        G_PROJECTS: bookmark("/Volumes/Work", "Work", V["disk4s1"], True, U["disk4s1"]),
        # A disk that lives elsewhere.
        G_OFFSITE: bookmark("/Volumes/Offsite", "Offsite", V_OFFSITE, True, M_OFFSITE),
        # A disk that no document uses any more: an orphan.
        G_OLD: bookmark("/Volumes/Old Backup", "Old Backup", V_OLD, True, M_OLD),
        # The backup volume a third time: the duplicate check counts 3.
        G_BACKUP_THIRD: bookmark("/Volumes/Backup", "Backup", V["disk2s2"], True, U["disk2s2"]),
        # A name longer than the table's column, cut to 45 characters.
        G_LONG: bookmark("/Volumes/Photography Archive 2019-2024 (RAW masters)",
                         "Photography Archive 2019-2024 (RAW masters) 2nd copy", V_LONG, True),
        # Combining accents and emoji: padded by user-perceived characters.
        G_ACCENTS: bookmark("/Volumes/Cafe\u0301 Re\u0301sume\u0301s",
                            "Cafe\u0301 Re\u0301sume\u0301s \U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F4F7",
                            V_ACCENTS, True),
        # The off-site disk again, remembered without a name; it sorts first,
        # so the duplicate check names the volume "no name".
        G_OFFSITE_UNNAMED: bookmark("/Volumes/Offsite", None, V_OFFSITE, True, M_OFFSITE),
        # Damaged: not a property list at all.
        G_BROKEN: b"book\x00\x02\x00\x00\x00\x00\x04\x10\x30\x00\x00\x00" + bytes(range(0x41, 0x61)),
    }
    return {
        "CVDiskKnownVolumes": entries,
        "NSNavLastRootDirectory": "~/Documents",
        "NSWindow Frame CVMainWindow": "412 208 960 640 0 0 1728 1079 ",
        "SUEnableAutomaticChecks": True,
        "SULastCheckTime": datetime(2026, 11, 20, 7, 31, 12, tzinfo=timezone.utc).replace(tzinfo=None),
        "CVLastSelectedSettings": "Nightly Backup",
    }


def session(source, source_name, target, target_name, version, name, extra=None):
    d = {"CVSessionName": name, "CVCopyMode": "smart-update", "CVScheduleEnabled": True,
         "CVExcludedPaths": ["/private/var/vm", "/.Spotlight-V100"]}
    if source is not None:
        d["CVSourceVolume"] = source
    if source_name is not None:
        d["CVsourceVolumeName"] = source_name
    if target is not None:
        d["CVTargetVolume"] = target
    if target_name is not None:
        d["CVtargetVolumeName"] = target_name
    if version is not None:
        d["CVSessionSettingsVersion"] = version
    d.update(extra or {})
    return d


# (package path below the settings folder, content of "Session Settings.cvss"
# as bytes or None for a package without one, created, modified)
def documents():
    xml = plistlib.FMT_XML
    binary = plistlib.FMT_BINARY
    return [
        # Both references resolve directly.
        ("Nightly Backup.cvsp",
         plistlib.dumps(session(G_MAC, "Macintosh HD", G_BACKUP, "Backup", 5, "Nightly Backup"), fmt=binary),
         "2025-02-14T21:03:44Z", "2026-11-21T23:00:07Z"),
        # The source was registered as "Work" and renamed: resolved by name.
        ("Projects to Stick.cvsp",
         plistlib.dumps(session(G_PROJECTS, "Work", G_STICK, "USBSTICK", 5, "Projects to Stick"), fmt=xml),
         "2025-06-02T08:12:09Z", "2026-10-30T16:45:51Z"),
        # In a subfolder; the source is attached but not mounted, the target
        # is a known disk that is not attached.
        ("Archive/Photos 2023.cvsp",
         plistlib.dumps(session(G_ARCHIVE, "Archive", G_OFFSITE, "Offsite", 4, "Photos 2023"), fmt=xml),
         "2024-01-07T10:20:00Z", "2024-01-07T10:26:13Z"),
        # The source GUID was never registered here (the document came from
        # another Mac); the target uses the second GUID of the backup disk.
        ("Migration.cvsp",
         plistlib.dumps(session(G_UNKNOWN, "Macintosh HD", G_BACKUP_AGAIN, "Backup", 5, "Migration"), fmt=xml),
         "2026-03-11T14:55:20Z", "2026-03-11T15:02:41Z"),
        # A source GUID that is no UUID, and a version stored as text.
        ("Quick Copy.cvsp",
         plistlib.dumps(session("not-a-guid", "Macintosh HD", G_BACKUP, "Backup", "3", "Quick Copy"), fmt=xml),
         "2023-09-30T18:00:00Z", "2023-09-30T18:04:10Z"),
        # The target GUID is missing.
        ("Incomplete.cvsp",
         plistlib.dumps(session(G_STICK, "USBSTICK", None, "Offsite", 5, "Incomplete"), fmt=xml),
         "2026-08-01T09:00:00Z", "2026-08-01T09:00:00Z"),
        # Cut off in the middle of a write.
        ("Broken.cvsp",
         plistlib.dumps(session(G_BACKUP, "Backup", G_STICK, "USBSTICK", 5, "Broken"), fmt=xml)[:301],
         "2026-05-05T05:05:05Z", "2026-05-05T05:05:06Z"),
        # A package whose settings file has gone.
        ("Old.cvsp", None, None, None),
        # Capital letters: not a settings package.
        ("Holiday.CVSP",
         plistlib.dumps(session(G_STICK, "USBSTICK", G_BACKUP, "Backup", 5, "Holiday"), fmt=xml),
         "2022-07-01T12:00:00Z", "2022-07-01T12:00:00Z"),
    ]


SYSTEM_VERSION = {
    "BuildID": "9A5A1B8E-8B6E-11EE-9F3C-6A7C4B0E3A21",
    "ProductBuildVersion": "23C71",
    "ProductCopyright": "1983-2023 Apple Inc.",
    "ProductName": "macOS",
    "ProductUserVisibleVersion": "14.2.1",
    "ProductVersion": "14.2.1",
    "iOSSupportVersion": "17.2",
}

LOCAL_SNAPSHOTS = {
    "/": ["com.apple.TimeMachine.2026-11-21-230012.local", "com.apple.TimeMachine.2026-11-22-000009.local",
          "com.apple.TimeMachine.2026-11-22-010015.local"],
    "/System/Volumes/Data": ["com.apple.TimeMachine.2026-11-21-230012.local",
                             "com.apple.TimeMachine.2026-11-22-000009.local",
                             "com.apple.TimeMachine.2026-11-22-010015.local"],
}
EXCLUDED = ["/Volumes/Backup", "/Volumes/USBSTICK", "/System/Volumes/VM", "/System/Volumes/Preboot",
            "/System/Volumes/Update"]


# ---------------------------------------------------------------------------
# Writing.

def write(path, data, mode=0o644):
    host = os.path.join(OUT, path.lstrip("/"))
    os.makedirs(os.path.dirname(host), exist_ok=True)
    with open(host, "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode("utf-8"))
    os.chmod(host, mode)


def mkdir(path):
    host = os.path.join(OUT, path.lstrip("/"))
    os.makedirs(host, exist_ok=True)


def xml_plist(value):
    return plistlib.dumps(value, fmt=plistlib.FMT_XML, sort_keys=True)


def main():
    if os.path.isdir(OUT):
        shutil.rmtree(OUT)
    os.makedirs(OUT)

    files = {}
    for package, content, created, modified in documents():
        folder = SETTINGS + "/" + package
        mkdir(folder)
        if content is None:
            write(folder + "/QuickLook/Thumbnail.png", b"\x89PNG\r\n\x1a\n")
            continue
        path = folder + "/Session Settings.cvss"
        write(path, content)
        files[path] = {"created": t_date(created), "modified": t_date(modified)}

    write(HOME + "/Library/Preferences/" + DOMAIN + ".plist", plistlib.dumps(registry(), fmt=plistlib.FMT_BINARY))
    write("/System/Library/CoreServices/SystemVersion.plist", xml_plist(SYSTEM_VERSION))

    # Mount points. Git keeps no empty folder, so each holds something that a
    # Mac would have there too.
    mkdir("/Volumes")
    write("/System/Volumes/Data/.file", b"")
    write("/System/Volumes/Preboot/.file", b"")
    write("/System/Volumes/VM/sleepimage", b"")
    write("/System/Volumes/Update/.file", b"")
    # As on a Mac, "/Volumes/Macintosh HD" leads back to "/". The link is
    # relative: an absolute one would lead to the host's "/".
    os.symlink("..", os.path.join(OUT, "Volumes", "Macintosh HD"))
    mkdir("/Volumes/Backup/Backups.backupdb")
    write("/Volumes/Backup/Backups.backupdb/.com.apple.TMCheckpoint", b"")
    write("/Volumes/USBSTICK/README.TXT", "Corvane stick\r\n")
    write("/Volumes/Projects/Projects.txt", "Projects volume, made from Projects.sparseimage\n")
    write(HOME + "/Disk Images/.localized", b"")

    # diskutil and tmutil.
    write("/usr/sbin/diskutil", open(os.path.join(HERE, "stubs", "diskutil"), "rb").read(), 0o755)
    write("/usr/bin/tmutil", open(os.path.join(HERE, "stubs", "tmutil"), "rb").read(), 0o755)
    write("/usr/sbin/diskutil.d/listFileSystems.plist", xml_plist(diskutil_file_systems()))
    write("/usr/sbin/diskutil.d/list.plist", xml_plist(diskutil_list()))
    write("/usr/sbin/diskutil.d/apfs-listVolumeGroups.plist", xml_plist(diskutil_volume_groups()))
    for bsd in SORTED:
        write("/usr/sbin/diskutil.d/info/" + bsd + ".plist", xml_plist(diskutil_info(BY_NAME[bsd])))
    # One line per disk for "diskutil mount": "<BSD name>|<mount point>|<volume
    # name>", the last two empty when nothing is mounted.
    def mount_line(b):
        m = BY_NAME[b]
        return b + ("|" + volume_of(m)["mount"] + "|" + volume_of(m)["name"] if is_mounted(m) else "||") + "\n"
    write("/usr/sbin/diskutil.d/mounts", "".join(mount_line(b) for b in SORTED))
    for mount, names in LOCAL_SNAPSHOTS.items():
        key = mount.replace("/", "_")
        write("/usr/bin/tmutil.d/snapshots/" + key, "".join(n + "\n" for n in names))
    write("/usr/bin/tmutil.d/excluded", "".join(p + "\n" for p in EXCLUDED))

    machine = {
        "home": HOME,
        "media": media_json(),
        "files": files,
    }
    with open(os.path.join(OUT, "machine.json"), "w", encoding="utf-8") as f:
        json.dump(machine, f, indent=1, ensure_ascii=False)
        f.write("\n")


if __name__ == "__main__":
    main()
