#include "platform/bookmarks.h"

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/machine/property_list_codec.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

using namespace platform;
using testsupport::MachineBuilder;

namespace {

const std::vector<std::string> kBaseKeys = {"NSURLVolumeNameKey", "NSURLVolumeLocalizedNameKey",
                                            "NSURLVolumeUUIDStringKey", "NSURLVolumeURLForRemountingKey",
                                            "NSURLVolumeIsEjectableKey"};
const std::string kRealUUIDKey = "CVDiskVolume.volumeRealUUIDStringKey";
const std::string kMediaUUIDKey = "CVDiskVolume.volumeMediaUUIDStringKey";
const std::string kGroupUUIDKey = "CVDiskVolume.volumeGroupUUIDStringKey";

std::vector<std::string> allKeys() {
  auto keys = kBaseKeys;
  keys.insert(keys.end(), {kRealUUIDKey, kMediaUUIDKey, kGroupUUIDKey});
  return keys;
}

}  // namespace

TEST(BookmarksTest, ABlobKeepsTheURLAndTheAskedValuesThatExist) {
  MachineBuilder m("backup_volume");  // a volume with its values, one whose reads fail
  Platform p = m.platform();
  ASSERT_NE(p.bookmarks, nullptr);
  URL url = URL::fileURLWithPath("/Volumes/Backup", true);
  Dictionary temporary{{kRealUUIDKey, "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10"},
                       {kMediaUUIDKey, "0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F"},
                       {"NotAsked", "ignored"}};
  auto blob = p.bookmarks->bookmarkData(url, NSURLBookmarkCreationSuitableForBookmarkFile, allKeys(), temporary);
  ASSERT_TRUE(blob) << blob.error().localizedDescription;

  // The encoding other tools may read: the root dictionary, whole.
  auto root = machine::decodePropertyList(blob->bytes());
  ASSERT_TRUE(root);
  EXPECT_EQ(*root, Value(Dictionary{{"NSURLBookmarkURL", "file:///Volumes/Backup/"},
                                    {"NSURLVolumeNameKey", "Backup"},
                                    {"NSURLVolumeLocalizedNameKey", "Backup"},
                                    {"NSURLVolumeUUIDStringKey", "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10"},
                                    {"NSURLVolumeURLForRemountingKey", "smb://server/Backup"},
                                    {kRealUUIDKey, "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10"},
                                    {kMediaUUIDKey, "0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F"}}));

  bool stale = true;
  auto resolved = p.bookmarks->resolvingBookmarkData(*blob, stale);
  ASSERT_TRUE(resolved);
  EXPECT_EQ(*resolved, url);
  EXPECT_FALSE(stale);

  // Read back with only the five base keys, as a registry entry is read.
  auto values = p.bookmarks->resourceValues(kBaseKeys, *blob);
  ASSERT_TRUE(values);
  EXPECT_EQ(*values, (Dictionary{{"NSURLVolumeNameKey", "Backup"},
                                 {"NSURLVolumeLocalizedNameKey", "Backup"},
                                 {"NSURLVolumeUUIDStringKey", "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10"},
                                 {"NSURLVolumeURLForRemountingKey", *URL::fromString("smb://server/Backup")}}));
  auto custom = p.bookmarks->resourceValues({kGroupUUIDKey, kMediaUUIDKey}, *blob);
  EXPECT_EQ(custom, (Dictionary{{kMediaUUIDKey, "0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F"}}));
}

TEST(BookmarksTest, MakingFailsWhenTheValuesCannotBeReadOrTheURLIsNoFileURL) {
  MachineBuilder m("backup_volume");
  Platform p = m.platform();
  auto broken = p.bookmarks->bookmarkData(URL::fileURLWithPath("/Volumes/Broken", true), 0x400, kBaseKeys, {});
  ASSERT_FALSE(broken);
  EXPECT_EQ(broken.error().localizedDescription, "The volume is not responding.");
  EXPECT_FALSE(p.bookmarks->bookmarkData(*URL::fromString("https://example.com/"), 0x400, kBaseKeys, {}));
  // Temporary values alone need no read.
  auto onlyTemporary = p.bookmarks->bookmarkData(URL::fileURLWithPath("/Volumes/Broken", true), 0x400,
                                                 {kGroupUUIDKey}, {{kGroupUUIDKey, "G"}});
  ASSERT_TRUE(onlyTemporary);
  EXPECT_EQ(p.bookmarks->resourceValues({kGroupUUIDKey}, *onlyTemporary), (Dictionary{{kGroupUUIDKey, "G"}}));
}

TEST(BookmarksTest, BlobsThatAreNoBookmarkGiveNoValuesAndDoNotResolve) {
  MachineBuilder m;
  Platform p = m.platform();
  auto encode = [](const Value& v) { return *machine::encodePropertyList(v, PropertyListFormat::Binary); };
  const Bytes garbage[] = {
      Bytes(),
      Bytes::fromString("definitely not a bookmark"),
      Bytes::fromString(cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/cycle.bplist")),
      encode(Value(Array{"file:///Volumes/Backup/"})),
      encode(Value(Dictionary{{"NSURLVolumeNameKey", "Backup"}})),
      encode(Value(Dictionary{{"NSURLBookmarkURL", 42}})),
      encode(Value(Dictionary{{"NSURLBookmarkURL", "/Volumes/Backup/"}})),
  };
  for (const auto& blob : garbage) {
    EXPECT_FALSE(p.bookmarks->resourceValues(kBaseKeys, blob)) << blob.size();
    bool stale = true;
    auto resolved = p.bookmarks->resolvingBookmarkData(blob, stale);
    ASSERT_FALSE(resolved);
    EXPECT_EQ(resolved.error().domain, "NSCocoaErrorDomain");
  }
}
