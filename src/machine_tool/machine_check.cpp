#include "machine_tool/machine_check.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "platform/machine/machine.h"
#include "platform/machine/property_list_codec.h"

namespace machine_tool {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Value;
using platform::machine::Machine;

namespace {

const char* const kDomains[] = {"com.tamarlin.Corvane", "com.tamarlin.Corvane!"};

// The loader's error names the file by its host path; faults name it by its
// place in the folder.
std::string relativeError(const std::string& error, const fs::path& file) {
  const std::string prefix = file.string() + ": ";
  return error.rfind(prefix, 0) == 0 ? "machine.json: " + error.substr(prefix.size()) : error;
}

// The loader stops at its first fault. To name them all, each part of the
// document (a top-level key, one key of one media object, one file entry) is
// loaded alone from a scratch folder, and its place put back.
std::vector<std::string> machineFileFaults(const fs::path& folder, const std::string& firstError) {
  std::vector<std::string> faults;
  std::ifstream in(folder / "machine.json", std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  nlohmann::json document = nlohmann::json::parse(buffer.str(), nullptr, false);
  if (document.is_discarded() || !document.is_object()) return {relativeError(firstError, folder / "machine.json")};

  std::string pattern = (fs::temp_directory_path() / "cvdiag-check.XXXXXX").string();
  if (!mkdtemp(pattern.data())) return {relativeError(firstError, folder / "machine.json")};
  const fs::path scratch = pattern;
  std::set<std::string> seen;
  auto load = [&](const nlohmann::json& part, const std::string& from, const std::string& to) {
    std::ofstream(scratch / "machine.json", std::ios::trunc) << part.dump();
    auto loaded = platform::machine::loadMachine(scratch);
    if (auto* error = std::get_if<std::string>(&loaded)) {
      std::string line = relativeError(*error, scratch / "machine.json");
      if (!from.empty()) {
        if (auto at = line.find(from); at != std::string::npos) line.replace(at, from.size(), to);
      }
      if (seen.insert(line).second) faults.push_back(line);
    }
  };
  for (const auto& [key, value] : document.items()) {
    if (key == "media" && value.is_array()) {
      for (std::size_t i = 0; i < value.size(); ++i) {
        const std::string place = "media[" + std::to_string(i) + "]";
        if (!value[i].is_object()) {
          load({{"media", {value[i]}}}, "media[0]", place);
          continue;
        }
        for (const auto& [member, content] : value[i].items())
          load({{"media", {{{member, content}}}}}, "media[0]", place);
      }
    } else if (key == "files" && value.is_object()) {
      for (const auto& [path, entry] : value.items()) load({{"files", {{path, entry}}}}, "", "");
    } else {
      load({{key, value}}, "", "");
    }
  }
  std::error_code ec;
  fs::remove_all(scratch, ec);
  if (faults.empty()) faults.push_back(relativeError(firstError, folder / "machine.json"));
  return faults;
}

// The documented type of each Disk Arbitration key that CVDiag reads.
enum class Type { Text, Boolean, Number, URL, UUID };
const std::map<std::string, Type>& daTypes() {
  static const std::map<std::string, Type> types = {
      {"DAVolumeKind", Type::Text},        {"DAVolumeMountable", Type::Boolean}, {"DAVolumeName", Type::Text},
      {"DAVolumeNetwork", Type::Boolean},  {"DAVolumePath", Type::URL},          {"DAVolumeType", Type::Text},
      {"DAVolumeUUID", Type::UUID},        {"DAMediaBlockSize", Type::Number},   {"DAMediaBSDName", Type::Text},
      {"DAMediaBSDUnit", Type::Number},    {"DAMediaContent", Type::Text},       {"DAMediaEjectable", Type::Boolean},
      {"DAMediaKind", Type::Text},         {"DAMediaName", Type::Text},          {"DAMediaRemovable", Type::Boolean},
      {"DAMediaSize", Type::Number},       {"DAMediaUUID", Type::UUID},          {"DAMediaWhole", Type::Boolean},
      {"DADeviceInternal", Type::Boolean}, {"DADeviceModel", Type::Text},        {"DADeviceProtocol", Type::Text},
      {"DABusName", Type::Text}};
  return types;
}

bool hasType(const Value& v, Type t) {
  switch (t) {
    case Type::Text: return v.isString();
    case Type::Boolean: return v.isBoolean();
    case Type::Number: return v.isNumber();
    case Type::URL: return v.url() != nullptr;
    case Type::UUID: return v.uuid() != nullptr;
  }
  return false;
}

const char* typeName(Type t) {
  switch (t) {
    case Type::Text: return "text";
    case Type::Boolean: return "a boolean";
    case Type::Number: return "a number";
    case Type::URL: return "a URL ({\"$url\": …})";
    case Type::UUID: return "a UUID ({\"$uuid\": …})";
  }
  return "";
}

void mediaFaults(const Machine& machine, std::vector<std::string>& faults) {
  std::map<std::string, std::size_t> names;
  for (std::size_t i = 0; i < machine.media.size(); ++i) {
    const auto& media = machine.media[i];
    const std::string place = "machine.json: media[" + std::to_string(i) + "]";
    if (!media.da) {
      faults.push_back(place + ".da: missing (the disk has no Disk Arbitration description)");
      continue;
    }
    for (const auto& [key, type] : daTypes()) {
      const Value* v = platform::lookup(*media.da, key);
      if (v && !hasType(*v, type))
        faults.push_back(place + ".da." + key + ": expected " + typeName(type) + " (another type counts as missing)");
    }
    auto name = media.bsdName();
    if (!name) {
      faults.push_back(place + ".da.DAMediaBSDName: missing");
      continue;
    }
    if (auto [it, added] = names.emplace(*name, i); !added)
      faults.push_back(place + ".da.DAMediaBSDName: \"" + *name + "\" is also media[" + std::to_string(it->second) +
                       "]'s; only the first answers");
    if (media.io) {
      const Value* bsd = platform::lookup(*media.io, "BSD Name");
      if (bsd && bsd->string() && *bsd->string() != *name)
        faults.push_back(place + ".io.BSD Name: \"" + *bsd->string() + "\" differs from DAMediaBSDName \"" + *name + "\"");
    }
    if (media.volume && !media.mountPath())
      faults.push_back(place + ".volume: the disk has no DAVolumePath, so these facts are never read");
  }
}

// A property list of the folder: the fault when it does not read as the kind.
std::optional<Value> readPlist(const fs::path& folder, const std::string& relative, std::vector<std::string>& faults,
                               bool wantDictionary) {
  auto value = platform::machine::readPropertyListFile(folder / relative);
  if (!value) {
    faults.push_back(relative + ": no property list (" + value.error().localizedDescription + ")");
    return std::nullopt;
  }
  if (wantDictionary && !value->dictionary()) {
    faults.push_back(relative + ": expected a dictionary at the top");
    return std::nullopt;
  }
  return std::move(value).value();
}

// How the recorded Mac answered the question of FILE (see the stub
// programs): nothing when FILE holds a plain answer to be checked; otherwise
// it was a fault or a note, and is counted there.
bool answeredWithError(const fs::path& folder, const std::string& relative, CheckFindings& found) {
  const fs::path file = folder / relative;
  fs::path statusFile = file, errFile = file;
  statusFile += ".status";
  errFile += ".stderr";
  std::error_code ec;
  if (!fs::exists(statusFile, ec)) return false;
  std::ifstream in(statusFile);
  int status = -1;
  std::string rest;
  if (!(in >> status) || (in >> rest) || status < 0 || status > 255) {
    found.faults.push_back(relative + ".status: expected the exit status, a number from 0 to 255");
    return true;
  }
  if (status == 0) return false;
  // What the Mac said: diskutil's error dictionary, else the first line on standard error.
  std::string why;
  if (fs::exists(file, ec) && fs::file_size(file, ec) > 0) {
    auto value = platform::machine::readPropertyListFile(file);
    const Dictionary* d = value ? value->dictionary() : nullptr;
    const Value* message = d ? platform::lookup(*d, "ErrorMessage") : nullptr;
    if (message && message->string()) why = *message->string();
  }
  std::ifstream err(errFile);
  if (why.empty()) std::getline(err, why);
  found.notes.push_back(relative + ": the Mac answered with status " + std::to_string(status) +
                        (why.empty() ? "" : " (“" + why + "”)") + "; it is replayed so");
  return true;
}

void programFaults(const fs::path& folder, CheckFindings& found) {
  std::vector<std::string>& faults = found.faults;
  for (const char* program : {"usr/sbin/diskutil", "usr/bin/tmutil"}) {
    if (!fs::exists(folder / program)) faults.push_back(std::string(program) + ": missing; CVDiag cannot ask it");
    else if (access((folder / program).c_str(), X_OK) != 0) faults.push_back(std::string(program) + ": not executable");
  }
  const std::string d = "usr/sbin/diskutil.d";
  if (!fs::is_directory(folder / d)) return;  // another kind of program answers
  if (answeredWithError(folder, d + "/list.plist", found)) {
  } else if (auto list = readPlist(folder, d + "/list.plist", faults, true)) {
    const Value* all = platform::lookup(*list->dictionary(), "AllDisks");
    if (!all || !all->array()) {
      faults.push_back(d + "/list.plist: AllDisks: missing or no array");
    } else {
      for (const auto& disk : *all->array()) {
        if (!disk.string() || disk.string()->find('/') != std::string::npos) {
          faults.push_back(d + "/list.plist: AllDisks: an element is no disk name");
          continue;
        }
        const std::string info = d + "/info/" + *disk.string() + ".plist";
        if (answeredWithError(folder, info, found)) continue;
        if (!fs::exists(folder / info)) faults.push_back(info + ": missing; AllDisks lists " + *disk.string());
        else readPlist(folder, info, faults, true);
      }
    }
  }
  if (answeredWithError(folder, d + "/apfs-listVolumeGroups.plist", found)) {
  } else if (auto groups = readPlist(folder, d + "/apfs-listVolumeGroups.plist", faults, true)) {
    const Value* containers = platform::lookup(*groups->dictionary(), "Containers");
    if (!containers || !containers->array())
      faults.push_back(d + "/apfs-listVolumeGroups.plist: Containers: missing or no array");
  }
  if (answeredWithError(folder, d + "/listFileSystems.plist", found)) {
  } else if (auto systems = readPlist(folder, d + "/listFileSystems.plist", faults, false); systems && !systems->array())
    faults.push_back(d + "/listFileSystems.plist: expected an array at the top");
  std::ifstream mounts(folder / d / "mounts");
  int number = 0;
  for (std::string line; std::getline(mounts, line);) {
    ++number;
    if (std::count(line.begin(), line.end(), '|') != 2)
      faults.push_back(d + "/mounts: line " + std::to_string(number) + ": expected <disk>|<mount point>|<name>");
  }
}

void homeFaults(const Machine& machine, const fs::path& folder, CheckFindings& found) {
  std::vector<std::string>& faults = found.faults;
  const std::string home = machine.home.substr(1);
  for (const char* domain : kDomains) {
    const std::string relative = home + "/Library/Preferences/" + domain + ".plist";
    if (!fs::exists(folder / relative)) continue;
    auto prefs = readPlist(folder, relative, faults, true);
    if (!prefs) continue;
    const Value* known = platform::lookup(*prefs->dictionary(), "CVDiskKnownVolumes");
    if (!known) continue;
    if (!known->dictionary()) {
      faults.push_back(relative + ": CVDiskKnownVolumes: expected a dictionary");
      continue;
    }
    for (const auto& [guid, bookmark] : *known->dictionary()) {
      const std::string place = relative + ": CVDiskKnownVolumes." + guid;
      if (!platform::UUID::fromString(guid)) faults.push_back(place + ": the key is no GUID");
      if (!bookmark.data()) {
        faults.push_back(place + ": expected bytes (a bookmark)");
        continue;
      }
      auto decoded = platform::machine::decodePropertyList(
          std::span<const std::uint8_t>(bookmark.data()->data(), bookmark.data()->size()));
      const Dictionary* entry = decoded ? decoded->dictionary() : nullptr;
      const Value* url = entry ? platform::lookup(*entry, "NSURLBookmarkURL") : nullptr;
      const std::string_view bytes = bookmark.data()->asStringView();
      const bool plistLike = bytes.rfind("bplist", 0) == 0 || bytes.find("<plist") != std::string_view::npos;
      // The Mac's own opaque data is what import keeps where the Mac's bookmark
      // resolution gave nothing; a broken property list is damage.
      if (!entry && !plistLike)
        found.notes.push_back(place + ": the Mac could not resolve this bookmark; CVDiag lists it as unreadable");
      else if (!entry)
        faults.push_back(place + ": the bookmark is no property-list dictionary (an unreadable bookmark)");
      else if (url && !(url->string() && platform::URL::fromString(*url->string())))
        faults.push_back(place + ": NSURLBookmarkURL: expected the absolute text of a URL");
    }
  }
  const fs::path settings = folder / home / "Library/Application Support/Corvane!";
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(settings, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!it->is_directory() || name.size() < 5 || name.substr(name.size() - 5) != ".cvsp") continue;
    const fs::path file = it->path() / "Session Settings.cvss";
    const std::string relative = file.lexically_relative(folder).generic_string();
    auto facts = machine.files.find("/" + relative);
    if (!fs::exists(file) || (facts != machine.files.end() && facts->second.error)) continue;
    auto document = readPlist(folder, relative, faults, true);
    if (!document) continue;
    for (const char* key : {"CVSourceVolume", "CVsourceVolumeName", "CVTargetVolume", "CVtargetVolumeName"}) {
      const Value* v = platform::lookup(*document->dictionary(), key);
      if (v && !v->isString()) faults.push_back(relative + ": " + key + ": expected text");
    }
    const Value* version = platform::lookup(*document->dictionary(), "CVSessionSettingsVersion");
    if (version && !version->isNumber()) faults.push_back(relative + ": CVSessionSettingsVersion: expected an integer");
  }
}

void systemVersionFaults(const Machine& machine, const fs::path& folder, std::vector<std::string>& faults) {
  std::set<std::string> done;
  for (const auto& media : machine.media) {
    auto mount = media.mountPath();
    if (!mount || !done.insert(*mount).second) continue;
    std::string relative = (fs::path(*mount).relative_path() / "System/Library/CoreServices/SystemVersion.plist")
                               .generic_string();
    if (!fs::exists(folder / relative)) continue;
    if (auto version = readPlist(folder, relative, faults, true)) {
      const Value* product = platform::lookup(*version->dictionary(), "ProductVersion");
      if (!product || !product->isString()) faults.push_back(relative + ": ProductVersion: missing or no text");
    }
  }
}

}  // namespace

CheckFindings checkMachineFolder(const fs::path& folder) {
  CheckFindings found;
  std::vector<std::string>& faults = found.faults;
  auto loaded = platform::machine::loadMachine(folder);
  Machine fallback;
  const Machine* machine = &fallback;
  if (auto* error = std::get_if<std::string>(&loaded)) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec) || !fs::exists(folder / "machine.json", ec)) return {{*error}, {}};
    faults = machineFileFaults(folder, *error);
    // The rest of the folder is checked with the home that machine.json names, if any.
    std::ifstream in(folder / "machine.json", std::ios::binary);
    auto document = nlohmann::json::parse(in, nullptr, false);
    if (document.is_object() && document.contains("home") && document["home"].is_string()) {
      std::string home = document["home"];
      if (!home.empty() && home[0] == '/' && home.find("..") == std::string::npos) fallback.home = home;
    }
  } else {
    machine = std::get<std::shared_ptr<const Machine>>(loaded).get();
    mediaFaults(*machine, faults);
  }
  const Machine& machineRef = *machine;
  programFaults(folder, found);
  homeFaults(machineRef, folder, found);
  systemVersionFaults(machineRef, folder, faults);
  return found;
}

std::optional<std::string> describeMachineFolder(const fs::path& folder, std::ostream& out) {
  auto loaded = platform::machine::loadMachine(folder);
  if (auto* error = std::get_if<std::string>(&loaded)) return *error;
  const Machine& machine = *std::get<std::shared_ptr<const Machine>>(loaded);
  auto textOf = [](const Dictionary& d, const char* key) {
    const Value* v = platform::lookup(d, key);
    return v && v->string() ? *v->string() : std::string();
  };
  std::vector<std::string> disks, volumes;
  std::size_t mounted = 0;
  for (const auto& media : machine.media) {
    if (!media.da) continue;
    const std::string name = media.bsdName().value_or("?");
    const Value* whole = platform::lookup(*media.da, "DAMediaWhole");
    if (whole && whole->boolean().value_or(false)) disks.push_back(name + "  " + textOf(*media.da, "DAMediaName"));
    if (!textOf(*media.da, "DAVolumeKind").empty()) {
      auto mount = media.mountPath();
      mounted += mount ? 1 : 0;
      volumes.push_back(name + "  \"" + textOf(*media.da, "DAVolumeName") + "\"  " + textOf(*media.da, "DAVolumeKind") +
                        (mount ? "  at " + *mount : "  not mounted"));
    }
  }
  out << "Home: " << machine.home << "\n";
  out << "Disks: " << disks.size() << " whole, " << machine.media.size() << " media objects\n";
  for (const auto& line : disks) out << "  " << line << "\n";
  out << "Volumes: " << volumes.size() << ", " << mounted << " mounted\n";
  for (const auto& line : volumes) out << "  " << line << "\n";

  const std::string home = machine.home.substr(1);
  bool anyDomain = false;
  for (const char* domain : kDomains) {
    const fs::path file = folder / home / "Library/Preferences" / (std::string(domain) + ".plist");
    if (!fs::exists(file)) continue;
    anyDomain = true;
    auto prefs = platform::machine::readPropertyListFile(file);
    const Value* known =
        prefs && prefs->dictionary() ? platform::lookup(*prefs->dictionary(), "CVDiskKnownVolumes") : nullptr;
    out << "Registry (" << domain << "): "
        << (known && known->dictionary() ? std::to_string(known->dictionary()->size()) + " entries"
                                         : std::string(prefs ? "no entries" : "unreadable preferences"))
        << "\n";
  }
  if (!anyDomain) out << "Registry: no preferences file of Corvane\n";

  std::vector<std::string> documents;
  const fs::path settings = folder / home / "Library/Application Support/Corvane!";
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(settings, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (it->is_directory() && name.size() >= 5 && name.substr(name.size() - 5) == ".cvsp" &&
        fs::exists(it->path() / "Session Settings.cvss"))
      documents.push_back(it->path().lexically_relative(settings).generic_string());
  }
  std::sort(documents.begin(), documents.end());
  out << "Settings documents: " << documents.size() << "\n";
  for (const auto& line : documents) out << "  " << line << "\n";

  // What an imported recording says of itself (machine.json "recording").
  std::ifstream in(folder / "machine.json", std::ios::binary);
  const auto document = nlohmann::json::parse(in, nullptr, false);
  if (!document.is_object() || !document.contains("recording") || !document["recording"].is_object()) return std::nullopt;
  const auto& recording = document["recording"];
  auto texts = [&](const char* key, const char* heading) {
    if (!recording.contains(key) || !recording[key].is_array()) return;
    out << heading << "\n";
    for (const auto& item : recording[key])
      if (item.is_string()) out << "  - " << item.get<std::string>() << "\n";
  };
  if (recording.contains("recorded") && recording["recorded"].is_string())
    out << "Recorded by cvdiag-record: " << recording["recorded"].get<std::string>() << "\n";
  if (recording.contains("preferences") && recording["preferences"].is_object()) {
    for (const auto& [domain, source] : recording["preferences"].items())
      if (source.is_string()) out << "Preferences of " << domain << " from: " << source.get<std::string>() << "\n";
  }
  texts("holds", "The recording holds:");
  texts("leavesOut", "It leaves out:");
  return std::nullopt;
}

}  // namespace machine_tool
