#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "platform/machine/machine.h"
#include "platform/system_unreadable.h"
#include "support/machine_builder.h"

using platform::machine::Machine;
using platform::machine::WholeRule;
using testsupport::MachineBuilder;

namespace {

std::string loadError(const MachineBuilder& m) {
  auto loaded = m.tryLoad();
  if (auto* error = std::get_if<std::string>(&loaded)) return *error;
  return "(loaded)";
}

std::string file(const MachineBuilder& m) { return (m.folder() / "machine.json").string(); }

}  // namespace

TEST(MachineLoaderTest, ReadsEveryKeyWithTypedValues) {
  // Every key once, with typed values, a path to normalise and a null "whole".
  MachineBuilder m("every_key");
  auto machine = m.load();
  EXPECT_EQ(machine->home, "/Users/ada");
  EXPECT_TRUE(machine->fails("DASessionCreate"));
  EXPECT_FALSE(machine->fails("IOServiceGetMatchingServices"));
  ASSERT_EQ(machine->files.count("/Volumes/Data/a.txt"), 1u);  // the key path is normalised
  const auto& facts = machine->files.at("/Volumes/Data/a.txt");
  EXPECT_EQ(facts.created->secondsSince1970(), 1709287200.0);
  EXPECT_FALSE(facts.modified);

  ASSERT_EQ(machine->media.size(), 3u);
  const auto& whole = machine->media[0];
  EXPECT_EQ(whole.whole.kind, WholeRule::Kind::None);
  const auto& da = *whole.da;
  EXPECT_EQ(platform::lookup(da, "DAMediaUUID")->uuid()->uuidString(), "0B0A4F32-51C2-4D0E-9E0C-3B8A3C2D1E4F");
  EXPECT_EQ(platform::lookup(da, "DAMediaSize")->kind(), platform::Value::Kind::Integer);
  EXPECT_EQ(platform::lookup(da, "Big")->kind(), platform::Value::Kind::Unsigned);
  EXPECT_EQ(platform::lookup(da, "Neg")->asInt64(), -1);
  EXPECT_EQ(platform::lookup(da, "Real")->asDouble(), 4.5);
  EXPECT_EQ(platform::lookup(*whole.io, "image-path")->data()->asStringView(), "/x/a.dmg");
  EXPECT_EQ(*platform::lookup(whole.ioParents[0], "DiskImageURL")->string(), "file:///x/a.dmg");

  const auto& slice = machine->media[1];
  EXPECT_EQ(slice.whole.kind, WholeRule::Kind::Named);
  EXPECT_EQ(slice.whole.bsdName, "disk4");  // "/dev/" is dropped
  EXPECT_EQ(slice.mountPath(), "/Volumes/Data");
  ASSERT_TRUE(slice.volume && slice.volume->statfs);
  EXPECT_EQ(slice.volume->statfs->bsize, 4096u);
  EXPECT_EQ(slice.volume->realDevice, -5);
  EXPECT_EQ(machine->media[2].whole.kind, WholeRule::Kind::Default);
}

TEST(MachineLoaderTest, ProblemsAreOneLineNamingTheFileAndThePlace) {
  // Each line of the table: a machine.json text, a tab, the problem it has.
  std::ifstream table(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/machine-json-problems.tsv");
  int count = 0;
  for (std::string line; std::getline(table, line); ++count) {
    const auto tab = line.find('\t');
    MachineBuilder m;
    m.jsonText(line.substr(0, tab));
    EXPECT_EQ(loadError(m), file(m) + ": " + line.substr(tab + 1)) << line;
  }
  EXPECT_EQ(count, 20);
}

TEST(MachineLoaderTest, UnreadableFoldersAndBrokenJSONAreRefusedInOneLine) {
  MachineBuilder missing;
  std::filesystem::remove(missing.folder() / "machine.json");
  EXPECT_EQ(loadError(missing), file(missing) + ": cannot be read (No such file or directory)");

  auto nowhere = missing.folder() / "nowhere";
  auto loaded = platform::machine::loadMachine(nowhere);
  ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
  EXPECT_EQ(std::get<std::string>(loaded),
            (nowhere / "machine.json").string() +
                ": the machine folder does not exist or is no directory");

  MachineBuilder broken;
  broken.jsonText("{\"home\": \n");
  std::string error = loadError(broken);
  EXPECT_EQ(error.rfind(file(broken) + ": invalid JSON: parse error at line 2", 0), 0u) << error;
  EXPECT_EQ(error.find('\n'), std::string::npos);

  MachineBuilder notUTF8;
  notUTF8.jsonText("{\"home\": \"/Users/\xFF\"}");
  error = loadError(notUTF8);
  EXPECT_EQ(error.rfind(file(notUTF8) + ": invalid JSON: parse error at line 1", 0), 0u) << error;

  MachineBuilder folderInstead;
  std::filesystem::remove(folderInstead.folder() / "machine.json");
  std::filesystem::create_directory(folderInstead.folder() / "machine.json");
  EXPECT_EQ(loadError(folderInstead), file(folderInstead) + ": cannot be read (Is a directory)");

  // Refused by its size before it is read (a sparse file costs nothing).
  MachineBuilder huge;
  std::filesystem::resize_file(huge.folder() / "machine.json", 65ull * 1024 * 1024);
  EXPECT_EQ(loadError(huge), file(huge) + ": too large (68157440 bytes, at most 67108864)");

  MachineBuilder deep;
  deep.jsonText(std::string(100000, '[') + std::string(100000, ']'));
  EXPECT_EQ(loadError(deep), file(deep) + ": nested deeper than 256 levels");

  // Brackets inside text do not count as nesting.
  MachineBuilder quoted;
  quoted.jsonText("{\"bundleIdentifier\": \"" + std::string(1000, '[') + "\\\"\"}");
  EXPECT_EQ(loadError(quoted), "(loaded)");
}

namespace {

using platform::machine::MachineReading;

std::variant<std::shared_ptr<const Machine>, std::string> loadOnDemand(const MachineBuilder& m) {
  return platform::machine::loadMachine(m.folder(), MachineReading::onDemand);
}

void expectSameVolume(const std::optional<platform::machine::VolumeFacts>& a,
                      const std::optional<platform::machine::VolumeFacts>& b) {
  ASSERT_EQ(a.has_value(), b.has_value());
  if (!a) return;
  EXPECT_EQ(a->resources, b->resources);
  EXPECT_EQ(a->resourceError, b->resourceError);
  EXPECT_EQ(a->statfs.has_value(), b->statfs.has_value());
  if (a->statfs && b->statfs) {
    EXPECT_EQ(std::tie(a->statfs->bsize, a->statfs->blocks, a->statfs->bfree, a->statfs->flags),
              std::tie(b->statfs->bsize, b->statfs->blocks, b->statfs->bfree, b->statfs->flags));
  }
  EXPECT_EQ(std::tie(a->fileCount, a->directoryCount, a->device, a->realDevice),
            std::tie(b->fileCount, b->directoryCount, b->device, b->realDevice));
}

}  // namespace

// A run reads each media object when it first asks for it; every folder the
// tests use reads to the same machine either way, and the names a lookup
// needs are known before any object is read.
TEST(MachineLoaderTest, OnDemandReadsWhatTheWholeReadGives) {
  int folders = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(CVDIAG_SOURCE_DIR) + "/tests/machines")) {
    if (!std::filesystem::exists(entry.path() / "machine.json")) continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++folders;
    MachineBuilder m(entry.path().filename().string());
    auto whole = m.load();
    auto lazy = std::get<std::shared_ptr<const Machine>>(loadOnDemand(m));
    EXPECT_EQ(lazy->home, whole->home);
    EXPECT_EQ(lazy->bundleIdentifier, whole->bundleIdentifier);
    EXPECT_EQ(lazy->failures, whole->failures);
    EXPECT_EQ(lazy->files.size(), whole->files.size());
    EXPECT_EQ(lazy->mediaByBSDName, whole->mediaByBSDName);
    EXPECT_EQ(lazy->mediaByMountPath, whole->mediaByMountPath);
    ASSERT_EQ(lazy->media.size(), whole->media.size());
    for (std::size_t i = 0; i < whole->media.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(lazy->media.bsdName(i), whole->media[i].bsdName());
      EXPECT_EQ(lazy->media.mountPath(i), whole->media[i].mountPath());
      const auto &a = lazy->media[i], &b = whole->media[i];
      EXPECT_EQ(a.da == nullptr, b.da == nullptr);
      if (a.da && b.da) {
        EXPECT_EQ(*a.da, *b.da);
      }
      EXPECT_EQ(a.io, b.io);
      EXPECT_EQ(a.ioParents, b.ioParents);
      EXPECT_EQ(std::tie(a.whole.kind, a.whole.bsdName), std::tie(b.whole.kind, b.whole.bsdName));
      expectSameVolume(a.volume, b.volume);
    }
  }
  EXPECT_GE(folders, 10);
}

// Every fault that the whole read names is named on demand with the same
// line: at load, or each time the broken media object is asked for.
TEST(MachineLoaderTest, OnDemandNamesEachFaultWithTheWholeReadsLine) {
  std::ifstream table(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/machine-json-problems.tsv");
  std::vector<std::string> texts;
  for (std::string line; std::getline(table, line);) texts.push_back(line.substr(0, line.find('\t')));
  // JSON faults inside a media object, which the outline passes over, and a
  // fault in a later object than the one asked for.
  texts.push_back(R"({"media": [{"io": {"x": [1 2]}}]})");
  texts.push_back(R"({"media": [{"da": {"DAMediaBSDName": "disk0"}}, {"io": {"x": tru}}]})");
  texts.push_back("{\"media\": [{\"io\": {\"a\\u0062\": {\"$data\": \"abc\"}}}]}");
  for (const auto& text : texts) {
    SCOPED_TRACE(text);
    MachineBuilder m;
    m.jsonText(text);
    const std::string expected = loadError(m);
    ASSERT_NE(expected, "(loaded)");
    auto lazy = loadOnDemand(m);
    if (auto* error = std::get_if<std::string>(&lazy)) {
      EXPECT_EQ(*error, expected);
      continue;
    }
    const auto& machine = *std::get<std::shared_ptr<const Machine>>(lazy);
    int faults = 0;
    for (std::size_t i = 0; i < machine.media.size(); ++i) {
      for (int twice = 0; twice < 2; ++twice) {
        try {
          (void)machine.media[i];
        } catch (const platform::SystemUnreadable& e) {
          EXPECT_EQ(e.what(), expected);
          ++faults;
        }
      }
    }
    EXPECT_EQ(faults, 2);  // one broken object, asked for twice
  }
}
