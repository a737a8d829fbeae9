// Pruning orphaned registry entries with the built CVDiag: the printed
// lines, the file afterwards as python's own reader sees it, a second run,
// a CVDiag killed in the middle, and another writer of the domain.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <random>
#include <thread>

#include "settings_fixture.h"

extern char** environ;

using namespace settingstest;

namespace {

// Starts a program with the test's environment and one more variable; its
// output goes nowhere.
pid_t spawn(std::vector<std::string> argv, const std::string& variable) {
  std::vector<char*> args, env;
  for (auto& a : argv) args.push_back(a.data());
  args.push_back(nullptr);
  for (char** e = environ; *e; ++e) env.push_back(*e);
  std::string extra = variable;
  env.push_back(extra.data());
  env.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  EXPECT_EQ(posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, args.data(), env.data()), 0);
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

int waitFor(pid_t pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

class PruneTest : public SettingsMachine {
 protected:
  // Backup, referred to; 3,000 orphans of disks that are not attached.
  void manyOrphans() {
    std::vector<Entry> entries{{guid(1), "Backup", uuid('B', 1)}};
    for (long n = 100; n < 3100; ++n) entries.emplace_back(guid(n), "Orphan " + std::to_string(n), uuid('C', n));
    registry(entries);
    document("Nightly.cvsp", session(guid(1), "Backup", "not-a-guid", ""));
  }
  std::string machineVariable() const { return "CVDIAG_MACHINE=" + machine.folder().string(); }
};

}  // namespace

TEST_F(PruneTest, RemovesTheOrphansAndASecondRunFindsNone) {
  // Photos was registered as "Old Name": the document's pair differs from the
  // entry's, so the entry is an orphan although the reference resolves.
  registry({{guid(1), "Backup", uuid('B', 1)},
            {guid(2), "Old Name", uuid('B', 2)},
            {guid(7), "Old", uuid('C', 7)},
            {guid(11), std::nullopt, uuid('C', 11)},
            {"no-uuid", "Old", uuid('C', 7)}});
  document("Nightly.cvsp", session(guid(1), "Backup", guid(2), "Photos"));
  const auto before = readFile(host(kDomain));
  for (auto flags : {std::vector<std::string>{"--prune-orphans"}, {"--volume-registry", "--prune-orphans"}}) {
    run(flags);
    EXPECT_EQ(readFile(host(kDomain)), before);
  }

  machine.expectGolden("prune_first.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(domainSeenByPython(), guid(1) + " " + guid(11) + " no-uuid\n[('SUOtherKey', 'kept')]\n");
  const auto pruned = readFile(host(kDomain));
  machine.expectGolden("prune_second.txt", run({"--settings-volumes", "--prune-orphans"}).out);
  EXPECT_EQ(readFile(host(kDomain)), pruned);
}

TEST_F(PruneTest, AllDiagnosticsPrunesToo) {
  registry({{guid(1), "Backup", uuid('B', 1)}, {guid(7), "Old", uuid('C', 7)}});
  document("Nightly.cvsp", session(guid(1), "Backup", "not-a-guid", ""));
  run({"--all-diagnostics", "--prune-orphans"});
  EXPECT_EQ(domainSeenByPython(), guid(1) + "\n[('SUOtherKey', 'kept')]\n");
}

TEST_F(PruneTest, AKilledPruneLeavesTheOldOrTheNewRegistryAndEveryOtherKey) {
  manyOrphans();
  const auto original = readFile(host(kDomain));
  const auto oldView = domainSeenByPython();
  const auto newView = guid(1) + "\n[('SUOtherKey', 'kept')]\n";
  auto started = std::chrono::steady_clock::now();
  run({"--settings-volumes", "--prune-orphans"});
  auto runTime = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started);
  ASSERT_EQ(domainSeenByPython(), newView);

  std::mt19937 random(std::random_device{}());
  int old = 0, pruned = 0;
  // Most of a run comes before the write: the kills fall in its later part.
  std::uniform_int_distribution<long> moment(runTime.count() / 3, runTime.count());
  for (int i = 0; i < 30; ++i) {
    std::ofstream(host(kDomain), std::ios::binary | std::ios::trunc) << original;
    pid_t pid = spawn({CVDIAG_EXECUTABLE, "--settings-volumes", "--prune-orphans"}, machineVariable());
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    ::kill(pid, SIGKILL);
    waitFor(pid);
    auto seen = domainSeenByPython();
    EXPECT_TRUE(seen == oldView || seen == newView) << "kill " << i << ":\n" << seen;
    (seen == newView ? pruned : old) += 1;
  }
  std::cout << "killed before the write: " << old << ", after: " << pruned << "\n";
}

TEST_F(PruneTest, AWriterThatTakesTheDomainLockLosesNothing) {
  manyOrphans();
  // Another application writing the domain as documented: lock file, read,
  // change its own key, write a temporary file, rename.
  auto writer =
      "import fcntl,os,plistlib,sys,time\n"
      "path=sys.argv[1]\n"
      "for n in range(150):\n"
      "  with open(path+'.lock','a') as lock:\n"
      "    fcntl.flock(lock,fcntl.LOCK_EX)\n"
      "    d=plistlib.load(open(path,'rb'))\n"
      "    d['Writer%03d'%n]=n\n"
      "    tmp=path+'.writer'\n"
      "    with open(tmp,'wb') as f: plistlib.dump(d,f,fmt=plistlib.FMT_BINARY); f.flush(); os.fsync(f.fileno())\n"
      "    os.rename(tmp,path)\n"
      "  time.sleep(0.002)\n";
  pid_t pid = spawn({"/usr/bin/python3", "-c", writer, host(kDomain).string()}, "UNUSED=1");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  run({"--settings-volumes", "--prune-orphans"});
  EXPECT_EQ(waitFor(pid), 0);
  std::string expected = guid(1) + "\n[('SUOtherKey', 'kept')";
  for (int n = 0; n < 150; ++n) {
    char key[40];
    std::snprintf(key, sizeof key, ", ('Writer%03d', %d)", n, n);
    expected += key;
  }
  EXPECT_EQ(domainSeenByPython(), expected + "]\n");
}
