#pragma once
// Questions that several machine-folder implementations ask of one loaded
// Machine: which media object has a BSD name or holds a path, whether a Mac
// path exists, and the registry-entry handle that IOKit and Disk Arbitration
// pass between them.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/io_kit.h"
#include "platform/machine/machine.h"

namespace platform::machine {

// "/a/./b/../c/" is "/a/c": absolute, no "." or "..", no final "/" but for "/".
std::string normalizeMacPath(std::string_view macPath);

// A BSD name without a leading "/dev/".
std::string_view stripDevPrefix(std::string_view name);

// The index of the media object whose description has this DAMediaBSDName
// (with or without "/dev/"); the first such one.
std::optional<std::size_t> mediaIndexByBSDName(const Machine& machine, std::string_view name);

// The index of the media object that DADiskCopyWholeDisk gives for media
// object `index`: its "whole" rule, else itself when DAMediaWhole is true,
// else the object named by the leading "disk<N>" of its BSD name.
std::optional<std::size_t> wholeDiskIndex(const Machine& machine, std::size_t index);

// The mounted media object whose mount path is the longest prefix of the
// path, whole components only.
std::optional<std::size_t> volumeIndexHolding(const Machine& machine, std::string_view macPath);

// The facts recorded for the volume that holds the path, if any.
const VolumeFacts* volumeFactsHolding(const Machine& machine, std::string_view macPath);

// Whether something exists at the Mac path (links followed): a file below the
// folder, or "/dev/<bsdName>" of a media object.
bool existsAtMacPath(const Machine& machine, std::string_view macPath);

// The I/O registry entry of one media object of one machine.
class MediaRegistryEntry final : public IORegistryEntry {
 public:
  MediaRegistryEntry(std::shared_ptr<const Machine> machine, std::size_t index)
      : machine_(std::move(machine)), index_(index) {}
  const Machine& machine() const { return *machine_; }
  std::size_t index() const { return index_; }
  const MediaObject& media() const { return machine_->media[index_]; }

 private:
  std::shared_ptr<const Machine> machine_;
  std::size_t index_;
};

}  // namespace platform::machine
