#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/file_manager.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

TEST(FileManagerTest, ExistenceIsLookedUpBelowTheFolderAndForDeviceNodes) {
  MachineBuilder m;
  m.json({{"media", {{{"da", {{"DAMediaBSDName", "disk4s2"}}}}}}})
      .file("/Volumes/Data/a.txt", "x")
      .directory("/Volumes/Empty")
      .file("/dev/rdisk9")
      .symlink("/Volumes/Data/dangling", "nowhere")
      .symlink("/Volumes/Data/link", "a.txt");
  auto fm = m.platform().fileManager;
  // ".." never climbs out of the folder.
  const std::pair<std::string, bool> cases[] = {
      {"/Volumes/Data/a.txt", true},
      {"/Volumes/Empty/", true},
      {"/", true},
      {"/Volumes/Data/link", true},
      {"/Volumes/Data/dangling", false},
      {"/Volumes/Other", false},
      {"/dev/disk4s2", true},
      {"/dev/rdisk9", true},
      {"/dev/disk4s3", false},
      {"/dev/disk4", false},
      {"/../Volumes/Data/a.txt", true},
      {"/../../" + m.folder().filename().string() + "/machine.json/x", false}};
  for (const auto& [path, exists] : cases) EXPECT_EQ(fm->fileExistsAtPath(path), exists) << path;
}

TEST(FileManagerTest, SubpathsAreDepthFirstInByteOrderWithLinksListedNotFollowed) {
  MachineBuilder m;
  const std::string root = "/Users/user/Library/Application Support/Corvane!";
  m.file(root + "/b.cvsp/Session Settings.cvss")
      .file(root + "/B.cvsp/x")
      .file(root + "/a/inner.cvsp/deep/z")
      .file(root + "/a b")
      .file(root + "/\xC3\xA9t\xC3\xA9")
      .directory(root + "/a/empty")
      .symlink(root + "/a/loop", "..")
      .symlink(root + "/self", ".");
  auto fm = m.platform().fileManager;
  auto subpaths = fm->subpathsOfDirectoryAtPath(root);
  ASSERT_TRUE(subpaths.ok());
  EXPECT_EQ(subpaths.value(),
            (std::vector<std::string>{"B.cvsp", "B.cvsp/x", "a", "a/empty", "a/inner.cvsp",
                                      "a/inner.cvsp/deep", "a/inner.cvsp/deep/z", "a/loop", "a b",
                                      "b.cvsp", "b.cvsp/Session Settings.cvss", "self",
                                      "\xC3\xA9t\xC3\xA9"}));
  // A trailing "/" names the same folder; an empty folder has no subpaths.
  EXPECT_EQ(fm->subpathsOfDirectoryAtPath(root + "/").value(), subpaths.value());
  EXPECT_TRUE(fm->subpathsOfDirectoryAtPath(root + "/a/empty").value().empty());
}

TEST(FileManagerTest, ReadingWholeFilesWithALimit) {
  MachineBuilder m;
  m.file("/a.plist", std::string("ab\0c", 4)).file("/empty").directory("/dir").file("/big", std::string(100, 'x'));
  auto fm = m.platform().fileManager;
  auto data = fm->dataWithContentsOfFile("/a.plist");
  ASSERT_TRUE(data.ok());
  EXPECT_EQ(data.value().asStringView(), std::string_view("ab\0c", 4));
  EXPECT_EQ(fm->contentsAtPath("/a.plist")->size(), 4u);
  EXPECT_EQ(fm->dataWithContentsOfFile("/empty").value().size(), 0u);

  EXPECT_EQ(fm->dataWithContentsOfFile("/big", 100).value().size(), 100u);
  auto tooBig = fm->dataWithContentsOfFile("/big", 99);
  ASSERT_FALSE(tooBig.ok());
  EXPECT_EQ(tooBig.error().localizedDescription,
            "The file \xE2\x80\x9C" "big\xE2\x80\x9D couldn\xE2\x80\x99t be opened because it is too large.");

  auto missing = fm->dataWithContentsOfFile("/nope/x.plist");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().code, 260);
  EXPECT_FALSE(fm->dataWithContentsOfFile("/dir").ok());
  EXPECT_FALSE(fm->contentsAtPath("/dir"));
  EXPECT_FALSE(fm->contentsAtPath("/nope"));

  if (::geteuid() != 0) {  // root reads everything
    ::chmod(m.hostPath("/a.plist").c_str(), 0);
    auto denied = fm->dataWithContentsOfFile("/a.plist");
    ASSERT_FALSE(denied.ok());
    EXPECT_EQ(denied.error().code, 257);
  }
}

TEST(FileManagerTest, SearchPathsOfTheUserDomainComeFromTheHome) {
  MachineBuilder m;
  m.json({{"home", "/Users/ada"}});
  auto fm = m.platform().fileManager;
  using D = SearchPathDirectory;
  using M = SearchPathDomainMask;
  EXPECT_EQ(fm->NSSearchPathForDirectoriesInDomains(D::NSLibraryDirectory, M::NSUserDomainMask, true),
            (std::vector<std::string>{"/Users/ada/Library"}));
  EXPECT_EQ(fm->NSSearchPathForDirectoriesInDomains(D::NSApplicationSupportDirectory, M::NSUserDomainMask, true),
            (std::vector<std::string>{"/Users/ada/Library/Application Support"}));
  EXPECT_EQ(fm->NSSearchPathForDirectoriesInDomains(D::NSLibraryDirectory, M::NSUserDomainMask, false),
            (std::vector<std::string>{"~/Library"}));
  EXPECT_TRUE(fm->NSSearchPathForDirectoriesInDomains(D::NSLibraryDirectory, M::NSSystemDomainMask, true).empty());

  MachineBuilder defaults;
  EXPECT_EQ(defaults.platform().fileManager->NSSearchPathForDirectoriesInDomains(
                D::NSApplicationSupportDirectory, M::NSUserDomainMask, true),
            (std::vector<std::string>{"/Users/user/Library/Application Support"}));
}
