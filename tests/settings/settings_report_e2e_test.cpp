// The built CVDiag's settings report and pruning on the settings machine, with
// each case's documents and registry: golden reports, the file read back by python.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <fstream>
#include <random>
#include <thread>

#include <nlohmann/json.hpp>
#include <gtest/gtest.h>

#include "platform/formatters.h"
#include "platform/platform.h"
#include "settings/settings_reference.h"
#include "support/run_cvdiag.h"
#include "support/machine_builder.h"
#include "support/registry_domain.h"

using platform::Dictionary;
using platform::Value;

namespace {

const std::string kSettings = "/Users/ada/Library/Application Support/Corvane!";
const std::string kBad = "not-a-guid";
const std::string& kDomain = testsupport::kCorvaneDomainPath;


// "A…-<n>" registry GUIDs; "B…-<n>" volume UUIDs of the machine (1 Backup,
// 2 Photos, 3 Archive, 4 Projects, 5 Café); "C…" UUIDs of no attached volume.
std::string uuid(char prefix, long n) {
  char text[40];
  std::snprintf(text, sizeof text, "%c0000000-0000-4000-8000-%012ld", prefix, n);
  return text;
}
std::string guid(long n) { return uuid('A', n); }

Dictionary session(std::optional<std::string> source, std::optional<std::string> sourceName,
                   std::optional<std::string> target, std::optional<std::string> targetName,
                   std::optional<Value> version = Value(5)) {
  Dictionary d{{"CVSessionName", "session"}};
  for (auto [key, value] : {std::pair{"CVSourceVolume", source}, {"CVsourceVolumeName", sourceName},
                            {"CVTargetVolume", target}, {"CVtargetVolumeName", targetName}})
    if (value) d[key] = *value;
  if (version) d["CVSessionSettingsVersion"] = *version;
  return d;
}

using Entry = std::tuple<std::string, std::optional<std::string>, std::string>;  // GUID key, remembered name, volume UUID

class SettingsMachine : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(); }

  void rawDocument(const std::string& package, const std::string& bytes) {
    auto path = machine.hostPath(kSettings + "/" + package + "/Session Settings.cvss");
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    documents.push_back(kSettings + "/" + package + "/Session Settings.cvss");
  }
  std::string bytes(const Value& v, platform::PropertyListFormat format = platform::PropertyListFormat::XML) {
    return std::string(platform::current().propertyLists->dataWithPropertyList(v, format)->asStringView());
  }
  void document(const std::string& package, const Value& settings) { rawDocument(package, bytes(settings)); }

  // Corvane's domain with this registry beside one other key.
  void registry(const std::vector<Entry>& entries) {
    std::map<std::string, platform::Bytes> stored;
    for (const auto& [key, name, volumeUUID] : entries) {
      Dictionary values{{"NSURLVolumeUUIDStringKey", volumeUUID}};
      if (name) values["NSURLVolumeNameKey"] = *name;
      stored.emplace(key, testsupport::bookmarkBlob(values));
    }
    ASSERT_TRUE(testsupport::writeRegistryDomain(stored));
  }

  // The host can't set a file's birth time: machine.json gives documents fixed dates.
  cvdiag_test::RunResult run(const std::vector<std::string>& flags, std::string program = CVDIAG_EXECUTABLE) {
    auto json = nlohmann::json::parse(cvdiag_test::readFile(machine.folder() / "machine.json"));
    for (const auto& path : documents)
      if (!json["files"].contains(path))
        json["files"][path] = {{"created", {{"$date", "2025-03-01T09:30:00Z"}}}, {"modified", {{"$date", "2026-11-20T18:45:10Z"}}}};
    std::ofstream(machine.folder() / "machine.json") << json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return cvdiag_test::runProgram(program, flags, {{"CVDIAG_MACHINE", machine.folder().string()}});
  }

  // The registry's keys, then every other key, as python's reader sees them.
  std::string domainSeenByPython() const {
    auto script = "import plistlib,sys\nd=plistlib.load(open(sys.argv[1],'rb'))\n"
                  "print(' '.join(sorted(d.pop('CVDiskKnownVolumes'))))\nprint(sorted(d.items()))\n";
    return cvdiag_test::runProgram("/usr/bin/python3", {"-c", script, machine.hostPath(kDomain).string()}).out;
  }

  // Backup, referred to, and 3,000 orphans of disks that are not attached.
  void manyOrphans() {
    std::vector<Entry> entries{{guid(1), "Backup", uuid('B', 1)}};
    for (long n = 100; n < 3100; ++n) entries.emplace_back(guid(n), "Orphan " + std::to_string(n), uuid('C', n));
    registry(entries);
    document("Nightly.cvsp", session(guid(1), "Backup", kBad, ""));
  }
  const std::string pruned = guid(1) + "\n[('SUOtherKey', 'kept')";

  testsupport::MachineBuilder machine{"settings"};
  std::vector<std::string> documents;
};

class SettingsReportTest : public SettingsMachine, public ::testing::WithParamInterface<const char*> {};

}  // namespace

// A case's registry and documents (tests/machines/settings_cases/<case>)
// laid over the settings machine.
TEST_P(SettingsReportTest, MatchesItsGolden) {
  const auto overlay = std::filesystem::path(CVDIAG_TEST_MACHINES) / "settings_cases" / GetParam();
  std::filesystem::copy(overlay, machine.folder(),
                        std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(overlay)) {
    if (entry.path().extension() == ".cvss")
      documents.push_back("/" + entry.path().lexically_relative(overlay).string());
  }
  auto result = run({"--settings-volumes"});
  machine.expectGolden(std::string(GetParam()) + ".txt", result.out);
  EXPECT_EQ(result.err + std::to_string(result.status), "0");
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsReportTest,
                         ::testing::Values("all_discrete", "group_by_name", "group_unknown_guid", "no_settings_folder",
                                           "group_unresolvable", "all_groups"),
                         [](auto& i) { return std::string(i.param); });

TEST_F(SettingsMachine, EveryReadFailureIsToldInItsWordsAndTheRestIsRead) {
  registry({{guid(1), "Backup", uuid('B', 1)}});
  auto good = session(guid(1), "Backup", kBad, "");
  auto binary = bytes(good, platform::PropertyListFormat::Binary);
  auto forged = binary.substr(0, binary.size() - 8) + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xF0";  // offset table far beyond the end
  std::string deep;
  for (int i = 0; i < 10000; ++i) deep = "<array>" + deep + "</array>";
  auto changed = [&](Dictionary d, const char* key, Value value) { return d[key] = value, bytes(d); };
  for (const auto& [package, content] : std::initializer_list<std::pair<std::string, std::string>>{
           {"Good.cvsp", binary}, {"Dated.cvsp", bytes(good)}, {"Undated.cvsp", bytes(good)},
           {"Outer.cvsp", bytes(good)}, {"Outer.cvsp/Inner.cvsp", bytes(good)}, {"Holiday.CVSP", bytes(good)},
           {"Text.cvsp", "CVSourceVolume = A0000000;"}, {"Caf\xE9 Latin-1.cvsp", "no property list"},
           {"Truncated.cvsp", binary.substr(0, binary.size() / 2)}, {"Forged.cvsp", forged},
           {"Shared References.cvsp", cvdiag_test::readFile(machine.source() / "shared_references.bplist")}, {"Deep.cvsp", "<plist version=\"1.0\">" + deep + "</plist>"},
           {"Root Array.cvsp", bytes(platform::Array{Value(good)})}, {"Empty Dictionary.cvsp", bytes(Dictionary{})},
           {"GUID Number.cvsp", changed(good, "CVSourceVolume", Value(42))},
           {"Name Data.cvsp", changed(good, "CVsourceVolumeName", platform::Bytes::fromString("Backup"))},
           {"No Target.cvsp", bytes(session(guid(1), "Backup", std::nullopt, "Backup"))},
           {"Version Text.cvsp", changed(session(kBad, "Backup", guid(1), "Backup"), "CVSessionSettingsVersion", Value("5"))},
           {"Version Real.cvsp", changed(session(guid(1), "", guid(1), "Backup"), "CVSessionSettingsVersion", Value(5.5))}})
    rawDocument(package, content);
  rawDocument("Huge.cvsp", "bplist00");
  std::filesystem::resize_file(machine.hostPath(kSettings + "/Huge.cvsp/Session Settings.cvss"), 50u << 20);
  for (auto folder : {"/Old.cvsp/QuickLook", "/Folder.cvsp/Session Settings.cvss"})
    std::filesystem::create_directories(machine.hostPath(kSettings + folder));
  std::ofstream(machine.hostPath(kSettings + "/File.cvsp")) << "a package that is a file";
  std::filesystem::create_symlink("Loop.cvsp", machine.hostPath(kSettings + "/Loop.cvsp"));
  auto socketPath = machine.hostPath(kSettings + "/Socket.cvsp/Session Settings.cvss"), here = std::filesystem::current_path();
  std::filesystem::create_directories(socketPath.parent_path());  // a socket: there, and no file that can be read
  std::filesystem::current_path(socketPath.parent_path());  // a socket's path must be short
  sockaddr_un address{AF_UNIX, "Session Settings.cvss"};
  EXPECT_EQ(::bind(::socket(AF_UNIX, SOCK_STREAM, 0), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  std::filesystem::current_path(here);
  std::filesystem::create_directories(machine.hostPath(kSettings + "/Pipe.cvsp"));  // a named pipe must not hold the read
  EXPECT_EQ(::mkfifo(machine.hostPath(kSettings + "/Pipe.cvsp/Session Settings.cvss").c_str(), 0600), 0);
  machine.expectGolden("read_failures.txt", run({"--settings-volumes"}).out);
}

TEST_F(SettingsMachine, PruningRemovesTheOrphansOnceAndASecondRunFindsNone) {
  // Photos was registered as "Old Name": the pair differs from the
  // document's, so the entry is an orphan although the reference resolves.
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(2), "Old Name", uuid('B', 2)}, {guid(7), "Old", uuid('C', 7)},
            {guid(11), std::nullopt, uuid('C', 11)}, {"no-uuid", "Old", uuid('C', 7)}});
  document("Nightly.cvsp", session(guid(1), "Backup", guid(2), "Photos"));
  const auto before = cvdiag_test::readFile(machine.hostPath(kDomain));
  run({"--volume-registry", "--prune-orphans"});
  EXPECT_EQ(cvdiag_test::readFile(machine.hostPath(kDomain)), before);
  machine.expectGolden("prune_first.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(domainSeenByPython(), guid(1) + " " + guid(11) + " no-uuid\n[('SUOtherKey', 'kept')]\n");
  const auto after = cvdiag_test::readFile(machine.hostPath(kDomain));
  machine.expectGolden("prune_second.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(cvdiag_test::readFile(machine.hostPath(kDomain)), after);
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(7), "Old", uuid('C', 7)}});
  run({"--all-diagnostics", "--prune-orphans"});
  EXPECT_EQ(domainSeenByPython(), pruned + "]\n");
}

TEST_F(SettingsMachine, AKilledPruneLeavesTheOldOrTheNewRegistryAndEveryOtherKey) {
  manyOrphans();
  const auto original = cvdiag_test::readFile(machine.hostPath(kDomain));
  const auto oldView = domainSeenByPython();
  auto started = std::chrono::steady_clock::now();
  run({"--settings-volumes", "--prune-orphans"});
  std::chrono::duration<double> runTime = std::chrono::steady_clock::now() - started;
  ASSERT_EQ(domainSeenByPython(), pruned + "]\n");
  // Most of a run comes before the write: the kills fall in its later part.
  std::mt19937 random(std::random_device{}());
  std::uniform_real_distribution<double> moment(runTime.count() / 3, runTime.count());
  for (int i = 0; i < 30; ++i) {
    std::ofstream(machine.hostPath(kDomain), std::ios::binary | std::ios::trunc) << original;
    run({"-s", "KILL", std::to_string(moment(random)), CVDIAG_EXECUTABLE, "--settings-volumes", "--prune-orphans"},
        "/usr/bin/timeout");
    auto seen = domainSeenByPython();
    EXPECT_TRUE(seen == oldView || seen == pruned + "]\n") << "kill " << i << ":\n" << seen;
  }
}

TEST_F(SettingsMachine, AWriterThatTakesTheDomainLockLosesNothing) {
  manyOrphans();
  // Another application writing as documented: lock, read, change its key, write aside, rename.
  auto writer = std::thread([&] {
    cvdiag_test::runProgram("/usr/bin/python3", {"-c",
        "import fcntl,os,plistlib,sys,time\npath=sys.argv[1]\nfor n in range(100,250):\n"
        "  with open(path+'.lock','a') as lock:\n    fcntl.flock(lock,fcntl.LOCK_EX)\n"
        "    d=plistlib.load(open(path,'rb'))\n    d['Writer%d'%n]=n\n"
        "    with open(path+'.w','wb') as f: plistlib.dump(d,f,fmt=plistlib.FMT_BINARY); os.fsync(f.fileno())\n"
        "    os.rename(path+'.w',path)\n  time.sleep(0.002)\n", machine.hostPath(kDomain).string()});
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  run({"--settings-volumes", "--prune-orphans"});
  writer.join();
  std::string expected = pruned;
  for (int n = 100; n < 250; ++n) expected += ", ('Writer" + std::to_string(n) + "', " + std::to_string(n) + ")";
  EXPECT_EQ(domainSeenByPython(), expected + "]\n");
}

// Values the platform holds and python writes: the distant future, 2^64-1,
// U+0000 in text, a UID. Under keys the tool doesn't read, they change nothing.
const std::string kUnusual = "datetime.datetime(4001,1,1), 2**64-1, 'a\\0b', plistlib.UID(3)";
const std::string kUnusualSeen =
    "('Big', 18446744073709551615), ('Distant', datetime.datetime(4001, 1, 1, 0, 0)), ('Nul', 'a\\x00b'), "
    "('Ref', UID(3)), ";

TEST_F(SettingsMachine, APreferencesFileWithUnusualValuesKeepsItsRegistryAndThemAfterPruning) {
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(7), "Old", uuid('C', 7)}, {guid(8), "Older", uuid('C', 8)}});
  document("Nightly.cvsp", session(guid(1), "Backup", kBad, ""));
  cvdiag_test::runProgram("/usr/bin/python3", {"-c", "import datetime,plistlib,sys\np=sys.argv[1]\nd=plistlib.load(open(p,'rb'))\n"
                                                      "d['Distant'],d['Big'],d['Nul'],d['Ref']=" + kUnusual + "\n"
                                                      "plistlib.dump(d,open(p,'wb'),fmt=plistlib.FMT_BINARY)", machine.hostPath(kDomain).string()});
  machine.expectGolden("unusual_registry.txt", cvdiag_test::withoutVolatileParts(run({"--volume-registry"}).out));
  machine.expectGolden("unusual_prune.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(domainSeenByPython(), guid(1) + "\n[" + kUnusualSeen + "('SUOtherKey', 'kept')]\n");
}

TEST_F(SettingsMachine, ADocumentWithUnusualValuesInKeysTheReportIgnoresIsReadAndItsVolumeKept) {
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(7), "Old", uuid('C', 7)}});
  const auto path = machine.hostPath(kSettings + "/Nightly.cvsp/Session Settings.cvss");
  std::filesystem::create_directories(path.parent_path());
  documents.push_back(kSettings + "/Nightly.cvsp/Session Settings.cvss");
  // A version of 2^63 is no signed integer: the report shows none.
  cvdiag_test::runProgram("/usr/bin/python3", {"-c", "import datetime,plistlib,sys\nd=dict(CVSourceVolume=sys.argv[2],"
                                                      "CVsourceVolumeName='Backup',CVTargetVolume='x',CVtargetVolumeName='',"
                                                      "CVSessionSettingsVersion=2**63)\nd['Distant'],d['Big'],d['Nul'],d['Ref']=" +
                                                      kUnusual + "\nplistlib.dump(d,open(sys.argv[1],'wb'),fmt=plistlib.FMT_BINARY)",
                                                      path.string(), guid(1)});
  machine.expectGolden("unusual_document.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(domainSeenByPython(), guid(1) + "\n[('SUOtherKey', 'kept')]\n");
}

TEST(SettingsReferenceTest, DocumentNameDropsTheFolderByCharacters) {
  const std::string folder = "/Users/ada/Library/Application Support/Corvane!";
  for (const auto& [document, name] : std::initializer_list<std::pair<std::string, const char*>>{
           {folder + "/Caf\xE9.cvsp/S", "Caf\uFFFD.cvsp"},
           {folder + "/\u0301x.cvsp/S", "x.cvsp"},  // a combining mark joins the "/" before it
           {"/short/S", ""}})
    EXPECT_EQ((SettingsReference{platform::URL::fileURLWithPath(document, false), {}, {}, {}}.documentName(folder)), name);
}

TEST(SettingsReferenceTest, TheVersionIsAnIntegerThatFitsASignedSixtyFourBitValue) {
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min(), kMax = std::numeric_limits<std::int64_t>::max();
  const std::pair<Value, std::optional<std::int64_t>> cases[] = {
      {5, 5}, {kMin, kMin}, {9223372036854775807ull, kMax}, {9223372036854775808ull, std::nullopt},
      {18446744073709551615ull, std::nullopt}, {5.0, std::nullopt}, {"5", std::nullopt}, {true, std::nullopt}};
  for (const auto& [value, version] : cases)
    EXPECT_EQ(readSettingsVersion(Dictionary{{"CVSessionSettingsVersion", value}}), version) << platform::foundationDescription(value);
}
