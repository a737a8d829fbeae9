// statfs, stat and getattrlist over a machine folder: a Mac path that exists
// answers with the facts recorded for the volume that holds it. On the host
// (no media objects) statfs and stat ask the host itself.
//
// Choices where the folder records nothing:
// - stat of a path on a volume without "device", or on no volume, gives
//   st_dev 0x1000000 + the volume's place in the media array, or 0 without a
//   volume (on the host: the host's st_dev);
// - statfs fails with ENOTSUP without recorded "statfs" (on the host it asks
//   the host); getattrlist of a count fails with ENOTSUP when the count is not
//   recorded.

#include <cerrno>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include "platform/system.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"

namespace platform::machine {

namespace {

constexpr std::int32_t kDefaultDeviceBase = 0x1000000;

class MachineSystem final : public System {
 public:
  explicit MachineSystem(MachineRef machine) : machine_(std::move(machine)) {}

  Result<StatfsInfo, Errno> statfs(std::string_view path) const override {
    if (!existsAtMacPath(*machine_, path)) return Errno{ENOENT};
    if (const VolumeFacts* facts = volumeFactsHolding(*machine_, path); facts && facts->statfs)
      return StatfsInfo{facts->statfs->bsize, facts->statfs->blocks, facts->statfs->bfree,
                        facts->statfs->flags};
    if (machine_->isHost) {
      struct statvfs info {};
      if (::statvfs(machine_->hostPath(path).c_str(), &info) != 0) return Errno{errno};
      StatfsInfo result{info.f_frsize, info.f_blocks, info.f_bfree, 0};
      if (info.f_flag & ST_RDONLY) result.f_flags |= MNT_RDONLY;
      return result;
    }
    return Errno{ENOTSUP};
  }

  Result<StatInfo, Errno> stat(std::string_view path) const override {
    if (!existsAtMacPath(*machine_, path)) return Errno{ENOENT};
    auto index = volumeIndexHolding(*machine_, path);
    if (index) {
      const MediaObject& media = machine_->media[*index];
      if (media.volume && media.volume->device)
        return StatInfo{static_cast<std::int32_t>(*media.volume->device)};
      return StatInfo{kDefaultDeviceBase + static_cast<std::int32_t>(*index)};
    }
    if (machine_->isHost) {
      struct stat info {};
      if (::stat(machine_->hostPath(path).c_str(), &info) != 0) return Errno{errno};
      return StatInfo{static_cast<std::int32_t>(info.st_dev)};
    }
    return StatInfo{0};
  }

  Result<std::int32_t, Errno> getattrlist(std::string_view path, const AttrList& attrList,
                                          std::uint32_t options) const override {
    if (!existsAtMacPath(*machine_, path)) return Errno{ENOENT};
    const VolumeFacts* facts = volumeFactsHolding(*machine_, path);
    const bool onlyVolume = attrList.commonattr == 0 && attrList.dirattr == 0 &&
                            attrList.fileattr == 0 && attrList.forkattr == 0;
    if (attrList.forkattr == ATTR_CMNEXT_REALDEVID && (options & FSOPT_ATTR_CMN_EXTENDED) &&
        attrList.commonattr == 0 && attrList.volattr == 0 && attrList.dirattr == 0 &&
        attrList.fileattr == 0) {
      if (facts && facts->realDevice) return static_cast<std::int32_t>(*facts->realDevice);
      return Errno{EINVAL};
    }
    if (onlyVolume && (attrList.volattr & ~0x80000000u) == ATTR_VOL_FILECOUNT) {
      if (facts && facts->fileCount) return static_cast<std::int32_t>(*facts->fileCount);
      return Errno{ENOTSUP};
    }
    if (onlyVolume && (attrList.volattr & ~0x80000000u) == ATTR_VOL_DIRCOUNT) {
      if (facts && facts->directoryCount) return static_cast<std::int32_t>(*facts->directoryCount);
      return Errno{ENOTSUP};
    }
    return Errno{EINVAL};
  }

 private:
  MachineRef machine_;
};

}  // namespace

std::shared_ptr<System> makeMachineSystem(MachineRef machine) {
  return std::make_shared<MachineSystem>(std::move(machine));
}

}  // namespace platform::machine
