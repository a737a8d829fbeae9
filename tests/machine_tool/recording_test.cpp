// cvdiag-record run against stub Mac tools that replay real diskutil
// samples (fixtures/SOURCES.md), then cvdiag-machine import, check and
// describe, and CVDiag on the imported folder. Whole texts are compared with
// the files in expected/; CVDIAG_UPDATE_GOLDENS=1 writes them instead, to be
// checked by hand against the samples.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

namespace fs = std::filesystem;
const fs::path kHere = fs::path(CVDIAG_SOURCE_DIR) / "tests/machine_tool";
// A sample Mac, or one made from another by the files of an overlay (its
// `removed` lists what the overlay takes away, `locked` what the user may not read).
struct Scenario {
  const char* name;
  const char* base;
};
const Scenario kScenarios[] = {
    {"virtualbox-hfs", nullptr}, {"apfs-usb-stick", nullptr},
    {"older-corestorage", "virtualbox-hfs"}, {"unreadable", "virtualbox-hfs"}};


// Whole texts, with the time of the recording written "<date>".
void expectGolden(const std::string& name, const std::string& actual) {
  testsupport::expectGoldenFile(kHere / "expected" / name,
                                std::regex_replace(actual, std::regex(R"(\d{4}-\d\d-\d\dT\d{6}Z)"), "<date>"));
}

// A folder for one test, open to the unprivileged user the script runs as.
class Scratch {
 public:
  Scratch() {
    std::string pattern = (fs::temp_directory_path() / "cvdiag-record-XXXXXX").string();
    dir_ = ::mkdtemp(pattern.data());
    fs::permissions(dir_, fs::perms::all);
  }
  ~Scratch() {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }
  const fs::path& dir() const { return dir_; }
  // The text with this folder's path written "<tmp>".
  std::string masked(std::string text) const {
    for (auto at = text.find(dir_.string()); at != std::string::npos; at = text.find(dir_.string()))
      text.replace(at, dir_.string().size(), "<tmp>");
    return text;
  }

 private:
  fs::path dir_;
};

// The scenario's Mac (its "/" under root, the tools' answers beside it), the
// stub tools and the script, copied so that a test may change them and an
// unprivileged user may read them wherever the checkout is.
fs::path copyMac(const Scratch& scratch, const Scenario& scenario) {
  const fs::path mac = scratch.dir() / "mac";
  fs::copy(kHere / "fixtures" / (scenario.base ? scenario.base : scenario.name), mac, fs::copy_options::recursive);
  if (scenario.base) {
    fs::copy(kHere / "fixtures" / scenario.name, mac, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    std::istringstream removed(cvdiag_test::readFile(mac / "removed"));
    for (std::string line; std::getline(removed, line);) fs::remove(mac / line);
  }
  fs::copy(kHere / "fixtures/stubs", scratch.dir() / "stubs", fs::copy_options::recursive);
  fs::copy_file(fs::path(CVDIAG_SOURCE_DIR) / "scripts/cvdiag-record", scratch.dir() / "cvdiag-record");
  for (const auto& entry : fs::recursive_directory_iterator(scratch.dir()))
    fs::permissions(entry.path(), fs::perms::others_read | fs::perms::group_read |
                                      (entry.is_directory() ? fs::perms::others_exec | fs::perms::group_exec
                                                            : fs::perms::none),
                    fs::perm_options::add);
  std::istringstream locked(cvdiag_test::readFile(mac / "locked"));
  for (std::string line; std::getline(locked, line);) fs::permissions(mac / line, fs::perms::none);
  return mac;
}

struct Recording {
  cvdiag_test::RunResult run;
  fs::path unpacked;  // the archive's one folder
  std::string archiveName;
};

// Runs the script in the output folder, with no argument, as a user without
// privileges, so that unreadable files are unreadable, and unpacks what it wrote.
Recording record(const Scratch& scratch, const fs::path& mac, const std::string& signal = "") {
  const fs::path out = scratch.dir() / "out";
  fs::create_directories(out);
  fs::create_directories(scratch.dir() / "tmp");
  fs::permissions(out, fs::perms::all);
  fs::permissions(scratch.dir() / "tmp", fs::perms::all);
  std::vector<std::string> args = {"-c", "cd \"$0\" && exec /bin/sh \"$1\"", out.string(),
                                   (scratch.dir() / "cvdiag-record").string()};
  std::string program = "/bin/sh";
  if (::geteuid() == 0) {
    args.insert(args.begin(), {"--reuid=65534", "--regid=65534", "--clear-groups", "/bin/sh"});
    program = "/usr/bin/setpriv";
  }
  Recording r;
  r.run = cvdiag_test::runProgram(program, args,
                                  {{"CVDIAG_STUB_DATA", mac.string()},
                                   {"CVDIAG_STUB_SIGNAL", signal},
                                   {"CVDIAG_RECORD_PATH", (scratch.dir() / "stubs").string() + ":/usr/bin:/bin"},
                                   {"CVDIAG_RECORD_ROOT", (mac / "root").string()},
                                   {"HOME", "/Users/ada"},
                                   {"TMPDIR", (scratch.dir() / "tmp").string()}});
  if (!signal.empty()) return r;
  for (const auto& entry : fs::directory_iterator(out)) r.archiveName = entry.path().filename().string();
  const fs::path unpacked = scratch.dir() / "unpacked";
  fs::create_directories(unpacked);
  cvdiag_test::runProgram("/usr/bin/tar", {"-xzf", (out / r.archiveName).string(), "-C", unpacked.string()});
  for (const auto& entry : fs::directory_iterator(unpacked)) r.unpacked = entry.path();
  return r;
}

// Every path of the archive, then the manifest.
std::string archiveListing(const Recording& r) {
  std::vector<std::string> paths;
  for (const auto& entry : fs::recursive_directory_iterator(r.unpacked))
    paths.push_back(entry.path().lexically_relative(r.unpacked).generic_string() + (entry.is_directory() ? "/" : ""));
  std::sort(paths.begin(), paths.end());
  std::string text;
  for (const auto& p : paths) text += p + "\n";
  return text + "--- manifest.txt\n" + cvdiag_test::readFile(r.unpacked / "manifest.txt");
}


}  // namespace

// Each sample Mac is archived as its tools printed it, then imported,
// checked, described and replayed through CVDiag. The archive holds nothing
// that identifies the Mac beyond what the report prints. What cannot be read
// goes to the manifest, and the recording goes on. An honest recording checks
// clean, also of a Mac that lacked answers: an older macOS without volume
// groups, a disk that vanished while it was recorded.
TEST(RecordScriptTest, ArchivesEverySampleMacAsPrintedAndReplaysItThroughCVDiag) {
  for (const Scenario& s : kScenarios) {
    const std::string scenario = s.name;
    SCOPED_TRACE(scenario);
    Scratch scratch;
    const fs::path mac = copyMac(scratch, s);
    Recording r = record(scratch, mac);
    ASSERT_EQ(r.run.status, 0) << r.run.err;
    EXPECT_TRUE(std::regex_match(r.archiveName,
                                 std::regex(R"(cvdiag-recording-Ada___s_Mac__mini_-\d{4}-\d\d-\d\dT\d{6}Z\.tar\.gz)")))
        << r.archiveName;
    EXPECT_NE(r.run.out.find("It leaves out:\n  - serial numbers"), std::string::npos) << r.run.out;
    expectGolden(scenario + "/archive.txt", archiveListing(r));
    // The I/O registry of apfs-usb-stick holds serial numbers, a hardware address and the platform UUID.
    std::string everything;
    for (const auto& entry : fs::recursive_directory_iterator(r.unpacked))
      if (entry.is_regular_file()) everything += cvdiag_test::readFile(entry.path());
    for (const char* secret : {"C02ZX1YZJV3Q", "5E3C8D20-7B1A-4F6E-9C2D-0A1B2C3D4E5F", "BTNH93850XYZ512A",
                               "4C530001230915117283", "PGYX2o2+", "Serial", "IOMACAddress", "IOEthernetInterface"})
      EXPECT_EQ(everything.find(secret), std::string::npos) << secret;
    // Raw outputs, byte for byte.
    const std::pair<const char*, const char*> same[] = {
        {"diskutil/list.plist", "diskutil/list.plist"},
        {"diskutil/info/disk0.plist", "diskutil/info/disk0.plist"},
        {"mount.txt", "mount.txt"},
        {"bookmarks/com.tamarlin.Corvane.plist", "bookmarks.plist"},
        {"home/Library/Preferences/com.tamarlin.Corvane.plist",
         "root/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist"},
        {"settings/Nightly \"Ada's\" Copy — Zürich.cvsp/Session Settings.cvss",
         "root/Users/ada/Library/Application Support/Corvane!/Nightly \"Ada's\" Copy — Zürich.cvsp/Session Settings.cvss"},
        {"settings-dates/Nightly \"Ada's\" Copy — Zürich.cvsp/Session Settings.cvss", "dates"}};
    for (const auto& [archived, original] : same) EXPECT_EQ(cvdiag_test::readFile(r.unpacked / archived), cvdiag_test::readFile(mac / original)) << archived;

    const fs::path folder = scratch.dir() / "machine";
    const fs::path archive = scratch.dir() / "out" / r.archiveName;
    auto imported = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"import", archive.string(), folder.string()});
    EXPECT_EQ(imported.status, 0) << imported.err;
    expectGolden(scenario + "/import.txt", imported.out);
    expectGolden(scenario + "/machine.json", cvdiag_test::readFile(folder / "machine.json"));
    auto checked = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"check", folder.string()});
    EXPECT_EQ(checked.status, 0) << checked.out;
    expectGolden(scenario + "/check.txt", checked.out + "status " + std::to_string(checked.status) + "\n");
    // The folder's diskutil answers as the Mac's did: same streams, same status.
    for (std::string question : {"list -plist", "apfs listVolumeGroups -plist", "info -plist disk0", "info -plist disk0s1"}) {
      auto ask = [&](const fs::path& diskutil) {
        return cvdiag_test::runProgram("/bin/sh", {"-c", "exec \"$0\" " + question, diskutil.string()}, {{"CVDIAG_STUB_DATA", mac.string()}});
      };
      auto original = ask(scratch.dir() / "stubs/diskutil"), replayed = ask(folder / "usr/sbin/diskutil");
      EXPECT_EQ(std::tie(replayed.out, replayed.err, replayed.status), std::tie(original.out, original.err, original.status))
          << question;
    }
    auto described = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"describe", folder.string()});
    expectGolden(scenario + "/describe.txt", described.out);
    auto report = cvdiag_test::runCVDiag({"--all-diagnostics"}, {{"CVDIAG_MACHINE", folder.string()}});
    EXPECT_EQ(report.status, 0) << report.err;
    expectGolden(scenario + "/report.txt", cvdiag_test::withoutVolatileParts(report.out));
    // The folder stays a folder: a second import into it is refused.
    auto again = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"import", archive.string(), folder.string()});
    EXPECT_EQ(again.status, 1);
  }
}

// An interrupted recording leaves nothing behind but the line that says so.
TEST(RecordScriptTest, AnInterruptedRecordingLeavesNothingBehind) {
  const struct {
    const char *signal, *name;
    int status;
  } cases[] = {{"diskutil INT", "INT", 130}, {"tar INT", "INT", 130}, {"tar TERM", "TERM", 143}, {"tar HUP", "HUP", 129}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.signal);
    Scratch scratch;
    Recording r = record(scratch, copyMac(scratch, {"virtualbox-hfs", nullptr}), c.signal);
    EXPECT_EQ(r.run.status, c.status);
    EXPECT_NE(r.run.err.find("cvdiag-record: stopped (" + std::string(c.name) + "); nothing was written\n"),
              std::string::npos) << r.run.err;
    EXPECT_TRUE(fs::is_empty(scratch.dir() / "out"));
    EXPECT_TRUE(fs::is_empty(scratch.dir() / "tmp"));
  }
}

// Corvane's preferences come from the defaults system when it holds the
// domain (its values may be newer than the file), else from the file, else
// from the sandbox container; the manifest says which.
TEST(RecordScriptTest, PreferencesComeFromTheDefaultsSystemThenTheFileThenTheContainer) {
  const std::string prefs = "Library/Preferences/com.tamarlin.Corvane.plist";
  const std::string container = "Library/Containers/com.tamarlin.Corvane/Data/" + prefs;
  const struct {
    bool exported, inContainer;
    std::string source, value;
  } cases[] = {{true, false, "defaults export com.tamarlin.Corvane -", "Weekly"},
               {false, false, "/Users/ada/" + prefs, "Nightly"},
               {false, true, "/Users/ada/" + container, "Nightly"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    Scratch scratch;
    const fs::path mac = copyMac(scratch, {"virtualbox-hfs", nullptr});
    if (c.exported) fs::copy(kHere / "fixtures/preferences/defaults", mac / "defaults");
    if (c.inContainer) {
      fs::create_directories((mac / "root/Users/ada" / container).parent_path());
      fs::rename(mac / "root/Users/ada" / prefs, mac / "root/Users/ada" / container);
    }
    Recording r = record(scratch, mac);
    const fs::path folder = scratch.dir() / "machine";
    ASSERT_EQ(cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"import", r.unpacked.string(), folder.string()}).status, 0);
    const std::string manifest = cvdiag_test::readFile(r.unpacked / "manifest.txt");
    EXPECT_NE(manifest.find("used com.tamarlin.Corvane: " + c.source + "\n"), std::string::npos) << manifest;
    EXPECT_NE(cvdiag_test::readFile(folder / "Users/ada" / prefs).find(c.value), std::string::npos);
  }
}

TEST(ImportReplayTest, DamagedRecordingsGiveOneLineAndNoFolder) {
  Scratch scratch;
  const fs::path damaged = scratch.dir() / "damaged.tar.gz";
  std::ofstream(damaged) << "\x1f\x8b not really gzip";
  const fs::path hostile = scratch.dir() / "hostile";
  fs::create_directories(hostile / "diskutil");
  std::ofstream(hostile / "recording.txt") << "format 1\nhome /Users/../../escape\n";
  std::ofstream(hostile / "diskutil/list.plist")
      << "<plist><dict><key>AllDisks</key><array><string>disk0</string><string>..</string></array></dict></plist>";
  fs::create_directories(hostile / "ioreg");
  std::ofstream(hostile / "ioreg/media.plist") << "bplist00\xff\xff\xff";
  struct Case {
    fs::path recording;
    int status;
  } cases[] = {{damaged, 1}, {scratch.dir() / "missing", 1}, {hostile, 0}};
  std::string text;
  for (const auto& c : cases) {
    auto run = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"import", c.recording.string(), (scratch.dir() / "m").string()});
    EXPECT_EQ(run.status, c.status);
    text += scratch.masked(run.out + run.err) + "--\n";
  }
  EXPECT_FALSE(fs::exists(scratch.dir() / "escape"));
  expectGolden("damaged_recordings.txt", text);
}

TEST(CheckTest, NamesEveryFaultOfABrokenFolder) {
  Scratch scratch;
  Recording r = record(scratch, copyMac(scratch, {"virtualbox-hfs", nullptr}));
  const fs::path folder = scratch.dir() / "machine";
  ASSERT_EQ(cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"import", r.unpacked.string(), folder.string()}).status, 0);

  // Faults the loader sees, one per part of machine.json, and faults in the files around it.
  auto document = nlohmann::json::parse(cvdiag_test::readFile(folder / "machine.json"));
  const nlohmann::json original = document;
  document["media"][0]["da"]["DAVolumePath"] = {{"$url", "Volumes/X"}};
  document["media"][2]["da"]["DAVolumeUUID"] = {{"$uuid", "not-a-uuid"}};
  document["media"][3]["volume"] = {{"statfs", {{"flags", -1}}}};
  document["files"]["/Users/ada/x"] = {{"created", {{"$date", "yesterday"}}}};
  std::ofstream(folder / "machine.json", std::ios::trunc) << document.dump(1);
  std::ofstream(folder / "usr/sbin/diskutil.d/listFileSystems.plist", std::ios::trunc) << "<plist><array>";
  fs::remove(folder / "usr/sbin/diskutil.d/info/disk0s3.plist");
  fs::permissions(folder / "usr/bin/tmutil", fs::perms::owner_read);
  std::ofstream(folder / "Users/ada/Library/Application Support/Corvane!/Nightly \"Ada's\" Copy — Zürich.cvsp/"
                         "Session Settings.cvss",
                std::ios::trunc)
      << "<plist><dict><key>CVSourceVolume</key><integer>7</integer></dict></plist>";
  auto broken = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"check", folder.string()});
  EXPECT_EQ(broken.status, 1);

  // A machine.json that loads, with faults of meaning.
  document = original;
  document["media"][1]["da"]["DAMediaSize"] = "209715200";
  document["media"][3]["da"]["DAMediaBSDName"] = "disk0s1";
  document["media"][2]["io"]["BSD Name"] = "disk9";
  std::ofstream(folder / "machine.json", std::ios::trunc) << document.dump(1);
  auto meaning = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"check", folder.string()});
  EXPECT_EQ(meaning.status, 1);
  expectGolden("check_broken.txt", broken.out + "--\n" + meaning.out);
}
