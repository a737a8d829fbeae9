#pragma once
// What the volume objects of one run share: the walk of the attached media,
// and the sink that collects the text of failed URL resource reads.
//
// The walk is kept while Disk Arbitration's disk state generation stays the
// same, so a model of a thousand volumes walks the media once rather than
// once per volume; a changed disk, or another platform, is walked anew.
//
// The volume model never prints. A failed resource read gives an absent
// value, and the error's localized description waits in the sink until the
// owner of the context takes it (`takeResourceErrors`) and writes it where
// it belongs in its own output.
//
// A context is a handle: copies share one walk and one sink. Every volume
// keeps the context it was made with and hands it to the volumes it finds
// (its whole disk, its slices, its group). A default-made context keeps
// nothing: every question walks the media anew and read errors are dropped;
// that is what volumes made outside a run (the registry's observation of
// disks, for one) use. All operations are safe from any thread.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"
#include "volumes/media_walk.h"

class VolumeContext {
 public:
  // Keeps nothing, collects nothing.
  VolumeContext() = default;
  // A context that keeps the last walk and collects read errors.
  static VolumeContext keepingWalksAndErrors();

  // The walk of the disks as they are now: the kept one while nothing has
  // changed, else a new one (kept in its place).
  std::shared_ptr<const MediaWalk> mediaWalk() const;

  // One URL resource value. A failed read gives absent and puts the error's
  // localized description into the sink; a missing key gives absent alone.
  // Every resource read of the volume model goes through this.
  std::optional<platform::Value> resourceValue(const platform::URL& url, std::string_view key) const;

  // The texts of the failed reads since the last call, oldest first, each on
  // a line of its own (with its line feed); empty when there were none.
  std::string takeResourceErrors() const;

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};
