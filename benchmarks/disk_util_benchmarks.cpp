// What the diskutil section costs beside the processes it has to start: the
// whole section on a Mac of 256 disks (one diskutil run per disk plus four),
// against starting as many trivial programs (/bin/true) through the same
// runner, and against running the recorded diskutil itself as often without
// parsing or printing anything. The catalogue is also measured alone. Run with
// scripts/bench; targets in the README.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "app/sections.h"
#include "platform/machine/machine.h"
#include "platform/machine/machine_platform.h"
#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "tools/disk_util.h"
#include "tools/task_shell.h"

namespace {

namespace fs = std::filesystem;

constexpr int kDisks = 256;

std::string bsdName(int i) { return "disk" + std::to_string(i / 8) + "s" + std::to_string(1 + i % 8); }

// A Mac with `kDisks` APFS volumes, a diskutil that answers from shell
// built-ins only (no child of its own), and /bin/true.
fs::path writeMachine() {
  fs::path folder = fs::temp_directory_path() / ("cvdiag-bench-diskutil-" + std::to_string(::getpid()));
  fs::create_directories(folder / "usr/sbin");
  fs::create_directories(folder / "bin");
  nlohmann::json media = nlohmann::json::array();
  std::string allDisks;
  for (int i = 0; i < kDisks; ++i) {
    char uuid[37];
    std::snprintf(uuid, sizeof uuid, "6C1D3C57-9E54-4A6B-8D37-%012X", i);
    media.push_back({{"da",
                      {{"DAMediaBSDName", bsdName(i)},
                       {"DAMediaWhole", false},
                       {"DAVolumeName", "Volume " + std::to_string(i)},
                       {"DAVolumeKind", "apfs"},
                       {"DAVolumeUUID", {{"$uuid", uuid}}},
                       {"DAMediaSize", 2000398934016LL}}},
                     {"io", {{"BSD Name", bsdName(i)}, {"Whole", false}}}});
    allDisks += "<string>" + bsdName(i) + "</string>";
  }
  std::ofstream(folder / "machine.json") << nlohmann::json{{"home", "/Users/ada"}, {"media", media}};
  const std::string plist = "<plist version=\"1.0\">";
  std::ofstream(folder / "usr/sbin/diskutil")
      << "#!/bin/sh\ncase $1 in\n"
      << "listFileSystems) printf '%s' '" << plist
      << "<array><dict><key>Personality</key><string>APFS</string><key>UserVisibleName</key>"
         "<string>APFS</string></dict></array></plist>' ;;\n"
      << "list) printf '%s' '" << plist << "<dict><key>AllDisks</key><array>" << allDisks
      << "</array><key>AllDisksAndPartitions</key><array/><key>WholeDisks</key><array/>"
         "<key>VolumesFromDisks</key><array>"
      << allDisks << "</array></dict></plist>' ;;\n"
      << "info) printf '" << plist
      << "<dict><key>DeviceIdentifier</key><string>%s</string><key>Size</key><integer>2000398934016"
         "</integer><key>VolumeName</key><string>Volume</string><key>Writable</key><true/></dict></plist>'"
         " \"$3\" ;;\n"
      << "apfs) printf '%s' '" << plist << "<dict><key>Containers</key><array/></dict></plist>' ;;\n"
      << "esac\n";
  fs::permissions(folder / "usr/sbin/diskutil", fs::perms::owner_all);
  fs::copy_file("/bin/true", folder / "bin/true", fs::copy_options::overwrite_existing);
  return folder;
}

struct BenchMachine {
  BenchMachine() : folder(writeMachine()) {
    auto loaded = platform::machine::loadMachine(folder);
    platform::install(platform::machine::makeMachinePlatform(
        std::get<std::shared_ptr<const platform::machine::Machine>>(loaded), {}));
  }
  ~BenchMachine() { fs::remove_all(folder); }
  fs::path folder;
};

void BM_DiskutilSection256Disks(benchmark::State& state) {
  BenchMachine machine;
  auto registry = CVDiskManager::create();
  for (auto _ : state) {
    std::ostringstream out;
    ReportContext context(out, *registry);
    diskutilEntityReport(context);
    if (out.str().find("**** complete: 256 disks cataloged ****") == std::string::npos)
      state.SkipWithError("the catalogue is incomplete");
  }
}
BENCHMARK(BM_DiskutilSection256Disks)->Unit(benchmark::kMillisecond)->UseRealTime();

// The catalogue alone, without the volume blocks of the section.
void BM_DiskutilCatalogue256Disks(benchmark::State& state) {
  BenchMachine machine;
  for (auto _ : state) {
    std::ostringstream out;
    DiskUtil catalogue(out);
    benchmark::DoNotOptimize(catalogue);
  }
}
BENCHMARK(BM_DiskutilCatalogue256Disks)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: as many trivial processes as the section starts for its disks.
void BM_Start256TrueProcesses(benchmark::State& state) {
  BenchMachine machine;
  for (auto _ : state) {
    for (int i = 0; i < kDisks; ++i) benchmark::DoNotOptimize(NSTask::shellWithLaunchPath("/bin/true", {}));
  }
}
BENCHMARK(BM_Start256TrueProcesses)->Unit(benchmark::kMillisecond)->UseRealTime();

// The recorded diskutil run as often, its output read and dropped.
void BM_Run256DiskutilInfos(benchmark::State& state) {
  BenchMachine machine;
  for (auto _ : state) {
    for (int i = 0; i < kDisks; ++i)
      benchmark::DoNotOptimize(NSTask::shellWithLaunchPath("/usr/sbin/diskutil", {"info", "-plist", bsdName(i)}));
  }
}
BENCHMARK(BM_Run256DiskutilInfos)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
