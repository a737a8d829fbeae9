#pragma once
// The observation machine copied for one test, with a manager and a captured log. A scenario is a
// golden file whose "# " lines are commands; each command's transcript holds the log lines, the
// answer, the diskutil runs, then the observers and the registry (its bookmarks hold base keys
// only, so a rewritten entry shows by its custom keys) or that they are unchanged.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>
#include "platform/formatters.h"
#include "platform/machine/simulated_disk_arbitration.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"
#include "support/capturing_log_sink.h"
#include "support/machine_builder.h"

namespace observationtest {

using platform::Value;

inline std::string guid(const std::string& n) { return "A0000000-0000-4000-8000-" + std::string(12 - n.size(), '0') + n; }

struct ObservedMachine {
  ObservedMachine() {
    folder.install();
    platform::Platform installed = platform::current();
    installed.log = log;
    platform::install(installed);
    manager = CVDiskManager::create();
  }
  void drain() const { manager->daQueue().sync([] {}), manager->waitForPendingSaves(); }

  // Runs one command: gives the deliveries it raised and what it answered.
  std::pair<std::size_t, std::string> run(const std::string& command) const {
    auto& da = dynamic_cast<platform::machine::SimulatedDiskArbitration&>(*platform::current().diskArbitration);
    std::istringstream words(command);
    std::string verb, name, key, value, text;
    words >> verb >> name >> key;
    std::getline(words >> std::ws, value);
    auto volume = [](const CVDiskVolumeRef& v) { return "result: " + (v ? *v->bsdName() : "nothing") + "\n"; };
    if (verb == "set" || verb == "unset") {  // the description with the key set to text, a number or a UUID, or removed
      auto description = *da.DADiskCopyDescription(da.DADiskCreateFromBSDName(manager->session(), name));
      auto uuid = platform::UUID::fromString(value);
      bool text = value.empty() || value.find_first_not_of("0123456789") != std::string::npos;
      description[key] = uuid ? Value(*uuid) : text ? Value(value) : Value(std::stoll(value));
      if (verb == "unset") description.erase(key);
      return {da.simulateDescriptionChanged(name, description), ""};
    }
    if (verb == "rename") return {da.simulateVolumeRenamed(name, key + (value.empty() ? "" : " " + value)), ""};
    if (verb == "approve") {
      auto n = da.simulateMountApproval(name) + da.simulateUnmountApproval(name) + da.simulateEjectApproval(name);
      drain();
      for (const auto& answer : da.approvalAnswers()) text += answer ? " refused" : " approved";
      return {n, "answers:" + text + "\n"};
    }
    if (verb == "mount-in-background") {
      platform::DispatchSemaphore done;
      manager->mountVolumeForGUIDString(guid(name), [&, caller = std::this_thread::get_id()](CVDiskVolumeRef v) {
        text = volume(v) + (caller == std::this_thread::get_id() ? "on the caller's thread\n" : "in the background\n");
        done.signal();
      });
      return {0, done.wait(platform::DispatchTime::now() + 30.0) ? text : "no answer\n"};
    }
    if (verb == "unmount") {
      auto before = da.unmountRequests().size();
      manager->unmountWithVolume(*CVDiskVolume::initWithBsdName(name));
      auto requests = da.unmountRequests();
      for (auto request = requests.begin() + before; request != requests.end(); ++request)
        text += "unmount request: " + *request->bsdName + " options " + std::to_string(request->options) + "\n";
      return {0, text};
    }
    if (verb == "unobserve") manager->unobserveDisk(name);
    if (verb == "mount") text = volume(manager->mountVolumeForGUIDString(guid(name)));
    return {verb == "appear"      ? da.simulateDiskAppeared(name)
            : verb == "disappear" ? da.simulateDiskDisappeared(name)
            : verb == "peek"      ? da.simulateDiskPeek(name)
                                  : 0,
            text};
  }

  std::string replay(const std::string& scenario) {
    std::ifstream in(folder.source() / "expected" / scenario);
    const auto calls = folder.folder() / "usr/sbin/calls.log";
    std::string line, transcript;
    while (std::getline(in, line)) {
      if (!line.starts_with("# ")) continue;
      const std::string command = line.substr(2, line.find(" (deliveries") - 2);
      auto [deliveries, answer] = run(command);
      transcript += step(command, deliveries, command != "start, log not shown") + answer;
      std::ifstream diskutil(calls);
      for (std::string call; std::getline(diskutil, call);) transcript += "diskutil " + call + "\n";
      std::filesystem::remove(calls);
    }
    return transcript;
  }

  std::string step(const std::string& title, std::size_t deliveries, bool withLog) {
    drain();
    std::string text = "# " + title + " (deliveries: " + std::to_string(deliveries) + ")\n", observers, registry;
    auto entries = log->entries();
    // The save logs on serialMapQueue, in no fixed order with the callbacks.
    for (; logged < entries.size(); ++logged)
      if (withLog && entries[logged].message != "CVDiskManager - updated known volume registry")
        text += platform::logLine(entries[logged]) + "\n";
    for (const auto& [bsdName, identity] : manager->observedIdentities())
      observers += "  " + bsdName + ": " + identity->debugDescription() + "\n";
    const std::vector<std::string> keys{"NSURLVolumeNameKey", "NSURLVolumeUUIDStringKey", std::string(kVolumeRealUUIDStringKey)};
    for (const auto& [key, blob] : manager->map()) {
      registry += "  " + key + ":";
      for (const auto& [name, value] : platform::current().bookmarks->resourceValues(keys, blob).value_or(platform::Dictionary{}))
        registry += " " + name + "=" + platform::foundationDescription(value);
      registry += "\n";
    }
    text += observers == lastObservers ? "observers unchanged\n" : "observers:\n" + observers;
    text += registry == lastRegistry ? "registry unchanged\n" : "registry:\n" + registry;
    lastObservers = observers, lastRegistry = registry;
    return text;
  }

  testsupport::MachineBuilder folder{"observation"};
  std::shared_ptr<testsupport::CapturingLogSink> log = std::make_shared<testsupport::CapturingLogSink>();
  std::shared_ptr<CVDiskManager> manager;
  std::size_t logged = 0;
  std::string lastObservers, lastRegistry;
};

}  // namespace observationtest
