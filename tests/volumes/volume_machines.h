#pragma once
// The volume tests' machines: each is a folder under tests/machines/volumes
// whose media carry the facts one test reads.

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"

namespace volumetest {

// A test over one of those machines.
class VolumeMachineTest : public ::testing::Test {
 protected:
  // Installs the copy of tests/machines/volumes/<name>.
  void install(const std::string& name) {
    machine.emplace("volumes/" + name);
    machine->install();
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
  std::string logText() const { return machine->text("/var/log/cvdiag.log"); }
  std::optional<testsupport::MachineBuilder> machine;
};

}  // namespace volumetest
