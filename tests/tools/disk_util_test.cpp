// CVDiag's diskutil section on machines whose diskutil answers well, badly or not at all. The cases of
// a machine print the same volume blocks: each case's golden holds the text before them, and the blocks
// are those of expected/volumes.txt with the "diskutil info" of the case's unanswered disks as "<null>".
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/run_cvdiag.h"
#include "support/machine_builder.h"

namespace {

namespace fs = std::filesystem;


void writeFile(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
  fs::permissions(path, fs::perms::owner_all);
}

cvdiag_test::RunResult runSection(const testsupport::MachineBuilder& machine) {
  return cvdiag_test::runCVDiag({"--disk-utility-entities"}, {{"CVDIAG_MACHINE", machine.folder().string()}});
}

fs::path answers(const testsupport::MachineBuilder& m) { return m.folder() / "usr/sbin/diskutil.d"; }

// Replaces what stands in the text of an answer from `from` up to `to`.
void edit(const fs::path& plist, const std::string& from, const std::string& to, const std::string& text) {
  std::string plistText = cvdiag_test::readFile(plist);
  auto at = plistText.find(from);
  ASSERT_NE(at, std::string::npos);
  writeFile(plist, plistText.replace(at, plistText.find(to, at) - at, text));
}

// Puts a script in front of the recorded diskutil, which stays beside it.
void wrapDiskutil(const testsupport::MachineBuilder& m, const std::string& body) {
  fs::rename(m.folder() / "usr/sbin/diskutil", m.folder() / "usr/sbin/diskutil.real");
  writeFile(m.folder() / "usr/sbin/diskutil", "#!/bin/sh\nreal=\"$(dirname \"$0\")/diskutil.real\"\n" + body + "\n");
}

// The volume blocks with the "diskutil info" dictionary of each named disk replaced by "<null>".
std::string withNullInfo(std::string blocks, const std::vector<std::string>& disks) {
  for (const auto& disk : disks) {
    auto info = blocks.find("diskutil info\n {\n", blocks.find("device: " + disk + " ")) + 14;
    blocks.replace(info, blocks.find("\n}\n", info) + 3 - info, " <null>\n");
  }
  return blocks;
}

const std::vector<std::string> kAllInfoNull{"disk3", "disk3s5", "disk10"};

// Compares the text before the volume blocks with the golden, and the blocks with expected/volumes.txt
// of the machine (written there when `nullInfo` is empty and CVDIAG_UPDATE_GOLDENS=1).
void expectSectionGolden(const testsupport::MachineBuilder& machine, const char* golden, const std::string& out,
                         const std::vector<std::string>& nullInfo = {}) {
  const auto blocks = std::min(out.find("\n>>>>>>>>>>>>>>>>>>>>\n"), out.size());
  machine.expectGolden(golden, out.substr(0, blocks));
  if (nullInfo.empty()) return machine.expectGolden("volumes.txt", out.substr(blocks));
  EXPECT_EQ(out.substr(blocks), withNullInfo(cvdiag_test::readFile(machine.source() / "expected/volumes.txt"), nullInfo));
}

struct Case {
  const char* name;
  std::function<void(const testsupport::MachineBuilder&)> prepare;
  const char* golden;                  // what comes before the volume blocks
  std::vector<std::string> nullInfo;   // disks whose "diskutil info" prints "<null>"
  const char* machine = "diskutil_small";
};

class DiskUtilSectionTest : public ::testing::TestWithParam<Case> {};

TEST_P(DiskUtilSectionTest, PrintsTheGoldenText) {
  const Case& c = GetParam();
  testsupport::MachineBuilder machine(c.machine);
  c.prepare(machine);
  auto result = runSection(machine);
  expectSectionGolden(machine, c.golden, result.out, c.nullInfo);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

const fs::path kList = "list.plist", kFileSystems = "listFileSystems.plist";

const Case kCases[] = {
    // System and data volumes in a group, a snapshot, a disk image.
    {"FullApfsMachine", [](auto&) {}, "disk_utility_entities.txt", {}, "diskutil_apfs"},
    {"Complete", [](auto&) {}, "complete.txt", {}},
    {"NonZeroExitAfterValidOutput", [](auto& m) { wrapDiskutil(m, "\"$real\" \"$@\"\nexit 3"); }, "complete.txt", {}},
    {"InfoFailsForOneDisk", [](auto& m) { fs::remove(answers(m) / "info/disk2.plist"); }, "info_fails.txt", {}},
    {"WrongShapesInsideTheAnswers",  // an info that is an array, groups of every wrong shape
     [](auto& m) { fs::copy(answers(m) / "wrong", answers(m), fs::copy_options::recursive | fs::copy_options::overwrite_existing); },
     "wrong_shapes.txt", {"disk3s5"}},
    {"TextThatIsNoPropertyList", [](auto& m) { fs::rename(answers(m) / "listFileSystems.txt", answers(m) / kFileSystems); },
     "not_plist.txt", kAllInfoNull},
    {"FileSystemsNotAnArrayOfDictionaries", [](auto& m) { edit(answers(m) / kFileSystems, "<dict>", "</array>", "<dict/><true/>"); },
     "file_systems_wrong_shape.txt", kAllInfoNull},
    {"NoDiskutil", [](auto& m) { fs::remove(m.folder() / "usr/sbin/diskutil"); }, "no_diskutil.txt", kAllInfoNull},
    {"DiskutilNotExecutable", [](auto& m) { fs::permissions(m.folder() / "usr/sbin/diskutil", fs::perms::owner_read); },
     "no_diskutil.txt", kAllInfoNull},
    {"LayoutNotUTF8", [](auto& m) { edit(answers(m) / kList, "<key>AllDisks<", "<", "\xff\xfe"); }, "layout_not_utf8.txt", kAllInfoNull},
    {"TenMegabytesOfGarbage", [](auto& m) { writeFile(answers(m) / kList, std::string(10 << 20, '\xc3')); },
     "layout_not_utf8.txt", kAllInfoNull},
    {"AllDisksNotStrings", [](auto& m) { edit(answers(m) / kList, "<string>disk2<", "</array>", "<true/>"); },
     "all_disks_wrong_shape.txt", kAllInfoNull},
    {"LayoutWithoutVolumesFromDisks", [](auto& m) { edit(answers(m) / kList, "<key>VolumesFromDisks", "<key>WholeDisks", ""); },
     "no_volumes_from_disks.txt", kAllInfoNull},
    {"NoVolumeGroups", [](auto& m) { fs::remove(answers(m) / "apfs-listVolumeGroups.plist"); }, "no_volume_groups.txt", kAllInfoNull},
};

INSTANTIATE_TEST_SUITE_P(Machines, DiskUtilSectionTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Each disk list leaves behind a process that holds the pipe and floods it once the run's second of grace
// is over, while the answer of the volume groups comes late: nobody reads the flood, nothing of it is kept.
// The bound is on what the flood adds to the same run without it, so a sanitizer's own memory counts for nothing.
TEST(DiskUtilSectionFloodTest, ABackgroundProcessFloodingThePipeAfterTheGraceIsNotRead) {
  testsupport::MachineBuilder machine("diskutil_small");
  const auto quiet = runSection(machine);
  wrapDiskutil(machine, "if [ \"$1\" = list ]; then ( sleep 1.6; head -c 300000000 /dev/zero ) & fi\n"
                        "if [ \"$1\" = apfs ]; then sleep 1; fi\nexec \"$real\" \"$@\"");
  const auto flooded = runSection(machine);
  EXPECT_EQ(flooded.out, quiet.out);
  EXPECT_EQ(flooded.status, 0);
  EXPECT_LT(flooded.peakResidentKilobytes, quiet.peakResidentKilobytes + 64 * 1024);
}

// The platform's distant past and future, and 1904: each disk's info block prints, dates and all.
TEST(DiskUtilSectionDatesTest, InfoWithDatesOfAnyYearPrintsItsBlock) {
  testsupport::MachineBuilder machine("diskutil_small");
  edit(answers(machine) / "info/disk10.plist", "<dict>", "<key>",
       "<dict>\n\t<key>Epoch</key>\n\t<date>1904-01-01T00:00:00Z</date>\n\t<key>Expires</key>\n"
       "\t<date>4001-01-01T00:00:00Z</date>\n\t<key>Since</key>\n\t<date>0001-01-01T00:00:00Z</date>\n\t");
  auto result = runSection(machine);
  const auto from = result.out.find("device: disk10 ");
  ASSERT_NE(from, std::string::npos);
  machine.expectGolden("info_dates.txt", result.out.substr(from, result.out.find("\n>>>>", from) - from));
  EXPECT_EQ(result.status, 0);
}

// Ten megabytes of text that is no property list: the lines are printed
// once, whole, and the run ends like every other failed catalogue.
TEST(DiskUtilHostileTest, TenMegabytesOfTextThatIsNoPropertyList) {
  testsupport::MachineBuilder machine("diskutil_small");
  writeFile(answers(machine) / kFileSystems, std::string(10 << 20, 'x') + "\nend\n");
  auto out = runSection(machine).out;
  const std::string head = "**** Collecting file system personalities ****\nFailed to parse plist data:\n[\"";
  const std::string noDiskutil = cvdiag_test::readFile(machine.source() / "expected/no_diskutil.txt");
  const std::string tail = "\", \"end\", \"\"]\n\n" + noDiskutil.substr(noDiskutil.find('\n') + 1) +
                           withNullInfo(cvdiag_test::readFile(machine.source() / "expected/volumes.txt"), kAllInfoNull);
  EXPECT_EQ(out, head + std::string(10 << 20, 'x') + tail);
}

// Two thousand disks, each asked for in turn: one dot each, all cataloged,
// and the disk list in disk order.
TEST(DiskUtilHostileTest, TwoThousandDisks) {
  testsupport::MachineBuilder machine("diskutil_small");
  std::string disks;
  for (int i = 1999; i >= 0; --i) disks += "<string>disk" + std::to_string(i) + "</string>";
  edit(answers(machine) / kList, "<string>disk3s5", "</array>", disks);
  wrapDiskutil(machine, "[ \"$1\" = info ] || exec \"$real\" \"$@\"\nprintf '<plist version=\"1.0\"><dict>"
                        "<key>DeviceIdentifier</key><string>%s</string></dict></plist>' \"$3\"");
  auto out = runSection(machine).out;
  EXPECT_NE(out.find(std::string(2000, '.') + "\n**** complete: 2000 disks cataloged ****\n\ndiskutil all disks:"
                     "\n(\n    disk0,\n    disk1,\n"), std::string::npos);
  EXPECT_NE(out.find("    disk1998,\n    disk1999\n)\n"), std::string::npos);
  EXPECT_NE(out.find("diskutil info\n {\n    DeviceIdentifier = disk10;\n}\n"), std::string::npos);
}

}  // namespace
