// Roles and relatives of volumes in APFS containers.
#include <set>

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {

std::set<std::string> namesOf(const std::optional<CVDiskVolumeSet>& set) {
  std::set<std::string> out;
  for (const auto& v : set.value_or(CVDiskVolumeSet{})) out.insert(v->bsdName().value_or("<none>"));
  return out;
}

class CVDiskVolumeRelationsTest : public VolumeMachineTest {
 protected:
  void installBootContainer(json extra = json::array()) {
    json media = bootContainer();
    for (auto& m : extra) media.push_back(m);
    install(media, {"/System/Volumes/Data"});
  }
};

}  // namespace

TEST_F(CVDiskVolumeRelationsTest, RolesComeFromTheNameThenTheFirstRoleWord) {
  auto backup = apfsVolume("disk5s1", "TM", "Backup", nullptr);
  auto twoWords = apfsVolume("disk5s2", "Two", "preboot", nullptr);
  twoWords["io"]["Role"] = {"preboot", "Data"};
  auto empty = apfsVolume("disk5s3", "Empty", nullptr, nullptr);
  empty["io"]["Role"] = json::array();
  auto notStrings = apfsVolume("disk5s4", "Odd", nullptr, nullptr);
  notStrings["io"]["Role"] = {5};
  auto laterNotText = apfsVolume("disk5s5", "Later", nullptr, nullptr);
  laterNotText["io"]["Role"] = {"System", 5};  // not an array of strings: no role
  installBootContainer({backup, twoWords, empty, notStrings, laterNotText});

  const std::pair<const char*, VolumeRole> cases[] = {
      {"disk3s1s1", VolumeRole::mountedSystemSnapshot}, {"disk3s1", VolumeRole::system},
      {"disk3s4", VolumeRole::virtualMemory}, {"disk3", VolumeRole::generic}, {"disk5s1", VolumeRole::timeMachine},
      {"disk5s2", VolumeRole::generic}, {"disk5s3", VolumeRole::generic}, {"disk5s4", VolumeRole::generic},
      {"disk5s5", VolumeRole::generic}};
  for (const auto& [bsdName, role] : cases) EXPECT_EQ(volume(bsdName)->volumeRole(), role) << bsdName;
}

TEST_F(CVDiskVolumeRelationsTest, WholeDiskHasOnlyChildren) {
  installBootContainer();
  auto whole = volume("disk3");
  EXPECT_FALSE(whole->parent());
  EXPECT_FALSE(whole->siblings());
  EXPECT_EQ(namesOf(whole->children()),
            (std::set<std::string>{"disk3s1", "disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));
  EXPECT_FALSE(whole->systemVolume());
  EXPECT_FALSE(whole->isBootableAPFSContainer());

  auto system = volume("disk3s1");
  EXPECT_EQ(nameOf(system->parent()), "disk3");
  EXPECT_FALSE(system->children());
  // The snapshot goes through the whole disk, so it is a sibling too.
  EXPECT_EQ(namesOf(system->siblings()),
            (std::set<std::string>{"disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));
}

// The golden information blocks show the boot container's relations; these
// are the ones they do not.
TEST_F(CVDiskVolumeRelationsTest, GroupMembersFindEachOther) {
  installBootContainer();
  auto system = volume("disk3s1");
  auto data = volume("disk3s5");
  EXPECT_EQ(system->systemVolume().get(), system.get());
  EXPECT_EQ(data->dataVolume().get(), data.get());
  EXPECT_EQ(nameOf(system->dataVolume()), "disk3s5");
  // Helpers are outside the group, so they find no system.
  EXPECT_FALSE(volume("disk3s2")->systemVolume());
  EXPECT_EQ(nameOf(data->mountedSnapshotVolume()), "disk3s1s1");
  EXPECT_EQ(nameOf(system->mountedSnapshotVolume()), "disk3s1s1");
}

TEST_F(CVDiskVolumeRelationsTest, GroupsWithoutUUIDsLoneSlicesAndOtherSnapshots) {
  json data = apfsVolume("disk7s2", "Sys - Data", "Data", kGroupUUID);
  data["io"]["VolGroupMntFromName"] = "/dev/disk7s1s2";
  install({wholeDisk("disk4", "Drive", false), slice("disk4s1", "Plain", "hfs"),
           apfsVolume("disk4s2", "Sys", "System", nullptr),
           apfsVolume("disk4s3", "Zero", "Preboot", "00000000-0000-0000-0000-000000000000"),
           wholeDisk("disk6", "Lonely", false), slice("disk6s1", "Alone", "hfs"),
           wholeDisk("disk7", "AppleAPFSMedia", true), apfsVolume("disk7s1", "Sys", "System", kGroupUUID), data,
           apfsVolume("disk7s1s2", "Sys", "System", kGroupUUID)});

  // No group UUID on either side counts as the same group.
  EXPECT_EQ(nameOf(volume("disk4s1")->systemVolume()), "disk4s2");
  EXPECT_FALSE(volume("disk4s3")->volumeGroupUUID());
  EXPECT_EQ(nameOf(volume("disk4s3")->systemVolume()), "disk4s2");
  // A preboot volume without a recovery volume is no bootable container.
  EXPECT_EQ(nameOf(volume("disk4s1")->prebootVolume()), "disk4s3");
  EXPECT_FALSE(volume("disk4s1")->isBootableAPFSContainer());

  auto alone = volume("disk6s1");
  EXPECT_EQ(nameOf(alone->parent()), "disk6");
  EXPECT_FALSE(alone->siblings());  // absent, not empty
  EXPECT_FALSE(alone->systemVolume());
  // Only slice one of the system is its mounted snapshot.
  EXPECT_EQ(nameOf(volume("disk7s2")->systemVolume()), "disk7s1");
  EXPECT_FALSE(volume("disk7s2")->mountedSnapshotVolume());
}

TEST_F(CVDiskVolumeRelationsTest, DiskImageVolumesAndTheirSystem) {
  json whole = wholeDisk("disk8", "Apple Disk Image", false);
  whole["ioParents"] = {{{"image-path", data("L1VzZXJzL2FkYS9JbWFnZXMvUHJvamVjdC5kbWc=")}}};
  json system = mounted(apfsVolume("disk8s1", "Mac", "System", kGroupUUID), "/Volumes/Mac/", "APFS");
  system["ioParents"] = whole["ioParents"];
  json dataVolume =
      mounted(apfsVolume("disk8s2", "Mac - Data", "Data", kGroupUUID), "/Volumes/Mac - Data/", "APFS");
  dataVolume["da"]["DAVolumePath"] = url("file:///Volumes/Mac%20-%20Data/");
  dataVolume["ioParents"] = whole["ioParents"];
  json urlImage = mounted(slice("disk9s1", "Web", "hfs"), "/Volumes/Web/", "Mac OS Extended");
  urlImage["ioParents"] = {{{"DiskImageURL", "file:///Users/ada/Web%20Image.dmg"}}};
  json badImage = slice("disk9s2", "Bad", "hfs");
  badImage["ioParents"] = {{{"image-path", data("/w==")}}};
  install({whole, system, dataVolume, urlImage, badImage}, {"/Volumes/Mac", "/Volumes/Mac - Data", "/Volumes/Web"});

  EXPECT_EQ(volume("disk8s2")->imagePath()->absoluteString(), "file:///Users/ada/Images/Project.dmg");
  EXPECT_EQ(volume("disk9s1")->imagePath()->absoluteString(), "file:///Users/ada/Web%20Image.dmg");
  EXPECT_FALSE(volume("disk9s2")->imagePath());  // not UTF-8

  // Whatever slice matches, a system/data image gives its system volume.
  const std::pair<const char*, const char*> images[] = {
      {"/Users/ada/Images/../Images/Project.dmg", "disk8s1"}, {"/Users/ada/Web Image.dmg", "disk9s1"},
      {"/Users/ada/x.dmg", "<absent>"}};
  for (const auto& [path, bsdName] : images) {
    EXPECT_EQ(nameOf(CVDiskVolume::initWithImagePath(platform::URL::fileURLWithPath(path, false))), bsdName) << path;
  }
}
