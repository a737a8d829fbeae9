// What a run costs on a large Mac: reading machine.json with many media
// objects, and decoding a registry domain with many bookmarks. Run with
// scripts/bench; the targets are in the README.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "platform/machine/machine.h"
#include "platform/machine/machine_platform.h"

namespace {

namespace fs = std::filesystem;

// A folder that holds a machine.json with `count` mounted volumes.
fs::path writeMachine(int count) {
  fs::path folder = fs::temp_directory_path() /
                    ("cvdiag-bench-" + std::to_string(::getpid()) + "-" + std::to_string(count));
  fs::create_directories(folder);
  nlohmann::json media = nlohmann::json::array();
  for (int i = 0; i < count; ++i) {
    std::string bsd = "disk" + std::to_string(4 + i / 8) + "s" + std::to_string(1 + i % 8);
    char uuid[37];
    std::snprintf(uuid, sizeof uuid, "6C1D3C57-9E54-4A6B-8D37-%012X", i);
    media.push_back({
        {"da",
         {{"DAMediaBSDName", bsd},
          {"DAMediaWhole", false},
          {"DAVolumeName", "Volume " + std::to_string(i)},
          {"DAVolumeKind", "apfs"},
          {"DAVolumeMountable", true},
          {"DAVolumePath", {{"$url", "file:///Volumes/Volume%20" + std::to_string(i) + "/"}}},
          {"DAVolumeUUID", {{"$uuid", uuid}}},
          {"DAMediaSize", 2000398934016LL}}},
        {"io", {{"BSD Name", bsd}, {"Whole", false}, {"Content", "41504653-0000-11AA-AA11-00306543ECAC"}}},
        {"volume",
         {{"resources",
           {{"NSURLVolumeLocalizedNameKey", "Volume " + std::to_string(i)},
            {"NSURLVolumeTotalCapacityKey", 1999859621888LL},
            {"NSURLVolumeIsBrowsableKey", true}}},
          {"statfs", {{"bsize", 4096}, {"blocks", 488247955}, {"bfree", 366210937}, {"flags", 0}}}}},
    });
  }
  std::ofstream(folder / "machine.json") << nlohmann::json{{"home", "/Users/ada"}, {"media", media}};
  return folder;
}

void BM_LoadMachine(benchmark::State& state) {
  fs::path folder = writeMachine(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    auto loaded = platform::machine::loadMachine(folder);
    benchmark::DoNotOptimize(loaded);
    if (!std::holds_alternative<std::shared_ptr<const platform::machine::Machine>>(loaded))
      state.SkipWithError("machine.json did not load");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  fs::remove_all(folder);
}
BENCHMARK(BM_LoadMachine)->Arg(100)->Arg(1000)->Arg(5000)->Unit(benchmark::kMillisecond);

// A registry of `count` GUIDs, each with a bookmark-sized blob, as a binary
// property list: what opening the registry decodes.
void BM_DecodeRegistryDomain(benchmark::State& state) {
  fs::path folder = writeMachine(0);
  auto loaded = platform::machine::loadMachine(folder);
  auto machine = std::get<std::shared_ptr<const platform::machine::Machine>>(loaded);
  platform::Platform p = platform::machine::makeMachinePlatform(machine, {});
  platform::Dictionary registry;
  for (int i = 0; i < state.range(0); ++i) {
    char guid[37];
    std::snprintf(guid, sizeof guid, "0B0A4F32-51C2-4D0E-9E0C-%012X", i);
    registry[guid] = platform::Bytes(std::vector<std::uint8_t>(600, static_cast<std::uint8_t>(i)));
  }
  auto bytes = p.propertyLists->dataWithPropertyList(
      platform::Dictionary{{"CVDiskKnownVolumes", registry}}, platform::PropertyListFormat::Binary);
  if (!bytes) {
    state.SkipWithError("could not encode");
    return;
  }
  for (auto _ : state) {
    auto decoded = p.propertyLists->propertyListWithData(*bytes, 0);
    benchmark::DoNotOptimize(decoded);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes->size()));
  fs::remove_all(folder);
}
BENCHMARK(BM_DecodeRegistryDomain)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
