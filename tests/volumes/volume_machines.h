#pragma once
// Media objects for the volume tests' machine folders, in the JSON of
// machine.json. Each helper gives a plain object that a test adjusts.

#include <string>

#include <nlohmann/json.hpp>

namespace volumetest {

using nlohmann::json;

inline json url(const std::string& text) { return {{"$url", text}}; }
inline json uuid(const std::string& text) { return {{"$uuid", text}}; }
inline json data(const std::string& base64) { return {{"$data", base64}}; }

// A whole disk.
inline json wholeDisk(const std::string& bsdName, const std::string& mediaName, bool internal) {
  return {{"da",
           {{"DAMediaBSDName", bsdName},
            {"DAMediaWhole", true},
            {"DAMediaName", mediaName},
            {"DAMediaSize", 500107862016},
            {"DADeviceInternal", internal},
            {"DAMediaEjectable", !internal},
            {"DAMediaRemovable", false},
            {"DADeviceProtocol", internal ? "PCI-Express" : "USB"}}},
          {"io", {{"BSD Name", bsdName}, {"Whole", true}}}};
}

// A slice with a file system that is not mounted.
inline json slice(const std::string& bsdName, const std::string& volumeName, const std::string& kind) {
  return {{"da",
           {{"DAMediaBSDName", bsdName},
            {"DAMediaWhole", false},
            {"DAVolumeName", volumeName},
            {"DAVolumeKind", kind},
            {"DAVolumeMountable", true},
            {"DAMediaSize", 209715200},
            {"DADeviceInternal", true}}},
          {"io", {{"BSD Name", bsdName}, {"Whole", false}}}};
}

// A slice mounted at `mountPath` ("/Volumes/Data/" or "/"), with the resource
// values of its file system.
inline json mounted(json media, const std::string& mountPath, const std::string& format) {
  media["da"]["DAVolumePath"] = url("file://" + mountPath);
  media["volume"] = {{"resources",
                      {{"NSURLVolumeLocalizedNameKey", media["da"]["DAVolumeName"]},
                       {"NSURLVolumeLocalizedFormatDescriptionKey", format},
                       {"NSURLVolumeTotalCapacityKey", 1000000000000},
                       {"NSURLVolumeAvailableCapacityKey", 250000000000},
                       {"NSURLVolumeIsBrowsableKey", true}}},
                     {"statfs", {{"bsize", 4096}, {"blocks", 1000}, {"bfree", 250}, {"flags", 0}}}};
  return media;
}

}  // namespace volumetest
