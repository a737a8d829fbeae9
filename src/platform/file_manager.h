#pragma once
// NSFileManager and the search paths: existence, subpaths, reading file
// contents. Paths are the Mac's own absolute paths ("/Volumes/Data").

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/error.h"
#include "platform/value.h"

namespace platform {

// NSSearchPathDirectory values that the tool asks for.
enum class SearchPathDirectory : unsigned {
  NSLibraryDirectory = 5,
  NSApplicationSupportDirectory = 14,
};
// NSSearchPathDomainMask values.
enum class SearchPathDomainMask : unsigned {
  NSUserDomainMask = 1,
  NSLocalDomainMask = 2,
  NSNetworkDomainMask = 4,
  NSSystemDomainMask = 8,
};

// What a whole-file read accepts at most unless the caller says otherwise.
inline constexpr std::uint64_t kDefaultReadLimit = 64ull * 1024 * 1024;

class FileManager {
 public:
  virtual ~FileManager() = default;

  // fileExistsAtPath: whether something exists at the path, symbolic links
  // followed (a dangling link does not exist). "/dev/<bsdName>" exists for
  // every media object of that BSD name.
  virtual bool fileExistsAtPath(std::string_view path) const = 0;

  // subpathsOfDirectoryAtPath:error: every path below the directory, relative
  // to it ("a", "a/b", …), at every depth: depth first, each folder's entries
  // in ascending byte order of their names, a folder before what it holds. A
  // symbolic link is listed and not followed, so no walk is endless. Entries
  // that cannot be read below the top are left out. An error when the path is
  // no readable directory.
  virtual Result<std::vector<std::string>> subpathsOfDirectoryAtPath(std::string_view path) const = 0;

  // contentsAtPath: the whole content of a file; nothing when it cannot be
  // read or is larger than kDefaultReadLimit.
  virtual std::optional<Bytes> contentsAtPath(std::string_view path) const = 0;

  // Data(contentsOf:): the whole content of a file, or an error whose
  // localized description tells why (missing, a directory, unreadable, or
  // larger than `limit` bytes).
  virtual Result<Bytes> dataWithContentsOfFile(std::string_view path,
                                               std::uint64_t limit = kDefaultReadLimit) const = 0;

  // NSSearchPathForDirectoriesInDomains(directory, domainMask, expandTilde):
  // for the user domain, "<home>/Library" and "<home>/Library/Application
  // Support" ("~/Library", … without tilde expansion). Any other directory or
  // domain gives an empty array.
  virtual std::vector<std::string> NSSearchPathForDirectoriesInDomains(
      SearchPathDirectory directory, SearchPathDomainMask domainMask, bool expandTilde) const = 0;
};

}  // namespace platform
