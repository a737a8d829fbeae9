// The information blocks and debug descriptions of the volume model, compared
// whole with golden files over a machine that holds every kind of disk object
// (its catalogue and duplicate UUID report are checked end to end).
#include <sstream>

#include <gtest/gtest.h>

#include "app/sections.h"
#include "registry/cv_disk_manager.h"
#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"

class VolumeReportsGoldenTest : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(); }
  testsupport::MachineBuilder machine{"volumes_catalogue"};
};

TEST_F(VolumeReportsGoldenTest, InformationBlocks) {
  // The system snapshot, its system and data volumes, an external HFS+
  // volume, an unmounted slice, a FAT volume, a disk image, a whole disk and
  // a vanished mount.
  for (const char* bsdName :
       {"disk3s1s1", "disk3s1", "disk3s5", "disk4s2", "disk4s3", "disk5s1", "disk6s1", "disk3", "disk7s1"}) {
    auto volume = CVDiskVolume::initWithBsdName(bsdName);
    ASSERT_TRUE(volume) << bsdName;
    machine.expectGolden(std::string("info/") + bsdName + ".txt", volume->info());
  }
}

TEST_F(VolumeReportsGoldenTest, DebugDescriptions) {
  for (const char* bsdName : {"disk4s2", "disk6"}) {
    auto volume = CVDiskVolume::initWithBsdName(bsdName);
    ASSERT_TRUE(volume) << bsdName;
    machine.expectGolden(std::string("debug/") + bsdName + ".txt", volume->debugDescription());
  }
  // The media object without a description.
  auto disks = CVDiskVolume::localDisks();
  ASSERT_FALSE(disks.empty());
  ASSERT_FALSE(disks.front()->bsdName());
  machine.expectGolden("debug/no_description.txt", disks.front()->debugDescription());
}

TEST(VolumeReportsEmptyMachineTest, FailingRegistryOrSessionsLeaveTheHeadingsAlone) {
  // A whole disk on a machine where the I/O registry, or else the Disk
  // Arbitration session, fails.
  for (const char* failure : {"volumes/no_registry", "volumes/no_session"}) {
    testsupport::MachineBuilder machine(failure);
    machine.install();
    EXPECT_TRUE(CVDiskVolume::localDisks().empty()) << failure;
    auto registry = CVDiskManager::create();
    std::ostringstream out;
    ReportContext context(out, *registry);
    catalogueReport(context);
    duplicateUUIDReport(context);
    EXPECT_EQ(out.str(), "Cataloging local disks and volumes\n\n\nDuplicate Volume UUIDs\n[:]\n\n\n") << failure;
    EXPECT_FALSE(rootOperatingSystemText(context.volumes())) << failure;
  }
}
