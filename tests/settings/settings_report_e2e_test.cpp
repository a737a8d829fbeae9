// The settings consistency report of the built CVDiag, exact to the
// character, on the settings machine with the documents and registry of
// each case.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "settings_fixture.h"

using namespace settingstest;

namespace {

struct Case {
  const char* golden;
  std::vector<Entry> registry;
  std::vector<std::pair<std::string, Dictionary>> documents;
};

const std::string kBad = "not-a-guid";

const Case kCases[] = {
    {"all_discrete",
     {{guid(1), "Backup", uuid('B', 1)}, {guid(2), "Photos", uuid('B', 2)}},
     {{"Nightly.cvsp", session(guid(1), "Backup", guid(2), "Photos")}}},
    // Registered as "Work", renamed "Projects"; one document uses it as
    // source, another as target.
    {"group_by_name",
     {{guid(4), "Work", uuid('B', 4)}},
     {{"Projects.cvsp", session(guid(4), "Work", kBad, "Photos")},
      {"Mirror.cvsp", session(kBad, "Photos", guid(4), "Work", std::nullopt)}}},
    {"group_unknown_guid",
     {},
     {{"Migration.cvsp", session(guid(9), "Backup", kBad, "")}, {"Copy.cvsp", session(kBad, "", guid(9), "Backup")},
      {"Sub/Third.cvsp", session(guid(9), "Backup", kBad, "")}}},
    {"group_unresolvable",
     {{guid(6), "Offsite", uuid('C', 6)}},
     {{"Offsite.cvsp", session(guid(6), "Offsite", kBad, "")}, {"Weekly.cvsp", session(kBad, "", guid(6), "Offsite")}}},
    {"all_groups",
     {{guid(1), "Backup", uuid('B', 1)},
      {guid(2), "Photos", uuid('B', 2)},
      {guid(3), "Archive", uuid('B', 3)},
      {guid(4), "Work", uuid('B', 4)},
      {guid(5), "Cafe\u0301", uuid('B', 5)},
      {guid(6), "Offsite", uuid('C', 6)},
      {guid(7), "Old", uuid('C', 7)},
      {guid(10), "Backup", uuid('C', 10)},
      {guid(11), std::nullopt, uuid('B', 2)},
      {"no-uuid", "Backup", uuid('B', 1)}},
     {{"Nightly.cvsp", session(guid(1), "Backup", guid(2), "Photos")},
      {"Projects.cvsp", session(guid(4), "Work", guid(5), "Caf\u00E9")},
      {"Archive/Old Photos.cvsp", session(guid(3), "Archive", guid(6), "Offsite")},
      {"Migration.cvsp", session(guid(9), "Backup", guid(1), "Backup")},
      {"Two Names.cvsp", session(guid(2), "Pictures", guid(2), "Photos")},
      {"Empty.cvsp", session(kBad, "Backup", kBad, "Photos")},
      {"Offsite Backup.cvsp", session(guid(10), "Backup", guid(11), "Photos")}}},
};

class SettingsReportTest : public SettingsMachine, public ::testing::WithParamInterface<Case> {};

}  // namespace

TEST_P(SettingsReportTest, MatchesItsGolden) {
  registry(GetParam().registry);
  for (const auto& [package, settings] : GetParam().documents) document(package, settings);
  auto result = run({"--settings-volumes"});
  machine.expectGolden(std::string(GetParam().golden) + ".txt", result.out);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsReportTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.golden); });

// A settings folder with something wrong in every way a document can be
// wrong, beside good documents that are still read.
TEST_F(SettingsMachine, EveryReadFailureIsToldInItsWordsAndTheRestIsRead) {
  registry({{guid(1), "Backup", uuid('B', 1)}});
  auto good = session(guid(1), "Backup", kBad, "");
  document("Good.cvsp", good, platform::PropertyListFormat::Binary);
  document("Dated.cvsp", good);
  document("Undated.cvsp", good);
  document("Outer.cvsp/Inner.cvsp", good);
  document("Outer.cvsp", good);
  document("Holiday.CVSP", good);
  std::filesystem::create_directories(host(kSettings + "/Old.cvsp/QuickLook"));
  std::ofstream(host(kSettings + "/File.cvsp")) << "a package that is a file";
  std::filesystem::create_symlink("Loop.cvsp", host(kSettings + "/Loop.cvsp"));
  std::filesystem::create_directories(host(kSettings + "/Folder.cvsp/Session Settings.cvss"));
  {  // a socket: there, and no file that can be read
    auto path = host(kSettings + "/Socket.cvsp/Session Settings.cvss");
    std::filesystem::create_directories(path.parent_path());
    auto here = std::filesystem::current_path();
    std::filesystem::current_path(path.parent_path());  // the full path may be too long for a socket
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.filename().c_str());
    int bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::close(fd);
    std::filesystem::current_path(here);
    ASSERT_EQ(bound, 0);
  }
  rawDocument("Text.cvsp", "CVSourceVolume = A0000000;");
  rawDocument("Caf\xE9 Latin-1.cvsp", "not a property list either");
  auto binary = std::string(
      platform::current().propertyLists->dataWithPropertyList(good, platform::PropertyListFormat::Binary)->asStringView());
  rawDocument("Truncated.cvsp", binary.substr(0, binary.size() / 2));
  auto forged = binary;
  forged.replace(forged.size() - 8, 8, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xF0");  // offset table far beyond the end
  rawDocument("Forged.cvsp", forged);
  // Arrays that each point twice at the next: 2^60 values once expanded.
  std::string bomb = "bplist00";
  for (int i = 0; i < 60; ++i) bomb += {'\xA2', char(i + 1), char(i + 1)};
  bomb += '\xA0';
  for (int i = 0; i <= 60; ++i) bomb += char(8 + 3 * i);
  bomb += std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + "\x3D" + std::string(8, '\0') +
          std::string(7, '\0') + char(8 + 3 * 60 + 1);
  rawDocument("Shared References.cvsp", bomb);
  {
    std::string deep = "<plist version=\"1.0\">";
    for (int i = 0; i < 10000; ++i) deep += "<array>";
    for (int i = 0; i < 10000; ++i) deep += "</array>";
    rawDocument("Deep.cvsp", deep + "</plist>");
  }
  rawDocument("Huge.cvsp", "bplist00");
  std::filesystem::resize_file(host(kSettings + "/Huge.cvsp/Session Settings.cvss"), 50u << 20);
  document("Root Array.cvsp", platform::Array{Value(good)});
  document("Empty Dictionary.cvsp", Dictionary{});
  auto guidNumber = session(std::nullopt, "Backup", guid(1), "Backup");
  guidNumber["CVSourceVolume"] = 42;
  document("GUID Number.cvsp", guidNumber);
  auto nameData = session(guid(1), std::nullopt, guid(1), "Backup");
  nameData["CVsourceVolumeName"] = platform::Bytes::fromString("Backup");
  document("Name Data.cvsp", nameData);
  document("No Target.cvsp", session(guid(1), "Backup", std::nullopt, "Backup"));
  document("Version Text.cvsp", session(kBad, "Backup", guid(1), "Backup", Value("5")));
  document("Version Real.cvsp", session(guid(1), "", guid(1), "Backup", Value(5.5)));

  auto result = run({"--settings-volumes"});
  machine.expectGolden("read_failures.txt", result.out);
  EXPECT_EQ(result.status, 0);
}

TEST_F(SettingsMachine, WithoutASettingsFolderEveryNamedEntryIsAnOrphan) {
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(2), "Photos", uuid('B', 2)}, {guid(3), std::nullopt, uuid('B', 3)}});
  auto result = run({"--settings-volumes"});
  machine.expectGolden("no_settings_folder.txt", result.out);
}
