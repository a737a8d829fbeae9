// URL resource values over a machine folder. The volume of a URL is the
// mounted media object with the longest mount path that is a prefix of the
// URL's path; its recorded "resources" answer for every URL on it, but for
// the two name keys after a simulated rename, which give the new name. File
// dates come from "files", else from the host file.

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/url_resources.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"

namespace platform::machine {

namespace {

constexpr std::string_view kCocoaDomain = "NSCocoaErrorDomain";
constexpr int kFileReadUnknown = 256;
constexpr int kFileReadUnsupportedScheme = 262;

struct HostDates {
  std::optional<Date> created;
  std::optional<Date> modified;
};

HostDates hostDates(const std::filesystem::path& path) {
  HostDates dates;
  struct statx info {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MTIME | STATX_BTIME, &info) != 0) return dates;
  auto toDate = [](const struct statx_timestamp& t) {
    return Date::fromSecondsSince1970(static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9);
  };
  if (info.stx_mask & STATX_MTIME) dates.modified = toDate(info.stx_mtime);
  if (info.stx_mask & STATX_BTIME) dates.created = toDate(info.stx_btime);
  return dates;
}

class MachineURLResources final : public URLResources {
 public:
  explicit MachineURLResources(MachineRef machine) : machine_(std::move(machine)) {}

  Result<Dictionary> resourceValuesForKeys(const URL& url,
                                           const std::vector<std::string>& keys) const override {
    if (!url.isFileURL())
      return Error{std::string(kCocoaDomain), kFileReadUnsupportedScheme,
                   "The file couldn\xE2\x80\x99t be opened because the specified URL type "
                   "isn\xE2\x80\x99t supported."};
    const std::string path = normalizeMacPath(url.path());

    auto volumeIndex = volumeIndexHolding(*machine_, path);
    const MediaObject* volume = volumeIndex ? &machine_->media[*volumeIndex] : nullptr;
    const VolumeFacts* facts = volume && volume->volume ? &*volume->volume : nullptr;
    if (facts && facts->resourceError)
      return Error{std::string(kCocoaDomain), kFileReadUnknown, *facts->resourceError};

    auto file = machine_->files.find(path);
    const FileFacts* fileFacts = file != machine_->files.end() ? &file->second : nullptr;
    if (fileFacts && fileFacts->error)
      return Error{std::string(kCocoaDomain), kFileReadUnknown, *fileFacts->error};

    std::optional<HostDates> dates;
    auto fileDates = [&]() -> const HostDates& {
      if (!dates) {
        if (fileFacts) dates = HostDates{fileFacts->created, fileFacts->modified};
        else dates = hostDates(machine_->hostPath(path));
      }
      return *dates;
    };

    Dictionary values;
    for (const std::string& key : keys) {
      if (key == NSURLVolumeURLKey) {
        if (volume) values[key] = Value(URL::fileURLWithPath(*volume->mountPath(), true));
      } else if (key == NSURLCreationDateKey) {
        if (auto d = fileDates().created) values[key] = Value(*d);
      } else if (key == NSURLContentModificationDateKey) {
        if (auto d = fileDates().modified) values[key] = Value(*d);
      } else if (key == NSURLNameKey || key == NSURLLocalizedNameKey) {
        if (auto name = fileName(path, volumeIndex, key)) values[key] = Value(*name);
      } else if (key == NSURLIsDirectoryKey) {
        if (existsAtMacPath(*machine_, path)) {
          std::error_code ec;
          values[key] = Value(std::filesystem::is_directory(machine_->hostPath(path), ec));
        }
      } else if (auto v = volumeValue(volumeIndex, key)) {
        values[key] = std::move(*v);
      }
    }
    return values;
  }

 private:
  // A recorded value of the volume of media object `index`. A volume that a
  // simulated rename has renamed answers its name keys, where it records
  // them, with the new name.
  std::optional<Value> volumeValue(std::optional<std::size_t> index, std::string_view key) const {
    const MediaObject* volume = index ? &machine_->media[*index] : nullptr;
    if (volume == nullptr || !volume->volume) return std::nullopt;
    const Value* recorded = lookup(volume->volume->resources, key);
    if (recorded == nullptr) return std::nullopt;
    if (key == NSURLVolumeNameKey || key == NSURLVolumeLocalizedNameKey)
      if (auto renamed = machine_->changes.volumeName(*index)) return Value(*renamed);
    return *recorded;
  }

  // The last component of an existing path; "/" is named after its volume.
  std::optional<std::string> fileName(const std::string& path, std::optional<std::size_t> volumeIndex,
                                      std::string_view key) const {
    if (!existsAtMacPath(*machine_, path)) return std::nullopt;
    if (path != "/") return path.substr(path.rfind('/') + 1);
    auto name = volumeValue(volumeIndex, key == NSURLLocalizedNameKey ? NSURLVolumeLocalizedNameKey
                                                                      : NSURLVolumeNameKey);
    if (!name || name->string() == nullptr) return std::nullopt;
    return *name->string();
  }

  MachineRef machine_;
};

}  // namespace

std::shared_ptr<URLResources> makeMachineURLResources(MachineRef machine) {
  return std::make_shared<MachineURLResources>(std::move(machine));
}

}  // namespace platform::machine
