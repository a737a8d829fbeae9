// The built CVDiag's diskutil section on machine folders whose diskutil is
// scripted to answer well, badly or not at all. Whole outputs are compared
// with golden files; a catalogue that cannot be built ends in the head of its
// case followed by the volume blocks with "<null>" (null_volumes.txt).
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/run_cvdiag.h"
#include "volumes/volume_golden_support.h"

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& text, fs::perms mode = fs::perms::owner_all) {
  std::ofstream(path, std::ios::binary) << text;
  fs::permissions(path, mode);
}

cvdiag_test::RunResult runSection(const volumetest::CopiedMachine& machine) {
  return cvdiag_test::runCVDiag({"--disk-utility-entities"}, {{"CVDIAG_MACHINE", machine.folder().string()}});
}

fs::path answers(const volumetest::CopiedMachine& m) { return m.folder() / "usr/sbin/diskutil.d"; }

// Puts a script in front of the recorded diskutil, which stays beside it.
void wrapDiskutil(const volumetest::CopiedMachine& m, const std::string& body) {
  fs::rename(m.folder() / "usr/sbin/diskutil", m.folder() / "usr/sbin/diskutil.real");
  writeFile(m.folder() / "usr/sbin/diskutil",
            "#!/bin/sh\nreal=\"$(dirname \"$0\")/diskutil.real\"\n" + body + "\n");
}

void removeKey(const fs::path& plist, const std::string& key) {
  std::string text = readFile(plist);
  auto at = text.find("<key>" + key + "</key>");
  auto end = text.find("</array>", at);
  ASSERT_NE(at, std::string::npos);
  text.erase(at, end + 8 - at);
  writeFile(plist, text);
}

struct Case {
  const char* name;
  std::function<void(const volumetest::CopiedMachine&)> prepare;
  const char* golden;
  bool withoutCatalogue;  // the golden holds the head only
};

class DiskUtilSectionTest : public ::testing::TestWithParam<Case> {};

TEST_P(DiskUtilSectionTest, PrintsTheGoldenText) {
  const Case& c = GetParam();
  volumetest::CopiedMachine machine("diskutil_small");
  c.prepare(machine);
  auto result = runSection(machine);
  if (c.withoutCatalogue) {
    const std::string tail = readFile(machine.source() / "expected/null_volumes.txt");
    ASSERT_GE(result.out.size(), tail.size());
    EXPECT_EQ(result.out.substr(result.out.size() - tail.size()), tail);
    machine.expectGolden(c.golden, result.out.substr(0, result.out.size() - tail.size()));
  } else {
    machine.expectGolden(c.golden, result.out);
  }
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

const Case kCases[] = {
    {"Complete", [](auto&) {}, "complete.txt", false},
    {"NonZeroExitAfterValidOutput", [](auto& m) { wrapDiskutil(m, "\"$real\" \"$@\"\nexit 3"); },
     "complete.txt", false},
    {"InfoFailsForOneDisk", [](auto& m) { fs::remove(answers(m) / "info/disk2.plist"); },
     "info_fails.txt", false},
    {"WrongShapesInsideTheAnswers",
     [](auto& m) {
       writeFile(answers(m) / "info/disk3s5.plist",
                 "<plist version=\"1.0\"><array><string>disk3s5</string></array></plist>");
       writeFile(answers(m) / "apfs-listVolumeGroups.plist", readFile(answers(m) / "wrong-groups.plist"));
     },
     "wrong_shapes.txt", false},
    {"TextThatIsNoPropertyList",
     [](auto& m) { fs::copy_file(answers(m) / "listFileSystems.txt", answers(m) / "listFileSystems.plist",
                                 fs::copy_options::overwrite_existing); },
     "not_plist.txt", true},
    {"FileSystemsNotAnArrayOfDictionaries",
     [](auto& m) { writeFile(answers(m) / "listFileSystems.plist",
                             "<plist version=\"1.0\"><array><dict/><string>APFS</string></array></plist>"); },
     "file_systems_wrong_shape.txt", true},
    {"NoDiskutil", [](auto& m) { fs::remove(m.folder() / "usr/sbin/diskutil"); }, "no_diskutil.txt", true},
    {"DiskutilNotExecutable",
     [](auto& m) { fs::permissions(m.folder() / "usr/sbin/diskutil", fs::perms::owner_read | fs::perms::owner_write); },
     "no_diskutil.txt", true},
    {"LayoutNotUTF8", [](auto& m) { writeFile(answers(m) / "list.plist", "<plist>\xff\xfe</plist>\n"); },
     "layout_not_utf8.txt", true},
    {"TenMegabytesOfGarbage",
     [](auto& m) {
       std::mt19937 random(7);
       std::string garbage(10 << 20, '\0');
       for (auto& byte : garbage) byte = static_cast<char>(random() & 0xff);
       writeFile(answers(m) / "list.plist", garbage);
     },
     "layout_not_utf8.txt", true},
    {"AllDisksNotStrings",
     [](auto& m) {
       std::string list = readFile(answers(m) / "list.plist");
       list.replace(list.find("<string>disk2</string>"), 22, "<integer>2</integer>");
       writeFile(answers(m) / "list.plist", list);
     },
     "all_disks_wrong_shape.txt", true},
    {"LayoutWithoutVolumesFromDisks", [](auto& m) { removeKey(answers(m) / "list.plist", "VolumesFromDisks"); },
     "no_volumes_from_disks.txt", true},
    {"NoVolumeGroups", [](auto& m) { fs::remove(answers(m) / "apfs-listVolumeGroups.plist"); },
     "no_volume_groups.txt", true},
};

INSTANTIATE_TEST_SUITE_P(Machines, DiskUtilSectionTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Ten megabytes of text that is no property list: the parse failure prints
// the lines once, and the run ends like every other failed catalogue.
TEST(DiskUtilHostileTest, TenMegabytesOfTextThatIsNoPropertyList) {
  volumetest::CopiedMachine machine("diskutil_small");
  writeFile(answers(machine) / "listFileSystems.plist", std::string(10 << 20, 'x') + "\nend\n");
  auto result = runSection(machine);
  const std::string head = "**** Collecting file system personalities ****\nFailed to parse plist data:\n[\"";
  const std::string tail = "\", \"end\", \"\"]\n\nNo plist returned for invocation with arguments: "
                           "[\"listFileSystems\", \"-plist\"]\n**** No file systems found ****\n"
                           "\ndiskutil all disks:\n<null>\n" +
                           readFile(machine.source() / "expected/null_volumes.txt");
  ASSERT_EQ(result.out.size(), head.size() + (10 << 20) + tail.size());
  EXPECT_EQ(result.out.substr(0, head.size()), head);
  EXPECT_EQ(result.out.substr(result.out.size() - tail.size()), tail);
  EXPECT_EQ(result.status, 0);
}

// Two thousand disks, each asked for in turn: one dot each, all cataloged,
// and the disk list in disk order.
TEST(DiskUtilHostileTest, TwoThousandDisks) {
  volumetest::CopiedMachine machine("diskutil_small");
  std::string disks;
  for (int i = 1999; i >= 0; --i) disks += "<string>disk" + std::to_string(i) + "</string>";
  std::string list = readFile(answers(machine) / "list.plist");
  auto from = list.find("<array>", list.find("<key>AllDisks</key>")) + 7;
  list.replace(from, list.find("</array>", from) - from, disks);
  writeFile(answers(machine) / "list.plist", list);
  wrapDiskutil(machine,
               "[ \"$1\" = info ] || exec \"$real\" \"$@\"\n"
               "printf '<plist version=\"1.0\"><dict><key>DeviceIdentifier</key><string>%s</string></dict></plist>' \"$3\"");
  auto result = runSection(machine);
  std::string expected = "**** Cataloging disks from diskutil ****\n" + std::string(2000, '.') +
                         "\n**** complete: 2000 disks cataloged ****\n\ndiskutil all disks:\n(\n    disk0,\n    disk1,\n";
  EXPECT_NE(result.out.find(expected), std::string::npos);
  EXPECT_NE(result.out.find("    disk1998,\n    disk1999\n)\n"), std::string::npos);
  EXPECT_NE(result.out.find("diskutil info\n {\n    DeviceIdentifier = disk10;\n}\n"), std::string::npos);
  EXPECT_EQ(result.status, 0);
}

// A full APFS machine: system and data volumes in a group, a snapshot, a
// disk image, and real diskutil answers for its first two disks.
TEST(DiskUtilMachineTest, FullApfsMachine) {
  volumetest::CopiedMachine machine("diskutil_apfs");
  auto result = runSection(machine);
  machine.expectGolden("disk_utility_entities.txt", result.out);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

}  // namespace
