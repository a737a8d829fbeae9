#pragma once
// Media objects for the volume tests' machine folders, in the JSON of
// machine.json. Each helper gives a plain object that a test adjusts.

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"

namespace volumetest {

using nlohmann::json;

inline json url(const std::string& text) { return {{"$url", text}}; }
inline json uuid(const std::string& text) { return {{"$uuid", text}}; }
inline json data(const std::string& base64) { return {{"$data", base64}}; }

// A whole disk.
inline json wholeDisk(const std::string& bsdName, const std::string& mediaName, bool internal) {
  return {{"da", {{"DAMediaBSDName", bsdName}, {"DAMediaWhole", true}, {"DAMediaName", mediaName},
                  {"DAMediaSize", 500107862016}, {"DADeviceInternal", internal}, {"DAMediaEjectable", !internal},
                  {"DAMediaRemovable", false}, {"DADeviceProtocol", internal ? "PCI-Express" : "USB"}}},
          {"io", {{"BSD Name", bsdName}, {"Whole", true}}}};
}

// A slice with a file system that is not mounted.
inline json slice(const std::string& bsdName, const std::string& volumeName, const std::string& kind) {
  return {{"da", {{"DAMediaBSDName", bsdName}, {"DAMediaWhole", false}, {"DAVolumeName", volumeName},
                  {"DAVolumeKind", kind}, {"DAVolumeMountable", true}, {"DAMediaSize", 209715200},
                  {"DADeviceInternal", true}}},
          {"io", {{"BSD Name", bsdName}, {"Whole", false}}}};
}

// A slice mounted at `mountPath` ("/Volumes/Data/" or "/"), with the resource
// values of its file system.
inline json mounted(json media, const std::string& mountPath, const std::string& format) {
  media["da"]["DAVolumePath"] = url("file://" + mountPath);
  media["volume"] = {
      {"resources",
       {{"NSURLVolumeLocalizedNameKey", media["da"]["DAVolumeName"]},
        {"NSURLVolumeLocalizedFormatDescriptionKey", format}, {"NSURLVolumeTotalCapacityKey", 1000000000000},
        {"NSURLVolumeAvailableCapacityKey", 250000000000}, {"NSURLVolumeIsBrowsableKey", true}}},
      {"statfs", {{"bsize", 4096}, {"blocks", 1000}, {"bfree", 250}, {"flags", 0}}}};
  return media;
}

inline const char* kGroupUUID = "D1C3B4A5-0F6E-4D2C-9B8A-7E6F5D4C3B2A";

// An APFS slice of container disk3 with its role word and volume group.
inline json apfsVolume(const std::string& bsdName, const std::string& name, const char* role,
                       const char* groupUUID) {
  json media = slice(bsdName, name, "apfs");
  if (role) media["io"]["Role"] = {role};
  if (groupUUID) media["io"]["VolGroupUUID"] = groupUUID;
  return media;
}

// A boot container: system disk3s1 (mounted through its snapshot disk3s1s1
// at "/"), preboot, recovery, VM and data, the data mounted at
// /System/Volumes/Data. Folders for the mounts are the caller's.
inline json bootContainer() {
  json system = apfsVolume("disk3s1", "Macintosh HD", "System", kGroupUUID);
  system["io"]["VolGroupMntFromName"] = "/dev/disk3s1s1";
  json snapshot = mounted(apfsVolume("disk3s1s1", "Macintosh HD", "System", kGroupUUID), "/", "APFS");
  json data = mounted(apfsVolume("disk3s5", "Macintosh HD - Data", "Data", kGroupUUID),
                      "/System/Volumes/Data/", "APFS");
  data["io"]["VolGroupMntFromName"] = "/dev/disk3s1s1";
  return json::array({wholeDisk("disk3", "AppleAPFSMedia", true), system, snapshot,
                      apfsVolume("disk3s2", "Preboot", "Preboot", nullptr),
                      apfsVolume("disk3s3", "Recovery", "Recovery", nullptr), apfsVolume("disk3s4", "VM", "VM", nullptr),
                      data});
}

// A test over a machine of media, with the folders of the mounts that exist.
class VolumeMachineTest : public ::testing::Test {
 protected:
  platform::Platform install(const json& media, std::initializer_list<const char*> folders = {}) {
    machine.json({{"media", media}});
    for (const char* folder : folders) machine.directory(folder);
    return machine.install();
  }
  static CVDiskVolumeRef volume(const std::string& bsdName) {
    auto made = CVDiskVolume::initWithBsdName(bsdName);
    EXPECT_TRUE(made) << bsdName;
    return made;
  }
  static std::string nameOf(const CVDiskVolumeRef& v) { return v ? v->bsdName().value_or("<none>") : "<absent>"; }
  static std::vector<std::string> names(const std::vector<CVDiskVolumeRef>& volumes) {
    std::vector<std::string> out;
    for (const auto& v : volumes) out.push_back(nameOf(v));
    return out;
  }
  std::string logText() const { return machine.text("/var/log/cvdiag.log"); }
  testsupport::MachineBuilder machine;
};

}  // namespace volumetest
