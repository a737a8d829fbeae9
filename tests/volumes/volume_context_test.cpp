// A volume context keeps the walk of the media only while the disks stay as
// they were: a changed description, a new platform, or another machine is
// walked anew.
#include <gtest/gtest.h>

#include "platform/machine/simulated_disk_arbitration.h"
#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"

namespace {

const auto kScratch = *platform::UUID::fromString("22222222-2222-4222-8222-222222222222");
const auto kMoved = *platform::UUID::fromString("99999999-2222-4222-8222-222222222222");

std::string nameOf(const CVDiskVolumeRef& volume) { return volume ? volume->bsdName().value_or("?") : "none"; }

TEST(VolumeContextTest, AnswersFollowTheDisksAsTheyChange) {
  const auto media = VolumeContext::keepingWalksAndErrors();
  testsupport::MachineBuilder machine("observation");
  auto platform = machine.install();
  EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kScratch, media)), "disk2s1");
  {
    // Another machine, unchanged as well, has its own disks.
    testsupport::MachineBuilder empty;
    auto other = empty.install();
    EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kScratch, media)), "none");
  }
  platform = machine.install();
  EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kMoved, media)), "none");
  const auto disks = CVDiskVolume::localDisks(media).size();

  // The slice takes another volume UUID and leaves its whole disk.
  auto& da = dynamic_cast<platform::machine::SimulatedDiskArbitration&>(*platform.diskArbitration);
  auto scratch = CVDiskVolume::initWithVolumeUUID(kScratch, media);
  auto description = *scratch->properties();
  description.insert_or_assign("DAVolumeUUID", platform::Value(kMoved));
  da.simulateDescriptionChanged("disk2s1", description);

  EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kScratch, media)), "none");
  auto moved = CVDiskVolume::initWithVolumeUUID(kMoved, media);
  ASSERT_EQ(nameOf(moved), "disk2s1");
  EXPECT_NE(moved, scratch);
  EXPECT_EQ(moved->volumeUUID(), kMoved);
  EXPECT_EQ(CVDiskVolume::localDisks(media).size(), disks);
  ASSERT_TRUE(moved->parent() && moved->parent()->children());
  EXPECT_EQ(nameOf(*moved->parent()->children()->begin()), "disk2s1");

  // A fresh platform over the same folder has its own, unchanged disks.
  auto again = machine.install();
  EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kScratch, media)), "disk2s1");
  EXPECT_EQ(nameOf(CVDiskVolume::initWithVolumeUUID(kMoved, media)), "none");
}

}  // namespace
