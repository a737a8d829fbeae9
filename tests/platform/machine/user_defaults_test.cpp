#include "platform/user_defaults.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <thread>

#include "platform/machine/factories.h"
#include "platform/machine/property_list_codec.h"
#include "support/machine_builder.h"

using namespace platform;
using namespace platform::machine;
using testsupport::MachineBuilder;

namespace {

constexpr const char* kDomain = "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";

std::string xmlDomain(const Dictionary& d) {
  return std::string(encodePropertyList(Value(d), PropertyListFormat::XML)->asStringView());
}

Dictionary fileValues(const MachineBuilder& m, const std::string& macPath) {
  auto v = readPropertyListFile(m.hostPath(macPath));
  if (!v) ADD_FAILURE() << macPath << ": " << v.error().localizedDescription;
  if (!v || !v->dictionary()) return {};
  return *v->dictionary();
}

}  // namespace

TEST(UserDefaultsTest, DomainsAreNamedByBundleOrSuiteAndCreatedOnlyWhenWritten) {
  MachineBuilder folder;
  folder.json({{"home", "/Users/ada"}});
  auto bare = makeMachineUserDefaults(folder.load());
  for (const char* bad : {"", ".", "..", "a/b", "../x"}) EXPECT_EQ(bare->initWithSuiteName(bad), nullptr) << bad;
  EXPECT_EQ(bare->initWithSuiteName(std::string("a\0b", 3)), nullptr);
  auto suite = bare->initWithSuiteName("com.tamarlin.Corvane!");
  ASSERT_NE(suite, nullptr);
  EXPECT_FALSE(suite->objectForKey("k"));
  EXPECT_FALSE(std::filesystem::exists(folder.hostPath("/Users")));
  ASSERT_TRUE(suite->setObject(Value(Dictionary{}), "k"));
  EXPECT_EQ(fileValues(folder, "/Users/ada/Library/Preferences/com.tamarlin.Corvane!.plist"),
            (Dictionary{{"k", Dictionary{}}}));
  ASSERT_TRUE(bare->standardUserDefaults()->setObject(Value(1), "k"));
  EXPECT_EQ(fileValues(folder, "/Users/ada/Library/Preferences/CVDiag.plist"), (Dictionary{{"k", 1}}));

  folder.json({{"home", "/Users/ada"}, {"bundleIdentifier", "com.tamarlin.Corvane"}});
  ASSERT_TRUE(makeMachineUserDefaults(folder.load())->standardUserDefaults()->setObject(Value("v"), "k"));
  EXPECT_EQ(fileValues(folder, kDomain), (Dictionary{{"k", "v"}}));
  EXPECT_EQ(folder.text(kDomain).substr(0, 8), "bplist00");
}

TEST(UserDefaultsTest, WritesKeepOtherKeysAndTheFileModeAndReadXML) {
  MachineBuilder folder;
  folder.json({{"home", "/Users/ada"}});
  Dictionary registry{{"8F6E6D7A-1B2C-4D3E-9F40-0A1B2C3D4E5F", Bytes::fromString("blob")}};
  folder.file(kDomain, xmlDomain({{"CVDiskKnownVolumes", registry}, {"Other", "keep me"}, {"N", -3}}));
  auto host = folder.hostPath(kDomain);
  ::chmod(host.c_str(), 0640);

  auto suite = makeMachineUserDefaults(folder.load())->initWithSuiteName("com.tamarlin.Corvane");
  EXPECT_EQ(suite->dictionaryForKey("CVDiskKnownVolumes"), registry);
  EXPECT_FALSE(suite->dictionaryForKey("Other"));
  EXPECT_EQ(suite->objectForKey("N"), Value(-3));

  ASSERT_TRUE(suite->setObject(Value(Dictionary{}), "CVDiskKnownVolumes"));
  ASSERT_TRUE(suite->removeObjectForKey("N"));
  EXPECT_EQ(fileValues(folder, kDomain), (Dictionary{{"CVDiskKnownVolumes", Dictionary{}}, {"Other", "keep me"}}));
  struct stat st {};
  ASSERT_EQ(::stat(host.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_FALSE(suite->objectForKey("N"));
}

TEST(UserDefaultsTest, AnUnreadableDomainFileIsNeverReplaced) {
  std::string deep;
  for (int i = 0; i < 2000; ++i) deep += "<array>";
  const std::string hostile[] = {
      "garbage that is no property list",
      "bplist00\x01\x02\x03 truncated",
      "<?xml version=\"1.0\"?><plist version=\"1.0\">" + deep,
      xmlDomain({}).replace(xmlDomain({}).find("<dict/>"), 7, "<array><string>a</string></array>"),
  };
  for (const auto& content : hostile) {
    MachineBuilder folder;
    folder.json({{"home", "/Users/ada"}});
    folder.file(kDomain, content);
    auto suite = makeMachineUserDefaults(folder.load())->initWithSuiteName("com.tamarlin.Corvane");
    EXPECT_FALSE(suite->objectForKey("CVDiskKnownVolumes"));
    EXPECT_FALSE(suite->setObject(Value(Dictionary{}), "CVDiskKnownVolumes"));
    EXPECT_FALSE(suite->removeObjectForKey("Other"));
    EXPECT_EQ(folder.text(kDomain), content);
    // The process still sees its own write.
    EXPECT_EQ(suite->dictionaryForKey("CVDiskKnownVolumes"), Dictionary{});
  }
}

TEST(UserDefaultsTest, ConcurrentThreadsKeepEveryKeyAndReadersSeeThem) {
  MachineBuilder folder;
  folder.json({{"home", "/Users/ada"}});
  constexpr int kThreads = 4, kKeys = 15;
  auto reader = makeMachineUserDefaults(folder.load())->initWithSuiteName("shared");
  EXPECT_FALSE(reader->objectForKey("t3k14"));  // read before the writers: no stale copy afterwards
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&folder, t] {
      // A store of its own, as another process would have.
      auto suite = makeMachineUserDefaults(folder.load())->initWithSuiteName("shared");
      for (int k = 0; k < kKeys; ++k) EXPECT_TRUE(suite->setObject(Value(k), "t" + std::to_string(t) + "k" + std::to_string(k)));
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(reader->objectForKey("t3k14"), Value(14));
  EXPECT_EQ(fileValues(folder, "/Users/ada/Library/Preferences/shared.plist").size(),
            static_cast<std::size_t>(kThreads * kKeys));
}

TEST(UserDefaultsTest, AWriterKilledAtAnyMomentLeavesTheOldOrTheNewFileWhole) {
  MachineBuilder folder;
  folder.json({{"home", "/Users/ada"}});
  const std::string domain = "/Users/ada/Library/Preferences/killed.plist";
  // Each record holds its number in two places; a torn file could not parse,
  // and a mixed one would disagree with itself.
  auto record = [](int n) {
    return Value(Dictionary{{"n", n}, {"blob", Bytes(std::vector<std::uint8_t>(300000, static_cast<std::uint8_t>(n)))}});
  };
  ASSERT_TRUE(makeMachineUserDefaults(folder.load())->initWithSuiteName("killed")->setObject(record(0), "record"));
  std::mt19937 random(7);
  int lastSeen = 0;
  for (int round = 0; round < 12; ++round) {
    pid_t child = ::fork();
    if (child == 0) {  // writes until it is killed
      auto suite = makeMachineUserDefaults(folder.load())->initWithSuiteName("killed");
      for (int n = lastSeen + 1;; ++n) suite->setObject(record(n % 250), "record");
    }
    ::usleep(2000 + random() % 40000);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    auto values = fileValues(folder, domain);
    const Value* r = lookup(values, "record");
    ASSERT_NE(r, nullptr) << round;
    auto n = lookup(*r->dictionary(), "n")->asInt64();
    const Bytes* blob = lookup(*r->dictionary(), "blob")->data();
    ASSERT_TRUE(n && blob);
    ASSERT_EQ(blob->size(), 300000u);
    EXPECT_EQ(blob->bytes().front(), static_cast<std::uint8_t>(*n));
    EXPECT_EQ(blob->bytes().back(), static_cast<std::uint8_t>(*n));
    lastSeen = static_cast<int>(*n);
  }
  // The next write clears what killed writers left behind.
  ASSERT_TRUE(makeMachineUserDefaults(folder.load())->initWithSuiteName("killed")->setObject(Value(1), "after"));
  for (const auto& entry : std::filesystem::directory_iterator(folder.hostPath("/Users/ada/Library/Preferences")))
    EXPECT_EQ(entry.path().filename().string().find(".killed.plist.tmp-"), std::string::npos) << entry.path();
}
