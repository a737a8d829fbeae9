#pragma once
// The settings machine (Backup, Photos, Projects and a decomposed "Café"
// mounted; Archive attached with its mount point gone) with settings
// documents and a registry domain written for one test, and runs of the
// built CVDiag on it.

#include <cstdio>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "../registry/registry_fixture.h"
#include "support/run_cvdiag.h"

#include <nlohmann/json.hpp>

namespace settingstest {

using platform::Dictionary;
using platform::Value;
using registrytest::readFile;

inline const std::string kSettings = "/Users/ada/Library/Application Support/Corvane!";
inline const std::string kDomain = registrytest::kDomainPath;

// Registry GUIDs "A0000000-0000-4000-8000-<n>", volume UUIDs of the
// machine's volumes "B…-<n>" (1 Backup, 2 Photos, 3 Archive, 4 Projects, 5
// Café); "C…" UUIDs belong to no attached volume.
inline std::string uuid(char prefix, long n) {
  char text[40];
  std::snprintf(text, sizeof text, "%c0000000-0000-4000-8000-%012ld", prefix, n);
  return text;
}
inline std::string guid(long n) { return uuid('A', n); }

// The top-level keys of a session settings file; an absent part is left out.
inline Dictionary session(std::optional<std::string> source, std::optional<std::string> sourceName,
                          std::optional<std::string> target, std::optional<std::string> targetName,
                          std::optional<Value> version = Value(5)) {
  Dictionary d{{"CVSessionName", "session"}};
  if (source) d["CVSourceVolume"] = *source;
  if (sourceName) d["CVsourceVolumeName"] = *sourceName;
  if (target) d["CVTargetVolume"] = *target;
  if (targetName) d["CVtargetVolumeName"] = *targetName;
  if (version) d["CVSessionSettingsVersion"] = *version;
  return d;
}

// (GUID key, remembered name or nothing, volume UUID)
using Entry = std::tuple<std::string, std::optional<std::string>, std::string>;

class SettingsMachine : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(); }

  std::filesystem::path host(const std::string& macPath) const { return machine.folder() / macPath.substr(1); }

  void rawDocument(const std::string& package, const std::string& bytes) {
    auto path = host(kSettings + "/" + package + "/Session Settings.cvss");
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    documents_.push_back(kSettings + "/" + package + "/Session Settings.cvss");
  }
  void document(const std::string& package, const Value& settings,
                platform::PropertyListFormat format = platform::PropertyListFormat::XML) {
    rawDocument(package, std::string(platform::current().propertyLists->dataWithPropertyList(settings, format)->asStringView()));
  }

  // Corvane's domain with this registry beside one other key.
  void registry(const std::vector<Entry>& entries) {
    Dictionary stored;
    for (const auto& [key, name, volumeUUID] : entries) {
      Dictionary values{{"NSURLVolumeUUIDStringKey", volumeUUID}};
      if (name) values["NSURLVolumeNameKey"] = *name;
      stored.emplace(key, registrytest::blob(values));
    }
    auto domain = platform::current().userDefaults->initWithSuiteName("com.tamarlin.Corvane");
    ASSERT_TRUE(domain->setObject(std::string("kept"), "SUOtherKey"));
    ASSERT_TRUE(domain->setObject(stored, "CVDiskKnownVolumes"));
  }

  cvdiag_test::RunResult run(const std::vector<std::string>& flags) {
    // The host can't set a file's birth time: machine.json gives every
    // document written here fixed dates.
    auto json = nlohmann::json::parse(readFile(machine.folder() / "machine.json"));
    for (const auto& path : documents_) {
      if (!json["files"].contains(path))
        json["files"][path] = {{"created", {{"$date", "2025-03-01T09:30:00Z"}}},
                               {"modified", {{"$date", "2026-11-20T18:45:10Z"}}}};
    }
    std::ofstream(machine.folder() / "machine.json") << json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return cvdiag_test::runCVDiag(flags, {{"CVDIAG_MACHINE", machine.folder().string()}});
  }

  // The domain as python's own property-list reader sees it: the registry's
  // keys, then every other key with its value.
  std::string domainSeenByPython() const {
    auto script = "import plistlib,sys\n"
                  "d=plistlib.load(open(sys.argv[1],'rb'))\n"
                  "print(' '.join(sorted(d.pop('CVDiskKnownVolumes'))))\n"
                  "print(sorted(d.items()))\n";
    return cvdiag_test::runProgram("/usr/bin/python3", {"-c", script, host(kDomain).string()}).out;
  }

  volumetest::CopiedMachine machine{"settings"};
  std::vector<std::string> documents_;
};

}  // namespace settingstest
