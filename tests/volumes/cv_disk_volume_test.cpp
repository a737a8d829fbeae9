// The volume model read from machine folders: identity, order, the property
// fallbacks and the enumerations.
#include "volumes/cv_disk_volume.h"

#include <thread>

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;
using Names = std::vector<std::string>;
using CVDiskVolumeTest = VolumeMachineTest;

TEST_F(CVDiskVolumeTest, RootVolumeIsShownUnderVolumes) {
  install({wholeDisk("disk3", "Container", true), mounted(slice("disk3s1s1", "Macintosh HD", "apfs"), "/", "APFS"),
           mounted(slice("disk3s2", "/Evil", "apfs"), "/", "APFS"),
           mounted(slice("disk3s3", "a/../../b", "apfs"), "/", "APFS")});
  auto root = volume("disk3s1s1");
  EXPECT_EQ(root->mountURL()->absoluteString(), "file:///");
  EXPECT_TRUE(root->isReady());
  EXPECT_TRUE(root->isBootVolume());
  ASSERT_TRUE(root->icon());
  EXPECT_EQ(root->icon()->path, "/");
  // The name is one plain component: never above "/Volumes", never resolved.
  const std::pair<const char*, const char*> paths[] = {{"disk3s1s1", "file:///Volumes/Macintosh%20HD/"},
                                                       {"disk3s2", "file:///Volumes/Evil/"},
                                                       {"disk3s3", "file:///Volumes/a/../../b/"}};
  for (const auto& [bsdName, path] : paths) EXPECT_EQ(volume(bsdName)->path()->absoluteString(), path);
}

TEST_F(CVDiskVolumeTest, ReadinessNeedsMountableAndAPresentMountPointAndDeviceIdentifiers) {
  auto vanished = mounted(slice("disk5s1", "Gone", "hfs"), "/Volumes/Gone/", "Mac OS Extended");
  auto unmountable = mounted(slice("disk5s2", "Locked", "hfs"), "/Volumes/Locked/", "Mac OS Extended");
  unmountable["da"]["DAVolumeMountable"] = "yes";  // not a boolean
  auto real = mounted(slice("disk6s1", "Real", "apfs"), "/Volumes/Real/", "APFS");
  real["volume"]["device"] = 16777230;
  real["volume"]["realDevice"] = 16777231;
  auto noReal = mounted(slice("disk6s2", "Plain", "hfs"), "/Volumes/Plain/", "Mac OS Extended");
  noReal["volume"]["device"] = 16777240;
  install({vanished, unmountable, real, noReal}, {"/Volumes/Locked", "/Volumes/Real", "/Volumes/Plain"});

  EXPECT_FALSE(volume("disk5s1")->isReady());
  EXPECT_FALSE(volume("disk5s2")->isReady());
  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()), (Names{"disk6s1", "disk6s2"}));
  EXPECT_EQ(volume("disk6s1")->volumeDeviceIdentifier(), 16777230);
  EXPECT_EQ(volume("disk6s1")->volumeRealDeviceIdentifier(), 16777231);
  // EINVAL from getattrlist falls back on st_dev.
  EXPECT_EQ(volume("disk6s2")->volumeRealDeviceIdentifier(), 16777240);
}

TEST_F(CVDiskVolumeTest, EqualityFollowsTheHashOfNamesAndMount) {
  auto data = mounted(slice("disk7s1", "Data", "apfs"), "/Volumes/Data/", "APFS");
  json bare = {{"io", {{"BSD Name", "x"}}}};
  install({data, bare, bare}, {"/Volumes/Data"});

  auto a = volume("disk7s1");
  auto b = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/Volumes/Data", true));
  ASSERT_TRUE(b);
  EXPECT_NE(a.get(), b.get());
  EXPECT_TRUE(a->isEqual(*b));
  // Media with no description fall back on the hash of their disk reference:
  // distinct disks stay distinct, so the set of all media keeps all three.
  EXPECT_EQ(CVDiskVolume::allMediaVolumes().size(), 3u);
  CVDiskVolumeSet set;
  EXPECT_TRUE(set.insert(a));
  EXPECT_FALSE(set.insert(b));
}

TEST_F(CVDiskVolumeTest, BrowsableAndCoalescedVolumes) {
  auto system = mounted(apfsVolume("disk3s1", "Macintosh HD", "System", nullptr), "/", "APFS");
  auto data = mounted(apfsVolume("disk3s5", "Data", "Data", nullptr), "/System/Volumes/Data/", "APFS");
  auto hidden = mounted(apfsVolume("disk3s2", "Preboot", "Preboot", nullptr), "/System/Volumes/Preboot/", "APFS");
  hidden["volume"]["resources"]["NSURLVolumeIsBrowsableKey"] = false;
  install({data, hidden, system}, {"/System/Volumes/Data", "/System/Volumes/Preboot"});

  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()), (Names{"disk3s1", "disk3s2", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableVolumes()), (Names{"disk3s1", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableCoalescedVolumes()), Names{"disk3s1"});
}

TEST_F(CVDiskVolumeTest, ConstructorsAndAMissingMountPointFault) {
  auto data = mounted(slice("disk8s1", "Data", "apfs"), "/Volumes/Data/", "APFS");
  data["da"]["DAVolumeUUID"] = uuid("0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F");
  auto twin = slice("disk7s1", "Twin", "apfs");
  twin["da"]["DAVolumeUUID"] = uuid("0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F");
  install({data, twin}, {"/Volumes/Data/Folder"});

  EXPECT_TRUE(CVDiskVolume::initWithBsdName("/dev/disk8s1"));
  EXPECT_FALSE(CVDiskVolume::initWithBsdName("disk9s9"));
  EXPECT_EQ(nameOf(CVDiskVolume::volumeFromItemPathWithItemURL(
                platform::URL::fileURLWithPath("/Volumes/Data/Folder", true))),
            "disk8s1");
  // The first in disk order wins: disk7s1 before disk8s1.
  auto byUUID = CVDiskVolume::initWithVolumeUUID(*platform::UUID::fromString("0b0a4f32-51c2-4d0e-9e0c-3b8a3c2d1e4f"));
  EXPECT_EQ(nameOf(byUUID), "disk7s1");
  EXPECT_FALSE(CVDiskVolume::initWithVolumeUUID(platform::UUID()));

  EXPECT_FALSE(CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/Volumes/No Disk", true)));
  EXPECT_EQ(logText(),
            "fault com.tamarlin.Corvane.Volumes CVDisk: Error: "
            "DADiskCreateFromVolumePath(file:///Volumes/No%20Disk/) returned nil\n");
}

TEST_F(CVDiskVolumeTest, SharedObjectsFillTheirCachesOnceFromManyThreads) {
  install(bootContainer(), {"/System/Volumes/Data"});
  auto data = volume("disk3s5");
  const auto expectedHash = volume("disk3s5")->hash();
  std::vector<std::thread> threads;
  std::vector<std::string> infos(6);
  for (std::size_t i = 0; i < infos.size(); ++i) {
    threads.emplace_back([&, i] {
      infos[i] = data->info();
      EXPECT_EQ(data->hash(), expectedHash);
      EXPECT_EQ(data->siblings()->size(), 5u);
      if (i % 2 == 0) data->setVolumeIsIncludedInTimeMachine(true);
      EXPECT_TRUE(data->parent());
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& info : infos) EXPECT_EQ(info, infos.front());
  EXPECT_TRUE(data->volumeIsIncludedInTimeMachine());
}
