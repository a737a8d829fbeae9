#pragma once
// The simulated Mac: what a machine folder's machine.json says, and where its
// Mac paths live on the host. Every platform implementation of the folder
// shares one loaded Machine; the tool's logic never sees this type.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
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

// The media objects of a machine, in the order IOKit hands them out. An
// object may be kept as its text in machine.json and read the first time it
// is asked for, so that a run that needs one disk does not read them all; its
// BSD name and mount path are known without reading it. Safe from any thread.
// An object whose text does not read throws platform::SystemUnreadable with
// the loader's one line, each time it is asked for.
class MediaList {
 public:
  MediaList() = default;
  MediaList(MediaList&&) = default;
  MediaList& operator=(MediaList&&) = default;

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const MediaObject& operator[](std::size_t index) const;
  // As [], and std::out_of_range past the end.
  const MediaObject& at(std::size_t index) const;
  // The object's BSD name and the Mac path it is mounted at, as bsdName()
  // and mountPath() of the object give them, without reading the object.
  const std::optional<std::string>& bsdName(std::size_t index) const { return entries_.at(index)->bsdName; }
  const std::optional<std::string>& mountPath(std::size_t index) const { return entries_.at(index)->mountPath; }

  // An object read already.
  void push_back(MediaObject object);
  // An object read when first asked for: `read` gets its text and its place
  // in the list and gives the object or throws the SystemUnreadable. The
  // text must live as long as the reader. Its names are read ahead.
  using Reader = std::function<MediaObject(std::string_view text, std::size_t index)>;
  void pushUnread(std::shared_ptr<const Reader> read, std::string_view text, std::optional<std::string> bsdName,
                  std::optional<std::string> mountPath);

  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = MediaObject;
    using difference_type = std::ptrdiff_t;
    using pointer = const MediaObject*;
    using reference = const MediaObject&;
    const_iterator() = default;
    const_iterator(const MediaList* list, std::size_t index) : list_(list), index_(index) {}
    reference operator*() const { return (*list_)[index_]; }
    pointer operator->() const { return &(*list_)[index_]; }
    const_iterator& operator++() {
      ++index_;
      return *this;
    }
    const_iterator operator++(int) {
      auto old = *this;
      ++index_;
      return old;
    }
    friend bool operator==(const const_iterator&, const const_iterator&) = default;

   private:
    const MediaList* list_ = nullptr;
    std::size_t index_ = 0;
  };
  const_iterator begin() const { return {this, 0}; }
  const_iterator end() const { return {this, size()}; }

 private:
  struct Entry {
    std::optional<std::string> bsdName;
    std::optional<std::string> mountPath;
    std::shared_ptr<const Reader> read;  // with an unread object
    std::string_view text;
    mutable std::mutex mutex;
    mutable std::optional<MediaObject> object;
  };
  std::vector<std::unique_ptr<Entry>> entries_;
};

// The BSD name that a description's DAMediaBSDName value gives (a text), and
// the Mac path of its DAVolumePath value (a URL); nothing for another value.
std::optional<std::string> bsdNameOf(const Value* value);
std::optional<std::string> mountPathOf(const Value* value);

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
  MediaList media;                         // in the order IOKit hands them out
  // Lookups over `media`, made by indexMedia() once the media are in place
  // (without reading them): the first object of each BSD name, the first of
  // each normalised mount path.
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

// How much of machine.json loadMachine reads at once: all of it, or what
// every run needs (home, bundle identifier, failures, files, and each media
// object's BSD name and mount path) and each media object when first asked
// for.
enum class MachineReading { everything, onDemand };

// Reads <folder>/machine.json. The error text is one line that names the file
// (as <folder>/machine.json), the place and the problem
// ("<folder>/machine.json: media[2].da.DAVolumePath.$url: expected an absolute URL, found \"x\"").
// With MachineReading::onDemand, a media object that turns out broken when it
// is asked for throws platform::SystemUnreadable with such a line.
std::variant<std::shared_ptr<const Machine>, std::string> loadMachine(
    const std::filesystem::path& folder, MachineReading reading = MachineReading::everything);

// This host: root "/", home $HOME, no media objects.
std::shared_ptr<const Machine> hostMachine();

}  // namespace platform::machine
