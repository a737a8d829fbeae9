#include "tools/disk_util.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "platform/dispatch.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "tools/task_shell.h"
#include "tools/disk_order_key.h"

namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;

using PlistCompletion = std::function<void(platform::Task& task, const std::optional<Value>& plist)>;

// Wraps the completion of a diskutil run: the lines become one text (the
// newlines they were split at are gone), which is parsed as a property list.
// Lines that do not parse are written out with "Failed to parse plist data:"
// and hand on no property list; absent lines hand on none without a word.
TaskCompletion plistCompletion(std::ostream& progress, PlistCompletion inner) {
  return [&progress, inner = std::move(inner)](platform::Task& task, const TaskLines& lines) {
    std::optional<Value> plist;
    if (lines) {
      std::size_t size = 0;
      for (const auto& line : *lines) size += line.size();
      std::string joined;
      joined.reserve(size);
      for (const auto& line : *lines) joined += line;
      auto parsed = platform::current().propertyLists->propertyListWithData(
          platform::Bytes::fromString(joined), 1);
      if (parsed) {
        plist = std::move(parsed).value();
      } else {
        progress << "Failed to parse plist data:\n" << platform::swiftArrayDescription(*lines) << "\n\n";
      }
    }
    inner(task, plist);
  };
}

// One run of diskutil whose property list is handed back through a cell and
// a semaphore, with "No plist returned …" when there is none.
std::optional<Value> runForPlist(std::ostream& progress, const std::vector<std::string>& arguments) {
  auto cell = std::make_shared<std::optional<Value>>();
  platform::DispatchSemaphore done(0);
  NSTask::shellWithLaunchPath(
      DiskUtil::kLaunchPath, arguments,
      plistCompletion(progress, [&](platform::Task&, const std::optional<Value>& plist) {
        if (plist) {
          *cell = plist;
        } else {
          progress << "No plist returned for invocation with arguments: "
                   << platform::swiftArrayDescription(arguments) << '\n';
        }
        done.signal();
      }));
  done.wait();
  return std::move(*cell);
}

std::optional<Dictionary> asDictionary(std::optional<Value> value) {
  if (!value || !value->dictionary()) return std::nullopt;
  return *value->dictionary();
}

// The value as an array of strings; nothing when it is not one throughout.
std::optional<std::vector<std::string>> stringArray(const Value* value) {
  if (!value || !value->array()) return std::nullopt;
  std::vector<std::string> strings;
  strings.reserve(value->array()->size());
  for (const Value& item : *value->array()) {
    if (!item.string()) return std::nullopt;
    strings.push_back(*item.string());
  }
  return strings;
}

// The value as an array of dictionaries; nothing when it is not one throughout.
std::optional<std::vector<Dictionary>> dictionaryArray(const Value* value) {
  if (!value || !value->array()) return std::nullopt;
  std::vector<Dictionary> dictionaries;
  dictionaries.reserve(value->array()->size());
  for (const Value& item : *value->array()) {
    if (!item.dictionary()) return std::nullopt;
    dictionaries.push_back(*item.dictionary());
  }
  return dictionaries;
}

// Disk identifiers in ascending diskOrderKey order, equal keys as they came.
std::vector<std::string> sortedByDiskOrder(std::vector<std::string> disks) {
  std::vector<std::pair<std::int64_t, std::string>> keyed;
  keyed.reserve(disks.size());
  for (auto& disk : disks) keyed.emplace_back(diskOrderKey(disk), std::move(disk));
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> sorted;
  sorted.reserve(keyed.size());
  for (auto& entry : keyed) sorted.push_back(std::move(entry.second));
  return sorted;
}

template <class T>
T required(std::optional<T> value, const char* missing) {
  if (!value) throw SerializationError::missing(missing);
  return std::move(*value);
}

}  // namespace

DiskUtil::DiskUtil(std::ostream& progress) : progress_(&progress) {
  fileSystems_ = required(collectFileSystems(), "diskutil listFileSystesm -plist failed");
  layout_ = required(collectLayout(), "diskutil list -plist");
  diskCatalog_ = required(collectDiskCatalog(), "diskutil info -plist <disk id> for all <disk id>");
  allDisksAndPartitions_ =
      required(dictionaryArray(platform::lookup(layout_, "AllDisksAndPartitions")), "AllDisksAndPartitions");
  allDisks_ = required(stringArray(platform::lookup(layout_, "AllDisks")), "AllDisk");
  wholeDisks_ = required(stringArray(platform::lookup(layout_, "WholeDisks")), "WholeDisks");
  volumesFromDisks_ = required(stringArray(platform::lookup(layout_, "VolumesFromDisks")), "VolumesFromDisks");
  volumeGroups_ = required(collectVolumeGroups(), "diskutil apfs listVolumeGroups -plist");
  allDisks_ = sortedByDiskOrder(std::move(allDisks_));
  wholeDisks_ = sortedByDiskOrder(std::move(wholeDisks_));
  volumesFromDisks_ = sortedByDiskOrder(std::move(volumesFromDisks_));
}

std::optional<std::map<std::string, std::string>> DiskUtil::collectFileSystems() {
  std::ostream& out = *progress_;
  out << "**** Collecting file system personalities ****\n";
  auto entries = [&]() -> std::optional<std::vector<Dictionary>> {
    auto plist = runForPlist(out, {"listFileSystems", "-plist"});
    return plist ? dictionaryArray(&*plist) : std::nullopt;
  }();
  if (!entries) {
    out << "**** No file systems found ****\n";
    return std::nullopt;
  }
  std::map<std::string, std::string> personalities;
  for (const auto& entry : *entries) {
    const Value* name = platform::lookup(entry, "UserVisibleName");
    // An entry without a name names nothing it could add or take out.
    if (!name || !name->string()) continue;
    const Value* personality = platform::lookup(entry, "Personality");
    if (personality && personality->string()) {
      personalities[*name->string()] = *personality->string();
    } else {
      personalities.erase(*name->string());
    }
  }
  for (const auto& [name, personality] : personalities) out << "... " << name << '\n';
  return personalities;
}

std::optional<Dictionary> DiskUtil::collectLayout() {
  *progress_ << "**** Collecting disk layout from diskutil ****\n";
  return asDictionary(runForPlist(*progress_, {"list", "-plist"}));
}

std::optional<Dictionary> DiskUtil::collectDiskCatalog() {
  std::ostream& out = *progress_;
  auto catalog = std::make_shared<Dictionary>();
  auto queue = platform::DispatchQueue::serial(kCatalogQueueLabel, platform::QualityOfService::Unspecified);
  platform::DispatchGroup group;

  out << "**** Cataloging disks from diskutil ****\n";
  auto layout = asDictionary(runForPlist(out, {"list", "-plist"}));
  auto disks = layout ? stringArray(platform::lookup(*layout, "AllDisks")) : std::nullopt;
  if (!disks) {
    out << "Unable to collect all disks using diskutil\n";
    return std::nullopt;
  }
  layout.reset();
  for (const auto& disk : *disks) {
    group.enter();
    NSTask::shellWithLaunchPath(
        kLaunchPath, {"info", "-plist", disk},
        plistCompletion(out, [&, disk](platform::Task&, const std::optional<Value>& plist) {
          out << '.';
          if (plist) {
            queue.sync([&] { (*catalog)[disk] = *plist; });
            out.flush();
          } else {
            out << "\nError retrieving info for disk: " << disk << '\n';
          }
          group.leave();
        }));
  }
  group.wait();
  out << "\n**** complete: " << catalog->size() << " disks cataloged ****\n";
  Dictionary result;
  queue.sync([&] { result = std::move(*catalog); });
  return result;
}

std::optional<Dictionary> DiskUtil::collectVolumeGroups() {
  return asDictionary(runForPlist(*progress_, {"apfs", "listVolumeGroups", "-plist"}));
}
