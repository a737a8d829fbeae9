#include <gtest/gtest.h>

#include <sys/stat.h>

#include "platform/machine/simulated_disk_arbitration.h"
#include "platform/url_resources.h"
#include "support/machine_builder.h"

using namespace platform;
using testsupport::MachineBuilder;

namespace {

URL dir(std::string_view path) { return URL::fileURLWithPath(path, true); }
URL file(std::string_view path) { return URL::fileURLWithPath(path, false); }

class URLResourcesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    builder.directory("/Volumes/Data").file("/Volumes/Data/host.txt", "x");
    machine = builder.platform();
    resources = machine.urlResources;
  }

  Dictionary values(const URL& url, std::vector<std::string> keys) {
    auto result = resources->resourceValuesForKeys(url, keys);
    EXPECT_TRUE(result.ok()) << url.absoluteString();
    return result.ok() ? result.value() : Dictionary{};
  }

  std::string volumeURL(const URL& url) {
    auto v = values(url, {std::string(NSURLVolumeURLKey)});
    const Value* u = lookup(v, NSURLVolumeURLKey);
    return u && u->url() ? u->url()->absoluteString() : "(none)";
  }

  MachineBuilder builder{"url_resources"};  // volumes nested, erring, unmounted; recorded file dates
  Platform machine;
  std::shared_ptr<URLResources> resources;
};

}  // namespace

TEST_F(URLResourcesTest, TheVolumeIsTheLongestMountPathPrefixByWholeComponents) {
  EXPECT_EQ(volumeURL(dir("/Volumes/Data")), "file:///Volumes/Data/");
  EXPECT_EQ(volumeURL(file("/Volumes/Data/a/b.txt")), "file:///Volumes/Data/");
  EXPECT_EQ(volumeURL(file("/Volumes/Data/Nested/x")), "file:///Volumes/Data/Nested/");
  EXPECT_EQ(volumeURL(file("/Volumes/Database/x")), "file:///");  // not below /Volumes/Data
  EXPECT_EQ(volumeURL(file("/Volumes/Data/../Other")), "file:///");
}

TEST_F(URLResourcesTest, VolumeValuesAnswerForEveryURLOnTheVolumeAndAbsentKeysAreLeftOut) {
  auto v = values(file("/Volumes/Data/missing/file.txt"),
                  {"NSURLVolumeLocalizedNameKey", "NSURLVolumeTotalCapacityKey", "NSURLVolumeIdentifierKey",
                   "NSURLVolumeURLForRemountingKey", "NSURLVolumeIsBrowsableKey"});
  EXPECT_EQ(v.size(), 4u);
  EXPECT_EQ(*lookup(v, NSURLVolumeLocalizedNameKey)->string(), "Data");
  EXPECT_EQ(lookup(v, NSURLVolumeTotalCapacityKey)->asInt64(), 1999859621888);
  EXPECT_EQ(lookup(v, NSURLVolumeIdentifierKey)->data()->size(), 3u);
  EXPECT_EQ(lookup(v, NSURLVolumeURLForRemountingKey)->url()->absoluteString(), "smb://server/Data");
  EXPECT_FALSE(lookup(v, NSURLVolumeIsBrowsableKey));  // the root's value is not inherited

  // A nested mount without recorded values has none, not its parent's.
  EXPECT_TRUE(values(dir("/Volumes/Data/Nested"), {"NSURLVolumeLocalizedNameKey"}).empty());
  // A media object that is not mounted holds no path.
  EXPECT_EQ(*lookup(values(dir("/Volumes/Unmounted"), {"NSURLVolumeLocalizedNameKey"}),
                    NSURLVolumeLocalizedNameKey)->string(),
            "Macintosh HD");
}

TEST_F(URLResourcesTest, RecordedErrorsFailEveryReadWithTheirText) {
  auto broken = resources->resourceValuesForKeys(dir("/Volumes/Broken"), {"NSURLVolumeURLKey"});
  ASSERT_FALSE(broken.ok());
  EXPECT_EQ(broken.error().localizedDescription, "The volume is not responding.");
  EXPECT_FALSE(resources->resourceValuesForKeys(file("/Volumes/Broken/a/b"), {}).ok());

  auto bad = resources->resourceValuesForKeys(file("/Volumes/Data/bad.txt"), {"NSURLCreationDateKey"});
  ASSERT_FALSE(bad.ok());
  EXPECT_EQ(bad.error().localizedDescription, "The file “bad.txt” couldn’t be opened.");
  // Only that file fails.
  EXPECT_TRUE(resources->resourceValuesForKeys(file("/Volumes/Data/good.txt"), {"NSURLCreationDateKey"}).ok());

  auto remote = URL::fromString("https://example.org/x");
  EXPECT_FALSE(resources->resourceValuesForKeys(*remote, {"NSURLVolumeURLKey"}).ok());
}

TEST_F(URLResourcesTest, FileDatesComeFromTheRecordOrFromTheHostFile) {
  std::vector<std::string> dateKeys{"NSURLCreationDateKey", "NSURLContentModificationDateKey"};
  auto dated = values(file("/Volumes/Data/dated.txt"), dateKeys);
  EXPECT_EQ(lookup(dated, NSURLCreationDateKey)->date()->secondsSince1970(), 1709287200.0);
  EXPECT_EQ(lookup(dated, NSURLContentModificationDateKey)->date()->secondsSince1970(), 1709379000.0);

  auto half = values(file("/Volumes/Data/half.txt"), dateKeys);
  EXPECT_FALSE(lookup(half, NSURLCreationDateKey));  // a date left out is absent
  EXPECT_TRUE(lookup(half, NSURLContentModificationDateKey));

  struct stat info {};
  ASSERT_EQ(::stat(builder.hostPath("/Volumes/Data/host.txt").c_str(), &info), 0);
  auto host = values(file("/Volumes/Data/host.txt"), dateKeys);
  ASSERT_TRUE(lookup(host, NSURLContentModificationDateKey));
  EXPECT_EQ(static_cast<long>(lookup(host, NSURLContentModificationDateKey)->date()->secondsSince1970()),
            static_cast<long>(info.st_mtime));

  EXPECT_TRUE(values(file("/Volumes/Data/none.txt"), dateKeys).empty());
}

TEST_F(URLResourcesTest, NamesAndKindsOfExistingItems) {
  std::vector<std::string> keys{"NSURLNameKey", "NSURLLocalizedNameKey", "NSURLIsDirectoryKey"};
  EXPECT_EQ(values(file("/Volumes/Data/host.txt"), keys),
            (Dictionary{{"NSURLIsDirectoryKey", Value(false)}, {"NSURLLocalizedNameKey", Value("host.txt")},
                        {"NSURLNameKey", Value("host.txt")}}));
  // The root is named after its volume: a localized name is recorded, a plain one is not.
  EXPECT_EQ(values(dir("/"), keys), (Dictionary{{"NSURLIsDirectoryKey", Value(true)},
                                                {"NSURLLocalizedNameKey", Value("Macintosh HD")}}));
  EXPECT_TRUE(values(file("/Volumes/Data/none.txt"), keys).empty());
  // A simulated rename reaches the name keys the volume records, and only those.
  auto& da = dynamic_cast<machine::SimulatedDiskArbitration&>(*machine.diskArbitration);
  EXPECT_EQ(da.simulateVolumeRenamed("disk1s1", "Renamed"), 0u);  // no callback is registered
  EXPECT_EQ(values(dir("/"), {"NSURLLocalizedNameKey", "NSURLVolumeLocalizedNameKey", "NSURLVolumeNameKey"}),
            (Dictionary{{"NSURLLocalizedNameKey", Value("Renamed")}, {"NSURLVolumeLocalizedNameKey", Value("Renamed")}}));
}
