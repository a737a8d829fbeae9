// The registry store, registration and lookup, the dumps and the two report
// sections, on the catalogue machine (a boot group, a backup disk, a stick,
// an unmounted recovery volume) with a registry domain written for each case.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "app/sections.h"
#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "support/machine_builder.h"
#include "support/registry_domain.h"
#include "support/run_cvdiag.h"
#include "volumes/cv_disk_volume.h"

using platform::Bytes;
using testsupport::bookmarkBlob;
using testsupport::kCorvaneDomainPath;

namespace {

const std::string kBackupUUID = "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10";     // disk4s2, mounted
const std::string kRecoveryUUID = "3E2D3C4B-5A69-4788-97A6-B5C4D3E2F103";   // disk3s3, not mounted
const std::string kDataUUID = "5E2D3C4B-5A69-4788-97A6-B5C4D3E2F105";       // disk3s5, the boot group's

platform::Bytes blob(const std::string& name, const std::string& uuid, bool ejectable = false) {
  return bookmarkBlob({{"NSURLVolumeNameKey", name}, {"NSURLVolumeUUIDStringKey", uuid},
                       {"NSURLVolumeIsEjectableKey", ejectable}});
}

class CVDiskManagerTest : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(); }

  void writeRegistry(const CVDiskVolumeMap& entries) { ASSERT_TRUE(testsupport::writeRegistryDomain(entries)); }
  cvdiag_test::RunResult run(const std::vector<std::string>& flags) {
    return cvdiag_test::runCVDiag(flags, {{"CVDIAG_MACHINE", machine.folder().string()}});
  }
  void expectGolden(const std::string& name, const std::string& actual) const {
    testsupport::expectGoldenFile(std::filesystem::path(CVDIAG_SOURCE_DIR) / "tests/registry/expected" / name, actual);
  }

  testsupport::MachineBuilder machine{"volumes_catalogue"};
};

std::string domainText(const std::string& registryValue) {
  return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Other</key><string>kept</string>" +
         (registryValue.empty() ? "" : "<key>CVDiskKnownVolumes</key>" + registryValue) + "</dict></plist>";
}

std::string firstKey(const CVDiskVolumeMap& map) { return map.empty() ? "" : map.begin()->first; }

}  // namespace

TEST(CVDiskManagerStoreTest, ChoosesTheDomainByPreferenceFilesAndBundle) {
  struct Row { const char* bundle; bool plain, bang; const char* readsEntry; const char* logLine; };
  for (const Row& row : std::initializer_list<Row>{
           {nullptr, false, false, "", nullptr},
           {nullptr, false, true, "B", "Using registered defaults: com.tamarlin.Corvane!"},
           {nullptr, true, true, "A", "Using registered defaults: com.tamarlin.Corvane\n"},
           {"com.example.App", true, true, "", nullptr}}) {
    testsupport::MachineBuilder builder;
    nlohmann::json json{{"home", "/Users/ada"}};
    if (row.bundle) json["bundleIdentifier"] = row.bundle;
    builder.json(json);
    const std::string preferences = "/Users/ada/Library/Preferences/";
    if (row.plain) builder.file(preferences + "com.tamarlin.Corvane.plist", domainText("<dict><key>A</key><data>AA==</data></dict>"));
    if (row.bang) builder.file(preferences + "com.tamarlin.Corvane!.plist", domainText("<dict><key>B</key><data>AA==</data></dict>"));
    builder.install();
    EXPECT_EQ(firstKey(CVDiskManager::create()->map()), row.readsEntry) << row.plain << row.bang;
    auto log = cvdiag_test::readFile(builder.hostPath("/var/log/cvdiag.log"));
    EXPECT_EQ(log.find("Using registered defaults"), row.logLine ? log.find(row.logLine) : std::string::npos) << log;
  }
}

TEST(CVDiskManagerStoreTest, AWrongShapedValueIsReplacedWholeAndOtherKeysStay) {
  for (std::string value : {"", "<string>x</string>", "<array/>",
                            "<dict><key>A</key><data>AA==</data><key>B</key><string>x</string></dict>", "<dict/>"}) {
    testsupport::MachineBuilder builder;
    builder.json({{"home", "/Users/ada"}}).file(kCorvaneDomainPath, domainText(value));
    builder.install();
    auto before = std::filesystem::last_write_time(builder.hostPath(kCorvaneDomainPath));
    EXPECT_TRUE(CVDiskManager::create()->map().empty()) << value;
    auto after = builder.platform().userDefaults->initWithSuiteName("com.tamarlin.Corvane");
    EXPECT_EQ(after->objectForKey("CVDiskKnownVolumes"), platform::Value(platform::Dictionary{})) << value;
    EXPECT_EQ(after->objectForKey("Other"), platform::Value("kept")) << value;
    if (value == "<dict/>") {  // valid: nothing is rewritten
      EXPECT_EQ(cvdiag_test::readFile(builder.hostPath(kCorvaneDomainPath)), domainText(value));
      EXPECT_EQ(std::filesystem::last_write_time(builder.hostPath(kCorvaneDomainPath)), before);
    }
  }
}

TEST_F(CVDiskManagerTest, RegistersANewVolumeAndASystemVolumeByItsDataVolume) {
  // The mounted file systems tell their name and volume UUID, as on a Mac.
  auto json = nlohmann::json::parse(cvdiag_test::readFile(machine.folder() / "machine.json"));
  for (auto& media : json["media"]) {
    if (!media.contains("volume")) continue;
    media["volume"]["resources"]["NSURLVolumeNameKey"] = media["da"]["DAVolumeName"];
    media["volume"]["resources"]["NSURLVolumeUUIDStringKey"] = media["da"]["DAVolumeUUID"]["$uuid"];
  }
  std::ofstream(machine.folder() / "machine.json") << json;
  machine.install();
  writeRegistry({});
  auto manager = CVDiskManager::create();
  auto backup = CVDiskVolume::initWithBsdName("disk4s2");
  EXPECT_FALSE(manager->GUIDForVolume(*backup, false));
  auto guid = manager->GUIDStringForVolume(*backup);
  ASSERT_TRUE(guid);
  EXPECT_EQ(manager->GUIDForVolume(*backup, false), platform::UUID::fromString(*guid));
  EXPECT_EQ(manager->bookmarkForGUIDString(*guid)->volumeName(), "Backup");

  auto system = manager->GUIDStringForVolume(*CVDiskVolume::initWithBsdName("disk3s1"));
  ASSERT_TRUE(system);
  EXPECT_EQ(manager->volumeUUIDString(*system), kDataUUID);
  EXPECT_EQ(manager->GUIDForVolume(*CVDiskVolume::initWithBsdName("disk3s1s1"), false), platform::UUID::fromString(*system));
  EXPECT_EQ(manager->map().size(), 2u);
  manager.reset();  // waits for the queued saves

  // Read back by an independent property-list reader.
  auto read = cvdiag_test::runProgram(
      "/usr/bin/env", {"python3", "-c",
                       "import plistlib,sys; d=plistlib.load(open(sys.argv[1],'rb')); r=d['CVDiskKnownVolumes'];"
                       "print(d['SUOtherKey'], *sorted(r), all(type(v) is bytes and v for v in r.values()))",
                       machine.hostPath(kCorvaneDomainPath).string()});
  EXPECT_EQ(read.out, "kept " + std::min(*guid, *system) + " " + std::max(*guid, *system) + " True\n") << read.err;
}

TEST_F(CVDiskManagerTest, LooksUpRenamedReformattedUnmountedAndVanishedVolumes) {
  const std::string renamed = "10000000-0000-4000-8000-000000000001", reformatted = "10000000-0000-4000-8000-000000000002",
                    unmounted = "10000000-0000-4000-8000-000000000003", ejectable = "10000000-0000-4000-8000-000000000004",
                    system = "10000000-0000-4000-8000-000000000005", vanished = "10000000-0000-4000-8000-000000000006";
  writeRegistry({{renamed, blob("Old Name", kBackupUUID)},
                 {reformatted, blob("STICK", "11111111-2222-4333-8444-555555555555")},
                 {unmounted, blob("Recovery", kRecoveryUUID)},
                 {ejectable, blob("Recovery", kRecoveryUUID, true)},
                 {system, blob("Macintosh HD - Data", kDataUUID)},
                 {vanished, blob("Offsite", "21111111-2222-4333-8444-555555555555", true)}});
  auto manager = CVDiskManager::create();
  using E = VolumeAccessError;
  struct Row { std::string guid; const char* found; const char* mounted; E error; };
  for (const Row& row : std::initializer_list<Row>{
           {renamed, "disk4s2", "disk4s2", E::localVolumeNotAvailable},
           {reformatted, "", "", E::localVolumeNotAvailable},
           {unmounted, "disk3s3", "", E::localVolumeAttachedButNotMounted},
           {ejectable, "disk3s3", "", E::automountableVolumeNotMounted},
           {system, "disk3s1s1", "disk3s1s1", E::localVolumeNotAvailable},
           {vanished, "", "", E::automountableVolumeNotMounted},
           {"not a GUID", "", "", E::localVolumeNotAvailable},
           {"10000000-0000-4000-8000-0000000000FF", "", "", E::localVolumeNotAvailable}}) {
    auto found = manager->volumeForGUIDString(row.guid);
    EXPECT_EQ(found ? *found->bsdName() : "", row.found) << row.guid;
    auto mounted = manager->mountedVolumeForGUIDString(row.guid);
    EXPECT_EQ(mounted ? *mounted.value()->bsdName() : "", row.mounted) << row.guid;
    if (!mounted) {
      EXPECT_EQ(description(mounted.error()), description(row.error)) << row.guid;
    }
  }
  EXPECT_EQ(manager->volumeName(renamed), "Old Name");
  EXPECT_EQ(manager->GUIDForVolume(*CVDiskVolume::initWithBsdName("disk4s2"), false), platform::UUID::fromString(renamed));
  EXPECT_FALSE(manager->GUIDForVolume(*CVDiskVolume::initWithBsdName("disk5s1"), false));
}

TEST_F(CVDiskManagerTest, LocalizedNameFallsBackOnlyWhenEmpty) {
  writeRegistry({{"A", bookmarkBlob({{"NSURLVolumeNameKey", "Disk"}, {"NSURLVolumeLocalizedNameKey", ""}})},
                 {"B", bookmarkBlob({{"NSURLVolumeNameKey", "Disk"}})},
                 {"C", bookmarkBlob({{"NSURLVolumeLocalizedNameKey", "Lokal"}})},
                 {"D", Bytes::fromString("no bookmark")}});
  auto manager = CVDiskManager::create();
  EXPECT_EQ(manager->volumeLocalizedName("A"), "Disk");
  EXPECT_EQ(manager->volumeLocalizedName("B"), std::nullopt);
  EXPECT_EQ(manager->volumeLocalizedName("C"), "Lokal");
  EXPECT_EQ(manager->volumeName("D"), std::nullopt);
  EXPECT_EQ(manager->volumeName("E"), std::nullopt);
}

TEST_F(CVDiskManagerTest, ListsTheLocalDisksTheRegistryKnowsWithoutRegistering) {
  writeRegistry({{"10000000-0000-4000-8000-000000000001", blob("Backup", kBackupUUID)},
                 {"10000000-0000-4000-8000-000000000002", blob("Macintosh HD - Data", kDataUUID)}});
  auto manager = CVDiskManager::create();
  std::ostringstream out;
  ReportContext context(out, *manager);
  resolvableGUIDsForLocalDisks(context);
  expectGolden("local_guids.txt", out.str());
  EXPECT_EQ(manager->map().size(), 2u);
}

TEST_F(CVDiskManagerTest, QueuedSavesLeaveTheLastMapOnDisk) {
  writeRegistry({});
  auto manager = CVDiskManager::create();
  std::thread reader([&] {
    for (int i = 0; i < 200; ++i) EXPECT_LE(manager->map().size(), 1u);
  });
  for (int i = 0; i < 200; ++i) manager->setMap({{"GUID-" + std::to_string(i), Bytes::fromString("x")}});
  reader.join();
  manager->waitForPendingSaves();
  auto stored = platform::current().userDefaults->initWithSuiteName("com.tamarlin.Corvane")->dictionaryForKey("CVDiskKnownVolumes");
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->size(), 1u);
  EXPECT_EQ(stored->begin()->first, "GUID-199");
}

TEST_F(CVDiskManagerTest, IdentityAndANewBookmarkOfALiveVolume) {
  auto guid = *platform::UUID::fromString("10000000-0000-4000-8000-000000000001");
  auto backup = Identity::make(guid, *CVDiskVolume::initWithBsdName("disk4s2"));
  EXPECT_EQ(*backup, Identity("Backup", guid, backup->uuid(), backup->muid(), "Backup"));
  EXPECT_FALSE(*backup == Identity("Backup", guid, backup->uuid(), backup->muid(), std::nullopt));
  EXPECT_EQ(Identity("", guid, {}, {}, {}).description(), "Identity (guid, uuid, muid) = (" + guid.uuidString() + ", , )");

  auto root = VolumeBookmark::initWithVolume(*CVDiskVolume::initWithBsdName("disk3s1s1"));
  ASSERT_TRUE(root);
  EXPECT_EQ(root->url()->absoluteString(), "file:///Volumes/Macintosh%20HD/");
  EXPECT_EQ(root->description(), "  volumeName:            \n  volumeLocalizedName:   Macintosh HD\n"
                                 "  volumeUUIDString:      \n  volumeRealUUIDString:  1E2D3C4B-5A69-4788-97A6-B5C4D3E2F1AA\n"
                                 "  volumeMediaUUIDString: \n  volumeGroupUUIDString: D1C3B4A5-0F6E-4D2C-9B8A-7E6F5D4C3B2A");
  EXPECT_EQ(VolumeBookmark::initWithData(root->bookmark())->volumeRealUUIDString(), std::nullopt);
}

TEST_F(CVDiskManagerTest, ReportOnADomainThatDoesNotExistReadsAsEmpty) {
  auto result = run({"--volume-registry", "--duplicate-volume-entries"});
  expectGolden("empty.txt", result.out);
  EXPECT_FALSE(std::filesystem::exists(machine.hostPath(kCorvaneDomainPath)));
}

TEST_F(CVDiskManagerTest, TheTablePadsAndCutsNamesByUTF16CodeUnitsAndTheDuplicateListPrintsThemWhole) {
  auto guid = [](int n) { return "10000000-0000-4000-8000-00000000000" + std::to_string(n); };
  const std::string emoji = "\U0001F4F7 \U0001F468\u200D\U0001F469\u200D\U0001F467";  // 2 + 1 + 8 units
  const std::string longName = std::string(44, 'a') + "e\u0301 and more", other = "21111111-2222-4333-8444-555555555555",
                    shared = "41111111-2222-4333-8444-555555555555";  // attached nowhere
  const CVDiskVolumeMap map{
      {guid(1), blob("Cafe\u0301", kBackupUUID)}, {guid(2), blob(emoji + " Photos", other)},
      {guid(3), blob(longName, shared)}, {guid(4), blob(std::string(44, 'b') + "\U0001F600", shared)},
      {guid(5), bookmarkBlob({{"NSURLVolumeUUIDStringKey", shared}})}, {guid(6), Bytes::fromString("no bookmark")}};
  writeRegistry(map);
  auto manager = CVDiskManager::create();
  auto blanks = [](std::size_t count) { return std::string(count, ' '); };
  auto tail = [&](int n) { return " <hash> " + std::to_string(map.at(guid(n)).size()) + " bytes\n"; };
  EXPECT_EQ(cvdiag_test::withoutVolatileParts(manager->guidMapDump()),
            "GUID" + blanks(32) + " Name" + blanks(41) + " Volume UUID" + blanks(25) + " Mounted Hash    Size      \n" +
                std::string(36, '-') + ' ' + std::string(45, '-') + ' ' + std::string(36, '-') +
                " ------- ------- ----------\n" +
                guid(1) + " Cafe\u0301" + blanks(40) + ' ' + kBackupUUID + " YES    " + tail(1) +
                guid(2) + ' ' + emoji + " Photos" + blanks(27) + ' ' + other + " NO     " + tail(2) +
                guid(3) + ' ' + std::string(44, 'a') + "e " + shared + " NO     " + tail(3) +  // the accent cut off
                guid(4) + ' ' + std::string(44, 'b') + "\uFFFD " + shared + " NO     " + tail(4) +  // a lone surrogate
                guid(5) + "  " + shared + " NO     " + tail(5) +
                guid(6) + "  00000000-0000-0000-0000-000000000000 NO     " + tail(6));
  EXPECT_EQ(manager->duplicatesDump(), "Duplicate entries found for volume(s):\n  Volume " + shared + " \u201C" + longName +
                                           "\u201D is associated with more than one GUID. 3 entries found.\n");
}
