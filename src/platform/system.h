#pragma once
// The system's file-system calls: statfs, stat, getattrlist. Paths are the
// Mac's own; a failed call gives its errno.

#include <cstdint>
#include <string_view>

#include "platform/error.h"

namespace platform {

// The fields of struct statfs that the tool reads.
struct StatfsInfo {
  std::uint64_t f_bsize = 0;   // block size
  std::uint64_t f_blocks = 0;  // blocks in the file system
  std::uint64_t f_bfree = 0;   // free blocks
  std::uint64_t f_flags = 0;   // MNT_… flags
};
inline constexpr std::uint64_t MNT_RDONLY = 0x00000001;
inline constexpr std::uint64_t MNT_IGNORE_OWNERSHIP = 0x00200000;

// The fields of struct stat that the tool reads.
struct StatInfo {
  std::int32_t st_dev = 0;
};

// struct attrlist: which attributes getattrlist is asked for.
struct AttrList {
  std::uint16_t bitmapcount = 5;  // ATTR_BIT_MAP_COUNT
  std::uint32_t commonattr = 0;
  std::uint32_t volattr = 0;
  std::uint32_t dirattr = 0;
  std::uint32_t fileattr = 0;
  std::uint32_t forkattr = 0;
};
inline constexpr std::uint32_t ATTR_VOL_FILECOUNT = 0x00000200;
inline constexpr std::uint32_t ATTR_VOL_DIRCOUNT = 0x00000400;
// In `forkattr` with FSOPT_ATTR_CMN_EXTENDED: the real device identifier.
inline constexpr std::uint32_t ATTR_CMNEXT_REALDEVID = 0x00000040;
inline constexpr std::uint32_t FSOPT_ATTR_CMN_EXTENDED = 0x00000020;

class System {
 public:
  virtual ~System() = default;

  // statfs(path): the file system that holds the path. ENOENT when nothing
  // exists at the path.
  virtual Result<StatfsInfo, Errno> statfs(std::string_view path) const = 0;

  // stat(path): st_dev of the file system that holds the path. ENOENT when
  // nothing exists at the path.
  virtual Result<StatInfo, Errno> stat(std::string_view path) const = 0;

  // getattrlist(path, attrList, buffer, 8, options) asking for one 32-bit
  // attribute: the value that stands behind the 32-bit length at the head of
  // the buffer. Answered: ATTR_VOL_FILECOUNT and ATTR_VOL_DIRCOUNT (volattr),
  // ATTR_CMNEXT_REALDEVID (forkattr, with FSOPT_ATTR_CMN_EXTENDED). A volume
  // that does not know the real device identifier fails with EINVAL; any
  // other list fails with EINVAL too; a missing path with ENOENT.
  virtual Result<std::int32_t, Errno> getattrlist(std::string_view path, const AttrList& attrList,
                                                  std::uint32_t options) const = 0;
};

}  // namespace platform
