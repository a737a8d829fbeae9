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
  install("root_names");  // disk3s1s1, disk3s2 and disk3s3 all mounted at "/"
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
  install("readiness");
  EXPECT_FALSE(volume("disk5s1")->isReady());  // its mount point is gone
  EXPECT_FALSE(volume("disk5s2")->isReady());  // "mountable" is the text "yes"
  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()), (Names{"disk6s1", "disk6s2"}));
  EXPECT_EQ(volume("disk6s1")->volumeDeviceIdentifier(), 16777230);
  EXPECT_EQ(volume("disk6s1")->volumeRealDeviceIdentifier(), 16777231);
  // EINVAL from getattrlist falls back on st_dev.
  EXPECT_EQ(volume("disk6s2")->volumeRealDeviceIdentifier(), 16777240);
}

TEST_F(CVDiskVolumeTest, EqualityFollowsTheHashOfNamesAndMount) {
  install("equality");  // disk7s1, then twice a media object with no description

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
  install("browsable");  // data, preboot (not browsable) and system, in that order

  EXPECT_EQ(names(CVDiskVolume::localMountedVolumes()), (Names{"disk3s1", "disk3s2", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableVolumes()), (Names{"disk3s1", "disk3s5"}));
  EXPECT_EQ(names(CVDiskVolume::localBrowsableCoalescedVolumes()), Names{"disk3s1"});
}

TEST_F(CVDiskVolumeTest, ConstructorsAndAMissingMountPointFault) {
  install("constructors");  // disk8s1 at /Volumes/Data, then disk7s1 of the same UUID

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
  install("boot_container");
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
