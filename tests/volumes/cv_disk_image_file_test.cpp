// Disk image files: what they answer from their path, and the predicted mount
// points.
#include "volumes/cv_disk_image_file.h"

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {
std::shared_ptr<CVDiskImageFile> image(const std::string& path) {
  return CVDiskImageFile::init(platform::URL::fileURLWithPath(path, false));
}
}  // namespace

TEST(CVDiskImageFileNameTest, ExtensionsAndWritability) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"Backup.sparseimage", "Backup", true}, {"Backup.dmg", "Backup", false}, {"Backup.DMG", "Backup", true},
      {"My.Backup.dmg", "My.Backup", false},  {".dmg", ".dmg", true}};
  for (const auto& [file, name, writable] : cases) {
    EXPECT_EQ(image(std::string("/Users/ada/") + file)->name(), name) << file;
    EXPECT_EQ(image(std::string("/Users/ada/") + file)->isWritable(), writable) << file;
  }

  // Without a path there is no extension to forbid writing, and no mount.
  auto file = image("/Users/ada/Backup.dmg");
  file->setPath(std::nullopt);
  EXPECT_TRUE(file->isWritable());
  EXPECT_FALSE(file->mountPath());
}

using CVDiskImageFileTest = VolumeMachineTest;

TEST_F(CVDiskImageFileTest, MountPathCountsVolumesNamedLikeTheImage) {
  install("image_names");
  // Backup, Backup 1 and Backups count; Backup 2, the mount of
  // /Users/ada/Backup.dmg itself, and the vanished mount Backup Old do not.
  EXPECT_EQ(image("/Users/ada/Backup.dmg")->mountPath(), "/Volumes/Backup 3");
  EXPECT_EQ(image("/Users/ada/Other.dmg")->mountPath(), "/Volumes/Other");
  EXPECT_EQ(image("/Users/ada/Mac.sparseimage")->predictedDataVolumeMountPath(), "/Volumes/Mac - Data 1");
  EXPECT_EQ(image("/Users/ada/Solo.sparseimage")->predictedDataVolumeMountPath(), "/Volumes/Solo - Data");
}

TEST_F(CVDiskImageFileTest, BookmarksRoundTripAndFailSoftly) {
  install("image_names");
  auto original = image("/Users/ada/Backup.dmg");
  auto blob = original->bookmark();
  ASSERT_TRUE(blob);
  auto restored = CVDiskImageFile::initWithBookmark(*blob);
  ASSERT_TRUE(restored);
  EXPECT_EQ(restored->path(), original->path());

  EXPECT_FALSE(CVDiskImageFile::initWithBookmark(platform::Bytes::fromString("no bookmark")));
  original->setPath(std::nullopt);
  EXPECT_FALSE(original->bookmark());

  const std::string lines = logText();
  for (const char* expected : {"error com.tamarlin.Corvane.Volumes CVDisk: Failed to deserialize CVDiskImage bookmark "
                               "data due to error \u201C",
                               "\u201D, isStale = false\n",
                               "error com.tamarlin.Corvane.Volumes CVDisk: CVDiskImageFile bookmark creation failed - "
                               "alias is nil\n"}) {
    EXPECT_NE(lines.find(expected), std::string::npos) << expected << " in " << lines;
  }
}
