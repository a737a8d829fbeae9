// The registry table's layout on the catalogue machine: names padded and cut
// by UTF-16 code units, an absent name, an unreadable bookmark, and the
// duplicate list, which prints names whole.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

const std::string kBackupUUID = "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10";  // disk4s2, mounted
// Volume UUIDs of no attached volume.
const std::string kPhotosUUID = "21111111-2222-4333-8444-555555555555", kFamilyUUID = "31111111-2222-4333-8444-555555555555",
                  kLongUUID = "41111111-2222-4333-8444-555555555555";

platform::Bytes bookmark(std::optional<std::string> name, const std::string& uuid) {
  platform::Dictionary values{{"NSURLVolumeUUIDStringKey", uuid}};
  if (name) values.emplace("NSURLVolumeNameKey", *name);
  return *platform::current().bookmarks->bookmarkData(platform::URL::fileURLWithPath("/Volumes/X", true), 0x400,
                                                      {"NSURLVolumeUUIDStringKey", "NSURLVolumeNameKey"}, values);
}

std::string blanks(std::size_t count) { return std::string(count, ' '); }
std::string guid(int n) { return "10000000-0000-4000-8000-00000000000" + std::to_string(n); }

}  // namespace

TEST(CVDiskManagerDumpsTest, PadsAndCutsNamesByUTF16CodeUnits) {
  testsupport::MachineBuilder machine{"volumes_catalogue"};
  machine.install();
  const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";  // 8 units
  const std::string longName = std::string(44, 'a') + "e\u0301 and more";  // 55 units
  const CVDiskVolumeMap map{
      {guid(1), bookmark("Cafe\u0301", kBackupUUID)}, {guid(2), bookmark("\U0001F4F7 Photos", kPhotosUUID)},
      {guid(3), bookmark(family + " Family", kFamilyUUID)}, {guid(4), bookmark(longName, kLongUUID)},
      {guid(5), bookmark(std::string(44, 'b') + "\U0001F600", kLongUUID)}, {guid(6), bookmark(std::nullopt, kLongUUID)},
      {guid(7), platform::Bytes::fromString("no bookmark")}};
  auto manager = CVDiskManager::create();
  manager->setMap(map);
  // The hash changes from run to run; the size is the blob's.
  auto tail = [&map](int n) { return " <hash> " + std::to_string(map.at(guid(n)).size()) + " bytes\n"; };
  const std::string expected =
      "GUID" + blanks(32) + " Name" + blanks(41) + " Volume UUID" + blanks(25) + " Mounted Hash    Size      \n" +
      std::string(36, '-') + ' ' + std::string(45, '-') + ' ' + std::string(36, '-') + " ------- ------- ----------\n" +
      guid(1) + " Cafe\u0301" + blanks(40) + ' ' + kBackupUUID + " YES    " + tail(1) +
      guid(2) + " \U0001F4F7 Photos" + blanks(36) + ' ' + kPhotosUUID + " NO     " + tail(2) +
      guid(3) + ' ' + family + " Family" + blanks(30) + ' ' + kFamilyUUID + " NO     " + tail(3) +
      guid(4) + ' ' + std::string(44, 'a') + "e " + kLongUUID + " NO     " + tail(4) +
      guid(5) + ' ' + std::string(44, 'b') + "\uFFFD " + kLongUUID + " NO     " + tail(5) +
      guid(6) + "  " + kLongUUID + " NO     " + tail(6) +
      guid(7) + "  00000000-0000-0000-0000-000000000000 NO     " + tail(7);
  EXPECT_EQ(cvdiag_test::withoutVolatileParts(manager->guidMapDump()), expected);
  EXPECT_EQ(manager->duplicatesDump(), "Duplicate entries found for volume(s):\n  Volume " + kLongUUID + " \u201C" +
                                           longName + "\u201D is associated with more than one GUID. 3 entries found.\n");
}
