// The volume model read from machine folders: identity, order, the property
// fallbacks and the enumerations.
#include "volumes/cv_disk_volume.h"

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "platform/machine/SimulatedDiskArbitration.h"
#include "support/machine_builder.h"
#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {

CVDiskVolumeRef byName(const char* bsdName) {
  auto volume = CVDiskVolume::initWithBsdName(bsdName);
  EXPECT_TRUE(volume) << bsdName;
  return volume;
}

std::vector<std::string> names(const std::vector<CVDiskVolumeRef>& volumes) {
  std::vector<std::string> out;
  for (const auto& v : volumes) out.push_back(v->bsdName().value_or("<none>"));
  return out;
}

}  // namespace

class CVDiskVolumeTest : public ::testing::Test {
 protected:
  testsupport::MachineBuilder machine;
};

TEST_F(CVDiskVolumeTest, RootVolumeIsShownUnderVolumes) {
  auto root = mounted(slice("disk3s1s1", "Macintosh HD", "apfs"), "/", "APFS");
  machine.json({{"media", {wholeDisk("disk3", "Container", true), root}}});
  machine.install();

  auto volume = byName("disk3s1s1");
  EXPECT_EQ(volume->mountPath(), "/");
  EXPECT_EQ(volume->mountURL()->absoluteString(), "file:///");
  EXPECT_EQ(volume->path()->absoluteString(), "file:///Volumes/Macintosh%20HD/");
  EXPECT_TRUE(volume->isReady());
  EXPECT_TRUE(volume->isBootVolume());
  ASSERT_TRUE(volume->icon());
  EXPECT_EQ(volume->icon()->path, "/");
}

TEST_F(CVDiskVolumeTest, UnmountedAndNamelessSlices) {
  auto nameless = mounted(slice("disk4s1", "", "hfs"), "/Volumes/Untitled/", "Mac OS Extended");
  nameless["da"].erase("DAVolumeName");
  machine.json({{"media", {wholeDisk("disk4", "Drive", false), nameless, slice("disk4s2", "Off", "hfs")}}})
      .directory("/Volumes/Untitled");
  machine.install();

  auto noName = byName("disk4s1");
  EXPECT_EQ(noName->name(), "");
  EXPECT_EQ(noName->path()->absoluteString(), "file:///Volumes/Untitled/");

  auto off = byName("disk4s2");
  EXPECT_EQ(off->name(), "Off");
  EXPECT_FALSE(off->mountURL());
  EXPECT_FALSE(off->mountPath());
  EXPECT_FALSE(off->path());
  EXPECT_FALSE(off->icon());
  EXPECT_FALSE(off->isReady());
  EXPECT_FALSE(off->isBootVolume());
  EXPECT_EQ(off->volumeDeviceIdentifier(), -1);
  EXPECT_EQ(off->volumeRealDeviceIdentifier(), -1);
  EXPECT_FALSE(off->volumeIdentifier());
  // A whole disk is named by its media.
  EXPECT_EQ(byName("disk4")->name(), "Drive");
}

TEST_F(CVDiskVolumeTest, ReadinessNeedsMountableAndAPresentMountPoint) {
  auto vanished = mounted(slice("disk5s1", "Gone", "hfs"), "/Volumes/Gone/", "Mac OS Extended");
  auto unmountable = mounted(slice("disk5s2", "Locked", "hfs"), "/Volumes/Locked/", "Mac OS Extended");
  unmountable["da"]["DAVolumeMountable"] = "yes";  // not a boolean
  auto present = mounted(slice("disk5s3", "Here", "hfs"), "/Volumes/Here/", "Mac OS Extended");
  machine.json({{"media", {vanished, unmountable, present}}})
      .directory("/Volumes/Locked")
      .directory("/Volumes/Here");
  machine.install();

  EXPECT_FALSE(byName("disk5s1")->isReady());
  EXPECT_FALSE(byName("disk5s2")->isReady());
  EXPECT_TRUE(byName("disk5s3")->isReady());
  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()), std::vector<std::string>{"disk5s3"});
}

TEST_F(CVDiskVolumeTest, DeviceIdentifiers) {
  auto real = mounted(slice("disk6s1", "Real", "apfs"), "/Volumes/Real/", "APFS");
  real["volume"]["device"] = 16777230;
  real["volume"]["realDevice"] = 16777231;
  auto noReal = mounted(slice("disk6s2", "Plain", "hfs"), "/Volumes/Plain/", "Mac OS Extended");
  noReal["volume"]["device"] = 16777240;
  machine.json({{"media", {real, noReal}}}).directory("/Volumes/Real").directory("/Volumes/Plain");
  machine.install();

  EXPECT_EQ(byName("disk6s1")->volumeDeviceIdentifier(), 16777230);
  EXPECT_EQ(byName("disk6s1")->volumeRealDeviceIdentifier(), 16777231);
  // EINVAL from getattrlist falls back on st_dev.
  EXPECT_EQ(byName("disk6s2")->volumeRealDeviceIdentifier(), 16777240);
}

TEST_F(CVDiskVolumeTest, EqualityFollowsTheHashOfNamesAndMount) {
  auto data = mounted(slice("disk7s1", "Data", "apfs"), "/Volumes/Data/", "APFS");
  data["da"]["DAVolumeUUID"] = uuid("6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10");
  json bare = {{"io", {{"BSD Name", "x"}}}};
  machine.json({{"media", {data, bare, bare}}}).directory("/Volumes/Data");
  machine.install();

  auto a = byName("disk7s1");
  auto b = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/Volumes/Data", true));
  ASSERT_TRUE(b);
  EXPECT_NE(a.get(), b.get());
  EXPECT_TRUE(a->isEqual(*b));
  EXPECT_EQ(a->hash(), b->hash());

  // Media with no description fall back on the hash of their disk reference:
  // distinct disks stay distinct, so the set of all media keeps all three.
  auto all = CVDiskVolume::allMediaVolumes();
  EXPECT_EQ(all.size(), 3u);
  CVDiskVolumeSet set;
  EXPECT_TRUE(set.insert(a));
  EXPECT_FALSE(set.insert(b));
  EXPECT_EQ(set.size(), 1u);
}

TEST_F(CVDiskVolumeTest, LocalDisksAreInDiskOrder) {
  machine.json({{"media",
                 {slice("disk10s1", "Ten", "hfs"), wholeDisk("disk9", "Nine", true),
                  slice("disk1s11", "Eleven", "hfs"), wholeDisk("disk2", "Two", true),
                  slice("disk0s1", "EFI", "msdos"), wholeDisk("disk0", "Zero", true)}}});
  machine.install();
  EXPECT_EQ(names(CVDiskVolume::localDisks()),
            (std::vector<std::string>{"disk0", "disk0s1", "disk2", "disk1s11", "disk9", "disk10s1"}));
}

TEST_F(CVDiskVolumeTest, BrowsableAndCoalescedVolumes) {
  auto system = mounted(slice("disk3s1", "Macintosh HD", "apfs"), "/", "APFS");
  system["io"]["Role"] = {"System"};
  auto data = mounted(slice("disk3s5", "Data", "apfs"), "/System/Volumes/Data/", "APFS");
  data["io"]["Role"] = {"Data"};
  auto hidden = mounted(slice("disk3s2", "Preboot", "apfs"), "/System/Volumes/Preboot/", "APFS");
  hidden["volume"]["resources"]["NSURLVolumeIsBrowsableKey"] = false;
  hidden["io"]["Role"] = {"Preboot"};
  machine.json({{"media", {data, hidden, system}}})
      .directory("/System/Volumes/Data")
      .directory("/System/Volumes/Preboot");
  machine.install();

  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()),
            (std::vector<std::string>{"disk3s1", "disk3s2", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableVolumes()),
            (std::vector<std::string>{"disk3s1", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableCoalescedVolumes()),
            std::vector<std::string>{"disk3s1"});
}

TEST_F(CVDiskVolumeTest, Constructors) {
  auto data = mounted(slice("disk8s1", "Data", "apfs"), "/Volumes/Data/", "APFS");
  data["da"]["DAVolumeUUID"] = uuid("0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F");
  auto twin = slice("disk7s1", "Twin", "apfs");
  twin["da"]["DAVolumeUUID"] = uuid("0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F");
  machine.json({{"media", {data, twin}}}).directory("/Volumes/Data/Folder");
  machine.install();

  EXPECT_TRUE(CVDiskVolume::initWithBsdName("/dev/disk8s1"));
  EXPECT_FALSE(CVDiskVolume::initWithBsdName("disk9s9"));
  EXPECT_FALSE(CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/Volumes/None", true)));

  auto holder = CVDiskVolume::volumeFromItemPathWithItemURL(
      platform::URL::fileURLWithPath("/Volumes/Data/Folder", true));
  ASSERT_TRUE(holder);
  EXPECT_EQ(holder->bsdName(), "disk8s1");

  // The first in disk order wins: disk7s1 before disk8s1.
  auto byUUID = CVDiskVolume::initWithVolumeUUID(*platform::UUID::fromString("0b0a4f32-51c2-4d0e-9e0c-3b8a3c2d1e4f"));
  ASSERT_TRUE(byUUID);
  EXPECT_EQ(byUUID->bsdName(), "disk7s1");
  EXPECT_FALSE(CVDiskVolume::initWithVolumeUUID(platform::UUID()));
}

TEST_F(CVDiskVolumeTest, CachedDescriptionIsASnapshot) {
  machine.json({{"media", {slice("disk4s1", "Before", "hfs")}}});
  auto installed = machine.install();
  auto volume = byName("disk4s1");
  EXPECT_EQ(volume->name(), "Before");

  auto simulated =
      std::dynamic_pointer_cast<platform::machine::SimulatedDiskArbitration>(installed.diskArbitration);
  ASSERT_TRUE(simulated);
  auto changed = *volume->properties();
  changed["DAVolumeName"] = "After";
  simulated->simulateDescriptionChanged("disk4s1", changed);

  EXPECT_EQ(volume->name(), "Before");
  EXPECT_EQ(byName("disk4s1")->name(), "After");
}
