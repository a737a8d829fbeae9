#include <gtest/gtest.h>

#include <cerrno>
#include <sys/stat.h>

#include "platform/system.h"
#include "platform/workspace.h"
#include "platform/machine/machine_platform.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

namespace {

class SystemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    builder.file("/System/x").file("/Volumes/Data/a/b").directory("/Volumes/Bare");
    platformValue = builder.platform();
    system = platformValue.system;
  }
  MachineBuilder builder{"system_facts"};  // the root with statfs facts, a bare and a device-only volume
  Platform platformValue;
  std::shared_ptr<System> system;
};

AttrList volumeAttribute(std::uint32_t attribute) {
  AttrList list;
  list.volattr = attribute;
  return list;
}
AttrList realDevice() {
  AttrList list;
  list.forkattr = ATTR_CMNEXT_REALDEVID;
  return list;
}

}  // namespace

TEST_F(SystemTest, StatfsAnswersWithTheFactsOfTheVolumeThatHoldsThePath) {
  auto root = system->statfs("/System/x");
  ASSERT_TRUE(root.ok());
  EXPECT_EQ(root->f_bsize, 4096u);
  EXPECT_EQ(root->f_blocks, 1000u);
  EXPECT_EQ(root->f_bfree, 250u);
  EXPECT_EQ(root->f_flags, MNT_RDONLY | MNT_IGNORE_OWNERSHIP);
  EXPECT_EQ(system->statfs("/Volumes/Data/a").error(), Errno{ENOTSUP});  // no statfs recorded
  EXPECT_EQ(system->statfs("/System/missing").error(), Errno{ENOENT});
}

TEST_F(SystemTest, StatGivesTheVolumeDevice) {
  EXPECT_EQ(system->stat("/").value().st_dev, 16777220);
  EXPECT_EQ(system->stat("/Volumes/Data/a/b").value().st_dev, -7);
  EXPECT_EQ(system->stat("/Volumes/Bare").value().st_dev, 0x1000000 + 2);  // the volume's place
  EXPECT_EQ(system->stat("/Volumes/Data/zzz").error(), Errno{ENOENT});
  EXPECT_TRUE(system->stat("/dev/disk4s2").ok());  // device nodes of media exist
}

TEST_F(SystemTest, GetattrlistCountsAndTheRealDevice) {
  EXPECT_EQ(system->getattrlist("/", volumeAttribute(ATTR_VOL_FILECOUNT), 0).value(), 123456);
  EXPECT_EQ(system->getattrlist("/", volumeAttribute(ATTR_VOL_DIRCOUNT), 0).value(), 789);
  EXPECT_EQ(system->getattrlist("/System/x", realDevice(), FSOPT_ATTR_CMN_EXTENDED).value(), 16777221);

  EXPECT_EQ(system->getattrlist("/Volumes/Data", realDevice(), FSOPT_ATTR_CMN_EXTENDED).error(), Errno{EINVAL});
  EXPECT_FALSE(system->getattrlist("/Volumes/Data", volumeAttribute(ATTR_VOL_FILECOUNT), 0).ok());
  EXPECT_FALSE(system->getattrlist("/Volumes/Bare", volumeAttribute(ATTR_VOL_DIRCOUNT), 0).ok());
  // The real device needs the extended option; other lists are refused.
  EXPECT_EQ(system->getattrlist("/", realDevice(), 0).error(), Errno{EINVAL});
  EXPECT_EQ(system->getattrlist("/", volumeAttribute(ATTR_VOL_FILECOUNT | ATTR_VOL_DIRCOUNT), 0).error(),
            Errno{EINVAL});
  EXPECT_EQ(system->getattrlist("/nothing", realDevice(), FSOPT_ATTR_CMN_EXTENDED).error(), Errno{ENOENT});
}

TEST(HostPlatformTest, TheHostAnswersFromItsOwnFileSystem) {
  auto p = machine::makeMachinePlatform(machine::hostMachine(), {});
  EXPECT_TRUE(p.fileManager->fileExistsAtPath("/"));
  EXPECT_FALSE(p.fileManager->fileExistsAtPath("/dev/disk0s999-no-such-node"));

  struct stat info {};
  ASSERT_EQ(::stat("/", &info), 0);
  EXPECT_EQ(p.system->stat("/").value().st_dev, static_cast<std::int32_t>(info.st_dev));
  EXPECT_EQ(p.system->getattrlist("/", realDevice(), FSOPT_ATTR_CMN_EXTENDED).error(), Errno{EINVAL});

  // No media objects: nothing to enumerate, and no volume values.
  auto media = p.ioKit->IOServiceGetMatchingServices(p.ioKit->IOServiceMatching("IOMedia"));
  ASSERT_TRUE(media);
  EXPECT_TRUE(media->isEmpty());
  auto values = p.urlResources->resourceValuesForKeys(URL::fileURLWithPath("/", true),
                                                      {std::string(NSURLVolumeURLKey)});
  ASSERT_TRUE(values.ok());
  EXPECT_TRUE(values->empty());
}
