#pragma once
// The simulated Mac: what a machine folder's machine.json says, and where its
// Mac paths live on the host. Every platform implementation of the folder
// shares one loaded Machine; the tool's logic never sees this type.

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/value.h"

namespace platform::machine {

struct StatfsFacts {
  std::uint64_t bsize = 0;
  std::uint64_t blocks = 0;
  std::uint64_t bfree = 0;
  std::uint64_t flags = 0;
};

// Facts of the file system mounted at a media object's DAVolumePath.
struct VolumeFacts {
  Dictionary resources;                       // URL resource values by key name
  std::optional<std::string> resourceError;   // every resource read fails with this
  std::optional<StatfsFacts> statfs;          // absent: statfs fails
  std::optional<std::int64_t> fileCount;      // absent: getattrlist fails
  std::optional<std::int64_t> directoryCount;
  std::optional<std::int64_t> device;         // st_dev
  std::optional<std::int64_t> realDevice;     // absent: getattrlist fails with EINVAL
};

// Which disk DADiskCopyWholeDisk gives for a media object.
struct WholeRule {
  enum class Kind { Default, None, Named } kind = Kind::Default;
  std::string bsdName;  // with Named
};

struct MediaObject {
  std::shared_ptr<const Dictionary> da;  // null: DADiskCopyDescription gives nothing
  std::optional<Dictionary> io;   // absent: IORegistryEntryCreateCFProperties fails
  std::vector<Dictionary> ioParents;  // nearest ancestor first
  WholeRule whole;
  std::optional<VolumeFacts> volume;

  // DAMediaBSDName, when the description has it as text.
  std::optional<std::string> bsdName() const;
  // The Mac path of DAVolumePath ("/Volumes/Data", "/"), when there is one.
  std::optional<std::string> mountPath() const;
};

struct FileFacts {
  std::optional<Date> created;
  std::optional<Date> modified;
  std::optional<std::string> error;
};

// What simulated events have changed on a loaded machine since it was read,
// shared by every implementation over it: the names that renames gave to
// volumes, by place in `media`. Safe to use from any thread.
class MachineChanges {
 public:
  void renameVolume(std::size_t index, std::string name);
  // The latest name a rename gave to the volume of media object `index`.
  std::optional<std::string> volumeName(std::size_t index) const;

 private:
  mutable std::mutex mutex_;
  std::map<std::size_t, std::string> volumeNames_;
};

struct Machine {
  // The host folder that stands for the Mac's "/" ("/" on the host itself).
  std::filesystem::path folder;
  bool isHost = false;
  std::string home = "/Users/user";
  std::optional<std::string> bundleIdentifier;
  std::vector<MediaObject> media;          // in the order IOKit hands them out
  // Lookups over `media`, made by indexMedia() once the media are in place:
  // the first object of each BSD name, the first of each normalised mount path.
  std::map<std::string, std::size_t, std::less<>> mediaByBSDName;
  std::map<std::string, std::size_t, std::less<>> mediaByMountPath;
  std::map<std::string, FileFacts> files;  // by Mac path
  std::set<std::string, std::less<>> failures;
  // The one part that changes while the machine runs, so it stays writable
  // behind the shared const Machine.
  mutable MachineChanges changes;

  // The host path of a Mac path: "/X" is "<folder>/X". A relative Mac path is
  // taken from "/". ".." never climbs above the folder.
  std::filesystem::path hostPath(std::string_view macPath) const;
  // Whether the named platform operation is listed under "failures".
  bool fails(std::string_view operation) const { return failures.count(operation) != 0; }
  // Fills the two lookups from `media`.
  void indexMedia();
};

// Reads <folder>/machine.json. The error text is one line that names the file
// (as <folder>/machine.json), the place and the problem
// ("<folder>/machine.json: media[2].da.DAVolumePath.$url: expected an absolute URL, found \"x\"").
std::variant<std::shared_ptr<const Machine>, std::string> loadMachine(
    const std::filesystem::path& folder);

// This host: root "/", home $HOME, no media objects.
std::shared_ptr<const Machine> hostMachine();

}  // namespace platform::machine
