// The recording holds raw tool outputs; this file turns them into what a
// machine folder holds. The mapping from diskutil and ioreg keys to Disk
// Arbitration and I/O registry facts is documented key by key in
// docs/machine-format.md ("Importing a recording"); keep the two together.
#include "machine_tool/recording_import.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "machine_tool/machine_json.h"
#include "machine_tool/stub_programs.h"
#include "platform/machine/property_list_codec.h"

extern char** environ;

namespace machine_tool {

namespace fs = std::filesystem;
using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

// Captures are read whole, however large: a recording of a large Mac must not
// lose facts to a limit.
constexpr std::size_t kMaxTextFile = std::numeric_limits<std::size_t>::max();
constexpr const char* kUnreadableFileError =
    "The file couldn’t be opened because you don’t have permission to view it.";

std::string textFile(const fs::path& path) {
  auto bytes = platform::machine::mapFile(path);
  return bytes && bytes->size() <= kMaxTextFile ? std::string(bytes->asStringView()) : std::string();
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

// Copies a plain file of the recording; a link or anything else is skipped,
// so that a recording cannot bring in files of the importing host.
void copyRecorded(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  if (!fs::is_regular_file(fs::symlink_status(from, ec))) return;
  fs::create_directories(to.parent_path());
  fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

void writeFile(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!out.flush()) throw fs::filesystem_error("cannot write", path, std::make_error_code(std::errc::io_error));
}

// A Mac path that stays inside the folder: absolute, no "." or ".." parts.
bool isSafeMacPath(const std::string& path) {
  if (path.empty() || path[0] != '/' || path.find('\0') != std::string::npos) return false;
  for (const auto& part : fs::path(path)) {
    if (part == "." || part == "..") return false;
  }
  return true;
}

// "disk" followed by digits and lower-case letters, as BSD names of disks are.
bool isDiskName(const std::string& name) {
  return name.size() > 4 && name.rfind("disk", 0) == 0 && std::isdigit(static_cast<unsigned char>(name[4])) &&
         std::all_of(name.begin() + 4, name.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); });
}

fs::path hostPath(const fs::path& folder, const std::string& macPath) {
  return folder / fs::path(macPath).relative_path();
}

const std::string* text(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v ? v->string() : nullptr;
}
std::optional<bool> boolean(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v ? v->boolean() : std::nullopt;
}
std::optional<std::int64_t> number(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v && v->isNumber() ? v->asInt64() : std::nullopt;
}

// How a command answered on the Mac: cvdiag-record keeps its standard output
// as FILE, its standard error as FILE.stderr and its exit status as
// FILE.status (a recording of the first format has only FILE).
struct Answer {
  bool recorded = false;
  int status = 0;
  std::string why{};  // the first line of standard error, or of an error dictionary
};

Answer answerOf(const fs::path& file) {
  Answer answer;
  std::error_code ec;
  fs::path status = file;
  status += ".status";
  fs::path err = file;
  err += ".stderr";
  answer.recorded = fs::exists(file, ec) || fs::exists(status, ec);
  if (fs::exists(status, ec)) {
    const std::string text = textFile(status);
    char* end = nullptr;
    long n = std::strtol(text.c_str(), &end, 10);
    answer.status = end != text.c_str() && n >= 0 && n < 256 ? static_cast<int>(n) : 1;
  }
  auto first = lines(textFile(err));
  if (!first.empty()) answer.why = first.front();
  return answer;
}

// The dictionary that diskutil prints instead of an answer ("Error",
// "ErrorMessage", "ExitCode"): its message, or nothing for any other value.
std::optional<std::string> errorAnswer(const Value& value) {
  const Dictionary* d = value.dictionary();
  if (!d || !platform::lookup(*d, "Error") || !platform::lookup(*d, "ErrorMessage")) return std::nullopt;
  const Value* message = platform::lookup(*d, "ErrorMessage");
  return message->string() ? *message->string() : std::string();
}

// Reads a whole capture, as large as memory allows.
platform::Result<Value> readCapture(const fs::path& path) { return platform::machine::readPropertyListFile(path); }

// One disk as the recording knows it.
struct Disk {
  std::string bsdName{};
  std::optional<Dictionary> info{};     // diskutil info -plist
  std::optional<Dictionary> io{};       // the IOMedia entry of ioreg
  std::vector<Dictionary> ioParents{};  // its ancestors, nearest first
  std::string mountPoint{};             // from the info's MountPoint
  bool infoRecorded = false;            // the info is diskutil's own, not list's stand-in
  int mountIndex = 0;                 // mounts/<n> of the recording, 0: none
};

class Importer {
 public:
  Importer(fs::path recording, fs::path folder) : rec_(std::move(recording)), out_(std::move(folder)) {}

  std::vector<std::string> run();

 private:
  std::optional<Value> plist(const std::string& relative, bool required);
  std::optional<Value> answerPlist(const std::string& relative, std::string* refused);
  void copyAnswer(const fs::path& from, const fs::path& to);
  void readDisks();
  void readIORegistry();
  void readMounts();
  Dictionary description(const Disk& disk);
  Dictionary registryFacts(const Disk& disk);
  nlohmann::ordered_json volumeFacts(const Disk& disk);
  void writeAnswerFiles();
  void writeHome();
  nlohmann::ordered_json recordingFacts();
  void problem(std::string line) { problems_.push_back(std::move(line)); }

  fs::path rec_;
  fs::path out_;
  std::string home_ = "/Users/user";
  std::vector<Disk> disks_;  // in the order of the I/O registry, then of diskutil
  std::map<std::string, std::string> roles_;  // BSD name → APFS role from "apfs list"
  std::map<std::string, std::uint64_t> mountFlags_;  // mount point → statfs flags
  nlohmann::ordered_json files_ = nlohmann::ordered_json::object();
  std::vector<std::string> problems_;
  nlohmann::ordered_json preferenceSources_ = nlohmann::ordered_json::object();
};

std::optional<Value> Importer::plist(const std::string& relative, bool required) {
  const fs::path path = rec_ / relative;
  std::error_code ec;
  if (!fs::exists(path, ec)) {
    if (required) problem(relative + ": not in the recording");
    return std::nullopt;
  }
  auto value = readCapture(path);
  if (!value) {
    problem(relative + ": no property list (" + value.error().localizedDescription + ")");
    return std::nullopt;
  }
  return std::move(value).value();
}

// A command's answer as a property list, or nothing when the command failed
// or printed an error dictionary; `refused` then says why, in a few words.
std::optional<Value> Importer::answerPlist(const std::string& relative, std::string* refused) {
  const Answer answer = answerOf(rec_ / relative);
  if (answer.status != 0) {
    *refused = "status " + std::to_string(answer.status);
    std::error_code ec;
    if (fs::exists(rec_ / relative, ec)) {
      if (auto value = readCapture(rec_ / relative); value) {
        if (auto message = errorAnswer(*value)) *refused += ": " + *message;
      }
    }
    if (refused->find(':') == std::string::npos && !answer.why.empty()) *refused += ": " + answer.why;
    return std::nullopt;
  }
  auto value = plist(relative, false);
  if (value) {
    if (auto message = errorAnswer(*value)) {
      *refused = "an error: " + *message;
      return std::nullopt;
    }
  }
  return value;
}

// A command's answer with its standard error and status beside it.
void Importer::copyAnswer(const fs::path& from, const fs::path& to) {
  for (const char* part : {"", ".stderr", ".status"}) {
    fs::path source = from, target = to;
    source += part;
    target += part;
    copyRecorded(source, target);
  }
}

void Importer::readDisks() {
  auto list = plist("diskutil/list.plist", true);
  const Dictionary* listed = list ? list->dictionary() : nullptr;
  const Value* all = listed ? platform::lookup(*listed, "AllDisks") : nullptr;
  if (list && !(all && all->array())) problem("diskutil/list.plist: no \"AllDisks\" array");
  // What "AllDisksAndPartitions" says of each disk: the stand-in for a missing info.
  std::map<std::string, Dictionary> byName;
  std::function<void(const Value&)> collect = [&](const Value& v) {
    if (const Array* a = v.array()) {
      for (const auto& e : *a) collect(e);
    } else if (const Dictionary* d = v.dictionary()) {
      if (const auto* id = text(*d, "DeviceIdentifier")) byName.emplace(*id, *d);
      if (const Value* inner = platform::lookup(*d, "Partitions")) collect(*inner);
      if (const Value* inner = platform::lookup(*d, "APFSVolumes")) {
        collect(*inner);
        for (const auto& v : inner->array() ? *inner->array() : Array{}) {
          const auto* id = v.dictionary() ? text(*v.dictionary(), "DeviceIdentifier") : nullptr;
          if (id) byName[*id]["FilesystemType"] = "apfs", byName[*id]["FilesystemName"] = "APFS",
                  byName[*id]["FilesystemUserVisibleName"] = "APFS";
        }
      }
    }
  };
  if (const Value* partitions = list && list->dictionary() ? platform::lookup(*list->dictionary(), "AllDisksAndPartitions") : nullptr)
    collect(*partitions);
  if (all && all->array()) {
    for (const auto& name : *all->array()) {
      if (!name.string() || !isDiskName(*name.string())) {
        problem("diskutil/list.plist: AllDisks: \"" + (name.string() ? *name.string() : "") + "\" is no disk name; skipped");
        continue;
      }
      Disk disk{.bsdName = *name.string()};
      const std::string relative = "diskutil/info/" + disk.bsdName + ".plist";
      const Answer answer = answerOf(rec_ / relative);
      std::string refused;
      auto info = answer.recorded ? answerPlist(relative, &refused) : std::nullopt;
      if (info && info->dictionary()) {
        disk.info = *info->dictionary();
        disk.infoRecorded = true;
      } else if (auto it = byName.find(disk.bsdName); it != byName.end()) {
        disk.info = it->second;
        (*disk.info)["WholeDisk"] = disk.bsdName.find('s', 4) == std::string::npos;
        const std::string why = !refused.empty() ? "diskutil info answered " + refused
                                : answer.recorded ? "diskutil info unusable"
                                                  : "no diskutil info";
        problem(disk.bsdName + ": " + why + "; Disk Arbitration facts from diskutil list alone");
      } else {
        problem(disk.bsdName + ": no diskutil info, and diskutil list says nothing of it");
      }
      if (disk.info) {
        if (const auto* mp = text(*disk.info, "MountPoint")) disk.mountPoint = *mp;
      }
      disks_.push_back(std::move(disk));
    }
  }
  std::string refused;
  if (auto apfs = answerPlist("diskutil/apfs-list.plist", &refused); apfs && apfs->dictionary()) {
    const Value* containers = platform::lookup(*apfs->dictionary(), "Containers");
    for (const auto& c : containers && containers->array() ? *containers->array() : Array{}) {
      const Value* volumes = c.dictionary() ? platform::lookup(*c.dictionary(), "Volumes") : nullptr;
      for (const auto& v : volumes && volumes->array() ? *volumes->array() : Array{}) {
        if (!v.dictionary()) continue;
        const auto* id = text(*v.dictionary(), "DeviceIdentifier");
        const Value* r = platform::lookup(*v.dictionary(), "Roles");
        if (id && r && r->array() && !r->array()->empty() && r->array()->front().string())
          roles_[*id] = *r->array()->front().string();
      }
    }
  }
}

// Every IOMedia object of the capture, in the order of its listing, with the
// entries above it. An entry is a media object when it has a "BSD Name" text
// and a "Whole" boolean, whatever its class (APFS volumes are subclasses).
void Importer::readIORegistry() {
  std::string refused;
  const Answer answer = answerOf(rec_ / "ioreg/media.plist");
  auto capture = answer.recorded && answer.status == 0 && fs::file_size(rec_ / "ioreg/media.plist") > 0
                     ? answerPlist("ioreg/media.plist", &refused)
                     : std::nullopt;
  if (!capture) {
    problem(std::string("ioreg/media.plist: ") +
            (answer.status != 0 ? "ioreg answered status " + std::to_string(answer.status)
             : answer.recorded  ? "unusable"
                                : "not in the recording") +
            "; the I/O registry facts come from diskutil alone");
    return;
  }
  std::vector<Disk> found;
  std::vector<Dictionary> chain;
  auto strip = [](Dictionary d) {
    d.erase("IORegistryEntryChildren");
    return d;
  };
  std::function<void(const Value&)> walk = [&](const Value& v) {
    if (const Array* a = v.array()) {
      for (const auto& e : *a) walk(e);
      return;
    }
    const Dictionary* d = v.dictionary();
    if (!d) return;
    const auto* bsd = text(*d, "BSD Name");
    if (bsd && boolean(*d, "Whole")) {
      Disk disk{.bsdName = *bsd, .io = strip(*d)};
      disk.ioParents.assign(chain.rbegin(), chain.rend());
      found.push_back(std::move(disk));
    }
    if (const Value* children = platform::lookup(*d, "IORegistryEntryChildren")) {
      chain.push_back(strip(*d));
      walk(*children);
      chain.pop_back();
    }
  };
  walk(*capture);

  // The registry's order; disks that only diskutil lists follow in its order.
  std::vector<Disk> ordered;
  std::set<std::string> seen;
  for (auto& media : found) {
    if (!seen.insert(media.bsdName).second) continue;
    auto it = std::find_if(disks_.begin(), disks_.end(), [&](const Disk& d) { return d.bsdName == media.bsdName; });
    if (it != disks_.end()) {
      media.info = std::move(it->info);
      media.infoRecorded = it->infoRecorded;
      media.mountPoint = it->mountPoint;
    } else {
      problem(media.bsdName + ": in ioreg but not in diskutil's AllDisks; no Disk Arbitration description");
    }
    ordered.push_back(std::move(media));
  }
  for (auto& disk : disks_) {
    if (seen.count(disk.bsdName)) continue;
    problem(disk.bsdName + ": not in ioreg/media.plist; its I/O registry facts come from diskutil");
    ordered.push_back(std::move(disk));
  }
  disks_ = std::move(ordered);
}

// The flags of `mount`'s lines "<device> on <path> (<type>, <flag>, …)".
void Importer::readMounts() {
  static const std::map<std::string, std::uint64_t> kFlags = {
      {"read-only", 0x1},         {"synchronous", 0x2},     {"noexec", 0x4},     {"nosuid", 0x8},
      {"nodev", 0x10},            {"union", 0x20},          {"asynchronous", 0x40}, {"quarantine", 0x400},
      {"local", 0x1000},          {"with quotas", 0x2000},  {"nobrowse", 0x100000}, {"noowners", 0x200000},
      {"automounted", 0x400000},  {"journaled", 0x800000},  {"defwrite", 0x2000000}, {"multilabel", 0x4000000},
      {"noatime", 0x10000000}};
  if (!fs::exists(rec_ / "mount.txt")) {
    problem("mount.txt: not in the recording; mount flags come from diskutil's WritableVolume alone");
    return;
  }
  for (const auto& line : lines(textFile(rec_ / "mount.txt"))) {
    auto on = line.find(" on ");
    auto open = line.rfind(" (");
    if (on == std::string::npos || open == std::string::npos || open < on || line.back() != ')') continue;
    std::string path = line.substr(on + 4, open - on - 4);
    std::uint64_t flags = 0;
    std::istringstream names(line.substr(open + 2, line.size() - open - 3));
    bool first = true;
    for (std::string name; std::getline(names, name, ',');) {
      while (!name.empty() && name.front() == ' ') name.erase(name.begin());
      if (!first) {
        if (auto it = kFlags.find(name); it != kFlags.end()) flags |= it->second;
      }
      first = false;  // the first item is the file system type
    }
    mountFlags_[path] = flags;
  }
}

Dictionary Importer::description(const Disk& disk) {
  Dictionary da;
  da["DAMediaBSDName"] = disk.bsdName;
  // The number of "disk<N>…".
  std::size_t digits = 4;
  while (digits < disk.bsdName.size() && std::isdigit(static_cast<unsigned char>(disk.bsdName[digits]))) ++digits;
  if (digits > 4 && digits - 4 < 10) da["DAMediaBSDUnit"] = std::stoll(disk.bsdName.substr(4, digits - 4));
  da["DAMediaKind"] = "IOMedia";
  da["DAVolumeNetwork"] = false;
  static const Dictionary kNone;
  const Dictionary& info = disk.info ? *disk.info : kNone;
  const Dictionary& io = disk.io ? *disk.io : kNone;
  // Each fact from diskutil's key, else from the I/O registry's; a missing
  // one is a problem only where diskutil's own info was recorded.
  auto copy = [&](const char* to, const char* from, const char* ioKey, bool isBool) {
    const Value* v = platform::lookup(info, from);
    if (!v || (isBool ? !v->isBoolean() : !v->isNumber())) v = platform::lookup(io, ioKey);
    if (v && (isBool ? v->isBoolean() : v->isNumber())) da[to] = *v;
    else if (disk.infoRecorded) problem(disk.bsdName + ": " + to + ": diskutil info has no \"" + from + "\"");
  };
  copy("DAMediaWhole", "WholeDisk", "Whole", true);
  copy("DAMediaEjectable", "Ejectable", "Ejectable", true);
  copy("DAMediaRemovable", "RemovableMedia", "Removable", true);
  copy("DAMediaSize", "Size", "Size", false);
  copy("DAMediaBlockSize", "DeviceBlockSize", "Preferred Block Size", false);
  if (auto internal = boolean(info, "Internal")) {
    da["DADeviceInternal"] = *internal;
  } else {
    // The device's "Protocol Characteristics" above the media object.
    for (const auto& parent : disk.ioParents) {
      const Value* pc = platform::lookup(parent, "Protocol Characteristics");
      const auto* where = pc && pc->dictionary() ? text(*pc->dictionary(), "Physical Interconnect Location") : nullptr;
      const auto* bus = pc && pc->dictionary() ? text(*pc->dictionary(), "Physical Interconnect") : nullptr;
      if (where) da["DADeviceInternal"] = *where == "Internal";
      if (bus && !platform::lookup(info, "BusProtocol")) da["DADeviceProtocol"] = *bus;
      if (where) break;
    }
  }
  if (!platform::lookup(info, "Content"))
    if (const auto* content = text(io, "Content")) da["DAMediaContent"] = *content;
  if (!platform::lookup(info, "IORegistryEntryName"))
    if (const auto* name = text(io, "IORegistryEntryName")) da["DAMediaName"] = *name;
  if (const auto* content = text(info, "Content")) da["DAMediaContent"] = *content;
  if (const auto* name = text(info, "IORegistryEntryName")) da["DAMediaName"] = *name;
  if (const auto* uuid = text(info, "DiskUUID"); uuid && platform::UUID::fromString(*uuid))
    da["DAMediaUUID"] = *platform::UUID::fromString(*uuid);
  if (const auto* bus = text(info, "BusProtocol")) da["DADeviceProtocol"] = *bus;
  // The device model is the whole disk's media name; slices have none of their own.
  const std::string* parent = text(info, "ParentWholeDisk");
  for (const auto& other : disks_) {
    if (other.info && parent && other.bsdName == *parent) {
      if (const auto* model = text(*other.info, "MediaName"); model && !model->empty()) da["DADeviceModel"] = *model;
    }
  }
  const auto* kind = text(info, "FilesystemType");
  if (kind && !kind->empty()) {
    da["DAVolumeKind"] = *kind;
    da["DAVolumeMountable"] = true;
    if (const auto* type = text(info, "FilesystemName")) da["DAVolumeType"] = *type;
  }
  if (const auto* name = text(info, "VolumeName"); name && !name->empty()) da["DAVolumeName"] = *name;
  if (const auto* uuid = text(info, "VolumeUUID"); uuid && platform::UUID::fromString(*uuid))
    da["DAVolumeUUID"] = *platform::UUID::fromString(*uuid);
  if (!disk.mountPoint.empty()) da["DAVolumePath"] = platform::URL::fileURLWithPath(disk.mountPoint, true);
  return da;
}

// The I/O registry entry as recorded; without one, the facts that CVDiag
// reads, from diskutil.
Dictionary Importer::registryFacts(const Disk& disk) {
  Dictionary io = disk.io ? *disk.io : Dictionary{};
  // A CoreStorage logical volume, and its encryption, as diskutil tells them.
  if (disk.info && disk.infoRecorded) {
    if (!platform::lookup(io, "CoreStorage") && text(*disk.info, "CoreStorageLVUUID")) io["CoreStorage"] = true;
    if (auto encrypted = boolean(*disk.info, "CoreStorageEncrypted"); encrypted && !platform::lookup(io, "CoreStorage Encrypted"))
      io["CoreStorage Encrypted"] = *encrypted;
  }
  if (disk.io) return io;
  io["BSD Name"] = disk.bsdName;
  if (!disk.info) return io;
  if (auto whole = boolean(*disk.info, "WholeDisk")) io["Whole"] = *whole;
  if (auto it = roles_.find(disk.bsdName); it != roles_.end()) io["Role"] = Array{Value(it->second)};
  if (const auto* group = text(*disk.info, "APFSVolumeGroupID")) io["VolGroupUUID"] = *group;
  if (auto encrypted = boolean(*disk.info, "Encryption")) io["Encrypted"] = *encrypted;
  if (const Value* role = platform::lookup(io, "Role"); role && *role == Value(Array{Value("System")})) {
    for (const auto& other : disks_) {
      if (other.bsdName == disk.bsdName + "s1") io["VolGroupMntFromName"] = "/dev/" + other.bsdName;
    }
  }
  return io;
}

nlohmann::ordered_json Importer::volumeFacts(const Disk& disk) {
  nlohmann::ordered_json volume = nlohmann::ordered_json::object();
  if (!disk.info) return volume;
  const Dictionary& info = *disk.info;
  Dictionary resources;
  if (const auto* name = text(info, "VolumeName")) {
    resources["NSURLVolumeNameKey"] = *name;
    resources["NSURLVolumeLocalizedNameKey"] = *name;
  }
  if (const auto* uuid = text(info, "VolumeUUID")) resources["NSURLVolumeUUIDStringKey"] = *uuid;
  const auto* format = text(info, "FilesystemUserVisibleName");
  if (!format) format = text(info, "FilesystemName");
  if (format) resources["NSURLVolumeLocalizedFormatDescriptionKey"] = *format;
  auto total = number(info, "APFSContainerSize");
  if (!total) total = number(info, "TotalSize");
  if (!total) total = number(info, "Size");
  auto available = number(info, "APFSContainerFree");
  if (!available) available = number(info, "FreeSpace");
  if (total) resources["NSURLVolumeTotalCapacityKey"] = *total;
  if (available) resources["NSURLVolumeAvailableCapacityKey"] = *available;
  if (auto ejectable = boolean(info, "Ejectable")) resources["NSURLVolumeIsEjectableKey"] = *ejectable;
  if (auto internal = boolean(info, "Internal")) resources["NSURLVolumeIsInternalKey"] = *internal;
  if (auto writable = boolean(info, "WritableVolume")) resources["NSURLVolumeIsReadOnlyKey"] = !*writable;

  std::optional<std::uint64_t> flags;
  if (auto it = mountFlags_.find(disk.mountPoint); it != mountFlags_.end()) {
    flags = it->second;
  } else if (auto writable = boolean(info, "WritableVolume")) {
    flags = *writable ? 0 : 1;
    if (!mountFlags_.empty()) problem(disk.bsdName + ": statfs.flags: " + disk.mountPoint + " is not in mount.txt");
  }
  if (flags) {
    resources["NSURLVolumeIsBrowsableKey"] = (*flags & 0x100000) == 0;
    resources["NSURLVolumeIsJournalingKey"] = (*flags & 0x800000) != 0;
    auto bsize = number(info, "VolumeAllocationBlockSize");
    if (!bsize || *bsize <= 0) bsize = number(info, "DeviceBlockSize");
    if (!bsize || *bsize <= 0) bsize = 4096;
    volume["statfs"] = {{"bsize", *bsize},
                        {"blocks", total && *total > 0 ? *total / *bsize : 0},
                        {"bfree", available && *available > 0 ? *available / *bsize : 0},
                        {"flags", *flags}};
  }
  volume["resources"] = machine_tool::toJSON(Value(resources));
  if (disk.mountIndex) {
    std::string device = textFile(rec_ / "mounts" / std::to_string(disk.mountIndex) / "device.txt");
    char* end = nullptr;
    long long n = std::strtoll(device.c_str(), &end, 10);
    if (!device.empty() && end && (*end == '\n' || *end == '\0') && end != device.c_str()) volume["device"] = n;
    else problem(disk.bsdName + ": device: no number in mounts/" + std::to_string(disk.mountIndex) + "/device.txt");
  }
  return volume;
}

// The answer files of the stub diskutil and tmutil, and the stubs themselves.
void Importer::writeAnswerFiles() {
  const fs::path diskutil = out_ / "usr/sbin/diskutil.d";
  fs::create_directories(diskutil / "info");
  for (const char* name : {"list.plist", "apfs-listVolumeGroups.plist", "listFileSystems.plist"}) {
    if (answerOf(rec_ / "diskutil" / name).recorded) copyAnswer(rec_ / "diskutil" / name, diskutil / name);
    else problem(std::string("diskutil/") + name + ": not in the recording; diskutil will not answer that question");
  }
  std::string mounts;
  // One line a disk, "<disk>|<mount point>|<name>": a name with "|" or a line
  // feed is left out, a mount point with them leaves the disk unmountable.
  auto plain = [](const std::string& t) { return t.find_first_of("|\n") == std::string::npos; };
  for (const auto& disk : disks_) {
    const auto* name = disk.info ? text(*disk.info, "VolumeName") : nullptr;
    const std::string mount = plain(disk.mountPoint) ? disk.mountPoint : "";
    if (!plain(disk.bsdName)) continue;
    mounts += disk.bsdName + "|" + mount + "|" + (mount.empty() || !name || !plain(*name) ? "" : *name) + "\n";
  }
  // Every answer of diskutil info, also an error answer: the stub replays it.
  for (const auto& disk : disks_) {
    const fs::path info = rec_ / "diskutil/info" / (disk.bsdName + ".plist");
    if (isDiskName(disk.bsdName) && answerOf(info).recorded)
      copyAnswer(info, diskutil / "info" / (disk.bsdName + ".plist"));
  }
  writeFile(diskutil / "mounts", mounts);

  const fs::path tmutil = out_ / "usr/bin/tmutil.d";
  fs::create_directories(tmutil / "snapshots");
  std::string excluded;
  for (const auto& disk : disks_) {
    if (!disk.mountIndex) continue;
    const fs::path m = rec_ / "mounts" / std::to_string(disk.mountIndex);
    std::string key = disk.mountPoint.size() > 1 && disk.mountPoint.back() == '/'
                          ? disk.mountPoint.substr(0, disk.mountPoint.size() - 1)
                          : disk.mountPoint;
    std::replace(key.begin(), key.end(), '/', '_');
    // The answers as the Mac gave them, which the stub replays.
    for (const char* question : {"isexcluded", "listlocalsnapshots"}) {
      const fs::path answer = m / (std::string(question) + ".txt");
      if (answerOf(answer).recorded) copyAnswer(answer, tmutil / question / key);
    }
    const Answer excludedAnswer = answerOf(m / "isexcluded.txt");
    if (!excludedAnswer.recorded || excludedAnswer.status != 0) {
      problem(disk.mountPoint + ": no answer of tmutil isexcluded; taken as included");
    } else {
      auto answer = lines(textFile(m / "isexcluded.txt"));
      if (!answer.empty() && answer[0].find("[Excluded]") != std::string::npos) excluded += disk.mountPoint + "\n";
    }
    std::string snapshots;
    for (const auto& line : lines(textFile(m / "listlocalsnapshots.txt"))) {
      if (!line.empty() && line.rfind("Snapshots for ", 0) != 0) snapshots += line + "\n";
    }
    if (!snapshots.empty()) writeFile(tmutil / "snapshots" / key, snapshots);
  }
  writeFile(tmutil / "excluded", excluded);
  writeFile(out_ / "usr/sbin/diskutil", kDiskutilStub);
  writeFile(out_ / "usr/bin/tmutil", kTmutilStub);
  for (const char* stub : {"usr/sbin/diskutil", "usr/bin/tmutil"})
    fs::permissions(out_ / stub, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                     fs::perms::others_read | fs::perms::others_exec);
}

// Corvane's preferences with the registry's bookmarks re-encoded, and the
// settings folder with its files' dates.
void Importer::writeHome() {
  bool any = false;
  for (const std::string domain : {"com.tamarlin.Corvane", "com.tamarlin.Corvane!"}) {
    // The domain as the defaults system gave it when that held a key, else
    // the file, else the file in the sandbox container.
    std::string relative, source;
    std::string refused;
    auto exported = answerOf(rec_ / ("defaults/" + domain + ".plist")).status == 0
                        ? answerPlist("defaults/" + domain + ".plist", &refused)
                        : std::nullopt;
    if (exported && exported->dictionary() && !exported->dictionary()->empty()) {
      relative = "defaults/" + domain + ".plist";
      source = "defaults export " + domain + " -";
    } else {
      for (const std::string& place : {std::string("/Library/Preferences/"), "/Library/Containers/" + domain + "/Data/Library/Preferences/"}) {
        if (relative.empty() && fs::exists(rec_ / ("home" + place + domain + ".plist"))) {
          relative = "home" + place + domain + ".plist";
          source = "~" + place + domain + ".plist";
        }
      }
    }
    if (relative.empty()) continue;
    any = true;
    preferenceSources_[domain] = source;
    auto prefs = plist(relative, true);
    const fs::path target = hostPath(out_, home_ + "/Library/Preferences/" + domain + ".plist");
    fs::create_directories(target.parent_path());
    if (!prefs || !prefs->dictionary()) {
      if (prefs) problem(relative + ": no dictionary; copied as it is");
      copyRecorded(rec_ / relative, target);
      continue;
    }
    Dictionary values = *prefs->dictionary();
    std::string failed;
    auto resolved = answerPlist("bookmarks/" + domain + ".plist", &failed);
    if (!failed.empty()) problem("bookmarks/" + domain + ".plist: the bookmark step answered " + failed);
    const Dictionary* byGUID = resolved ? resolved->dictionary() : nullptr;
    const Value* registry = platform::lookup(values, "CVDiskKnownVolumes");
    if (registry && registry->dictionary()) {
      Dictionary known = *registry->dictionary();
      for (auto& [guid, bookmark] : known) {
        const Value* entry = byGUID ? platform::lookup(*byGUID, guid) : nullptr;
        if (!entry || !entry->dictionary() || entry->dictionary()->empty()) {
          problem("registry entry " + guid + ": the Mac's bookmark resolution gave nothing; it reads as an unreadable bookmark");
          continue;
        }
        auto encoded = platform::machine::encodePropertyList(*entry, platform::PropertyListFormat::XML);
        if (encoded) bookmark = encoded.value();
      }
      values["CVDiskKnownVolumes"] = std::move(known);
    }
    auto original = platform::machine::mapFile(rec_ / relative);
    bool binary = original && original->asStringView().rfind("bplist", 0) == 0;
    auto bytes = platform::machine::encodePropertyList(
        Value(values), binary ? platform::PropertyListFormat::Binary : platform::PropertyListFormat::XML);
    if (bytes) writeFile(target, bytes->asStringView());
    else problem(relative + ": could not be written again (" + bytes.error().localizedDescription + ")");
  }
  if (!any) problem("no preferences file of Corvane in the recording; CVDiag will find no registry");

  const fs::path settings = rec_ / "settings";
  if (!fs::is_directory(settings)) return;
  const std::string macBase = home_ + "/Library/Application Support/Corvane!";
  const fs::path target = hostPath(out_, macBase);
  fs::create_directories(target);
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(settings, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    const fs::path relative = it->path().lexically_relative(settings);
    auto status = it->symlink_status();
    if (fs::is_directory(status)) {
      fs::create_directories(target / relative);
    } else if (fs::is_regular_file(status)) {
      copyRecorded(it->path(), target / relative);
    }
  }
  // settings-dates/<path>: "<created> <modified>" as stat printed them.
  const fs::path dates = rec_ / "settings-dates";
  for (auto it = fs::recursive_directory_iterator(dates, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    if (!fs::is_regular_file(it->symlink_status())) continue;
    const std::string relative = it->path().lexically_relative(dates).generic_string();
    std::istringstream in(textFile(it->path()));
    std::string created, modified;
    in >> created >> modified;
    nlohmann::ordered_json entry = nlohmann::ordered_json::object();
    if (platform::Date::fromISO8601(created)) entry["created"] = {{"$date", created}};
    if (platform::Date::fromISO8601(modified)) entry["modified"] = {{"$date", modified}};
    if (entry.empty()) problem("settings-dates/" + relative + ": no dates");
    // A file the Mac would not let the user read: an empty file whose reads fail.
    if (!fs::exists(settings / relative)) {
      writeFile(target / relative, "");
      entry["error"] = kUnreadableFileError;
    }
    files_[macBase + "/" + relative] = entry;
  }
}

// What the recording says of itself, kept in machine.json (CVDiag ignores
// the key; describe prints it): when it was made, what it holds and leaves
// out as the script told the user, and where Corvane's preferences came from.
nlohmann::ordered_json Importer::recordingFacts() {
  nlohmann::ordered_json facts = nlohmann::ordered_json::object();
  for (const auto& line : lines(textFile(rec_ / "recording.txt"))) {
    if (line.rfind("recorded ", 0) == 0) facts["recorded"] = line.substr(9);
  }
  std::string section;
  for (const auto& line : lines(textFile(rec_ / "contents.txt"))) {
    if (line == "It holds:") section = "holds";
    else if (line == "It leaves out:") section = "leavesOut";
    else if (section.empty() || line.size() < 5) continue;
    else if (line.rfind("  - ", 0) == 0) facts[section].push_back(line.substr(4));
    else if (facts.contains(section)) facts[section].back() = facts[section].back().get<std::string>() + " " + line.substr(4);
  }
  if (!preferenceSources_.empty()) facts["preferences"] = preferenceSources_;
  // What the Mac could not answer, as the manifest lists it.
  if (fs::exists(rec_ / "manifest.txt")) {
    facts["lacked"] = nlohmann::ordered_json::array();
    for (const auto& line : lines(textFile(rec_ / "manifest.txt")))
      if (!line.empty() && line.rfind("used ", 0) != 0) facts["lacked"].push_back(line);
  }
  return facts;
}

std::vector<std::string> Importer::run() {
  for (const auto& line : lines(textFile(rec_ / "recording.txt"))) {
    if (line.rfind("home ", 0) == 0) home_ = line.substr(5);
  }
  if (!isSafeMacPath(home_)) {
    problem("recording.txt: home \"" + home_ + "\" is no absolute path; /Users/user instead");
    home_ = "/Users/user";
  }
  readDisks();
  readIORegistry();
  readMounts();
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(rec_ / "mounts", ec)) {
    std::string disk = textFile(entry.path() / "disk");
    if (!disk.empty() && disk.back() == '\n') disk.pop_back();
    int index = std::atoi(entry.path().filename().c_str());
    for (auto& d : disks_) {
      if (d.bsdName == disk && !d.mountPoint.empty()) d.mountIndex = index;
    }
  }
  // A sealed system volume and its snapshot both name "/": the snapshot is the mounted one.
  for (auto& disk : disks_) {
    for (const auto& other : disks_) {
      if (!disk.mountPoint.empty() && other.bsdName.rfind(disk.bsdName + "s", 0) == 0 &&
          other.mountPoint == disk.mountPoint)
        disk.mountPoint.clear(), disk.mountIndex = 0;
    }
    if (!disk.mountPoint.empty() && !isSafeMacPath(disk.mountPoint)) {
      problem(disk.bsdName + ": mount point \"" + disk.mountPoint + "\" is no plain absolute path; left unmounted");
      disk.mountPoint.clear();
      disk.mountIndex = 0;
    }
  }

  fs::create_directories(out_);
  nlohmann::ordered_json machine = nlohmann::ordered_json::object();
  machine["home"] = home_;
  nlohmann::ordered_json media = nlohmann::ordered_json::array();
  for (const auto& disk : disks_) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["da"] = toJSON(Value(description(disk)));
    object["io"] = toJSON(Value(registryFacts(disk)));
    if (!disk.ioParents.empty()) {
      Array parents(disk.ioParents.begin(), disk.ioParents.end());
      object["ioParents"] = toJSON(Value(parents));
    }
    if (!disk.mountPoint.empty()) {
      object["volume"] = volumeFacts(disk);
      fs::create_directories(hostPath(out_, disk.mountPoint));
      if (disk.mountIndex) {
        const fs::path version = rec_ / "mounts" / std::to_string(disk.mountIndex) / "SystemVersion.plist";
        if (fs::exists(version)) {
          copyRecorded(version, hostPath(out_, disk.mountPoint) / "System/Library/CoreServices/SystemVersion.plist");
        }
      }
      // A Mac lists its boot volume in /Volumes as a link to "/".
      const auto* name = disk.info ? text(*disk.info, "VolumeName") : nullptr;
      if (disk.mountPoint == "/" && name && !name->empty() && name->find('/') == std::string::npos &&
          *name != "." && *name != "..") {
        fs::create_directories(out_ / "Volumes");
        std::error_code ec;
        fs::create_directory_symlink("..", out_ / "Volumes" / *name, ec);
      }
    }
    media.push_back(std::move(object));
  }
  machine["media"] = std::move(media);
  const fs::path rootVersion = out_ / "System/Library/CoreServices/SystemVersion.plist";
  if (fs::exists(rec_ / "SystemVersion.plist") && !fs::exists(rootVersion)) {
    copyRecorded(rec_ / "SystemVersion.plist", rootVersion);
  }
  writeAnswerFiles();
  writeHome();
  if (!files_.empty()) machine["files"] = files_;
  machine["recording"] = recordingFacts();
  writeFile(out_ / "machine.json", machine.dump(2) + "\n");

  for (const auto& line : lines(textFile(rec_ / "manifest.txt")))
    if (!line.empty() && line.rfind("used ", 0) != 0) problem("not recorded on the Mac: " + line);
  return problems_;
}

// Runs the system's tar to unpack the archive into `into`.
std::optional<std::string> unpack(const fs::path& archive, const fs::path& into) {
  std::vector<std::string> args = {"tar", "-xzf", archive.string(), "-C", into.string()};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  // tar's own complaints would only repeat the one line given back.
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int spawned = posix_spawnp(&pid, "tar", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return "cannot run tar";
  int status = 0;
  if (waitpid(pid, &status, 0) < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    return "tar could not unpack it";
  return std::nullopt;
}

}  // namespace

std::variant<std::vector<std::string>, std::string> importRecording(const fs::path& recording,
                                                                   const fs::path& folder) {
  std::error_code ec;
  const std::string name = recording.string();
  if (fs::exists(folder, ec) && !(fs::is_directory(folder, ec) && fs::is_empty(folder, ec)))
    return folder.string() + ": exists and is not empty; give a new folder";
  fs::path root = recording;
  std::optional<fs::path> scratch;
  if (fs::is_regular_file(recording, ec)) {
    std::string pattern = (fs::temp_directory_path(ec) / "cvdiag-machine.XXXXXX").string();
    if (!mkdtemp(pattern.data())) return name + ": cannot make a temporary folder to unpack it";
    scratch = pattern;
    if (auto error = unpack(recording, *scratch)) {
      fs::remove_all(*scratch, ec);
      return name + ": " + *error;
    }
    root = *scratch;
  } else if (!fs::is_directory(recording, ec)) {
    return name + ": no such recording";
  }
  // The archive holds one folder, cvdiag-recording-<host>-<date>.
  if (!fs::exists(root / "recording.txt")) {
    for (const auto& entry : fs::directory_iterator(root, ec)) {
      if (entry.is_directory() && fs::exists(entry.path() / "recording.txt")) root = entry.path();
    }
  }
  std::variant<std::vector<std::string>, std::string> result;
  if (!fs::exists(root / "recording.txt")) {
    result = name + ": no recording of cvdiag-record (recording.txt is missing)";
  } else {
    try {
      result = Importer(root, folder).run();
    } catch (const std::exception& e) {
      result = folder.string() + ": " + e.what();
    }
  }
  if (scratch) fs::remove_all(*scratch, ec);
  return result;
}

}  // namespace machine_tool
