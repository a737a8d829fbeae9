#pragma once
// The observation machine (tests/machines/observation) copied for one test,
// its registry seeded with bookmarks of the platform's base keys only (a
// rewritten entry shows by its custom keys), a manager started on it, and the
// log captured. A step's transcript holds the log lines written since the
// last step, then the observers and the registry, or that they are unchanged.
#include <cstdio>
#include <memory>
#include <string>

#include "platform/machine/simulated_disk_arbitration.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/volume_golden_support.h"

namespace observationtest {

inline std::string guid(int n) {
  char text[40];
  std::snprintf(text, sizeof text, "A0000000-0000-4000-8000-%012d", n);
  return text;
}

inline std::string nameOf(const CVDiskVolumeRef& volume) { return volume ? volume->bsdName().value_or("") : "nothing"; }

class ObservedMachine {
 public:
  ObservedMachine() : folder("observation") {
    folder.install();
    platform::Platform installed = platform::current();
    installed.log = log;
    platform::install(installed);
    const std::string_view name = platform::NSURLVolumeNameKey, uuid = platform::NSURLVolumeUUIDStringKey;
    const std::tuple<int, const char*, const char*, const char*> entries[] = {
        {1, "/Volumes/Photos/", "Photos", "11111111-1111-4111-8111-111111111111"},
        {2, "/Volumes/Archive/", "Archive", "10101010-1010-4010-8010-101010101010"},
        {3, "/System/Volumes/Data/", "Macintosh HD - Data", "33333333-0005-4333-8333-333333333333"},
        {4, "/Volumes/Ventura - Data/", "Ventura - Data", "55555555-0002-4555-8555-555555555555"},
        {5, "/Volumes/Sonoma - Data/", "Sonoma - Data", "66666666-0002-4666-8666-666666666666"},
        {6, "/Volumes/Travel/", "Travel", "77777777-7777-4777-8777-777777777777"},
        {8, "/Volumes/Gone/", "Gone", "99999999-9999-4999-8999-999999999999"}};
    platform::Dictionary map{{guid(7), platform::Value(platform::Bytes::fromString("not a bookmark"))}};
    for (const auto& [n, path, volumeName, volumeUUID] : entries)
      map[guid(n)] = platform::Value(*installed.bookmarks->bookmarkData(
          platform::URL::fileURLWithPath(path, true), 0x400, {std::string(name), std::string(uuid)},
          {{std::string(name), platform::Value(volumeName)}, {std::string(uuid), platform::Value(volumeUUID)}}));
    installed.userDefaults->standardUserDefaults()->setObject(platform::Value(map), CVDiskManager::kMapKey);
    manager = CVDiskManager::create();
  }

  platform::machine::SimulatedDiskArbitration& da() const {
    return dynamic_cast<platform::machine::SimulatedDiskArbitration&>(*platform::current().diskArbitration);
  }

  // Gives the disk its present description with `key` set, or removed.
  std::size_t change(const std::string& bsdName, const std::string& key, std::optional<platform::Value> value) const {
    auto description = *da().DADiskCopyDescription(da().DADiskCreateFromBSDName(manager->session(), bsdName));
    if (value) description[key] = *value;
    else description.erase(key);
    return da().simulateDescriptionChanged(bsdName, description);
  }

  void drain() const {
    manager->daQueue().sync([] {});
    manager->waitForPendingSaves();
  }

  std::string step(const std::string& title, std::size_t deliveries, bool withLog = true) {
    drain();
    std::string text = "# " + title + " (deliveries: " + std::to_string(deliveries) + ")\n";
    auto entries = log->entries();
    // The save logs on serialMapQueue, in no fixed order with the callbacks.
    for (; logged < entries.size(); ++logged)
      if (withLog && entries[logged].message != "CVDiskManager - updated known volume registry")
        text += platform::logLine(entries[logged]) + "\n";
    std::string observers, registry;
    for (const auto& [bsdName, identity] : manager->observedIdentities())
      observers += "  " + bsdName + ": " + identity->debugDescription() + "\n";
    for (const auto& [key, blob] : manager->map()) {
      registry += "  " + key + ":";
      for (std::string_view fact : {platform::NSURLVolumeNameKey, kVolumeRealUUIDStringKey}) {
        auto values = platform::current().bookmarks->resourceValues({std::string(fact)}, blob);
        const platform::Value* value = values ? platform::lookup(*values, fact) : nullptr;
        registry += " " + (value && value->string() ? *value->string() : std::string("-"));
      }
      registry += "\n";
    }
    text += observers == lastObservers ? "observers unchanged\n" : "observers:\n" + observers;
    text += registry == lastRegistry ? "registry unchanged\n" : "registry:\n" + registry;
    lastObservers = observers;
    lastRegistry = registry;
    return text;
  }

  volumetest::CopiedMachine folder;
  std::shared_ptr<platform::CapturingLogSink> log = std::make_shared<platform::CapturingLogSink>();
  std::shared_ptr<CVDiskManager> manager;

 private:
  std::size_t logged = 0;
  std::string lastObservers, lastRegistry;
};

}  // namespace observationtest
