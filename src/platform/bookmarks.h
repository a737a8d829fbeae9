#pragma once
// URL bookmarks: a blob that remembers a URL and some of its resource values,
// so that the values can be read later without the volume being attached.
//
// The blob is a property list whose root dictionary holds "NSURLBookmarkURL",
// the URL's absolute text, and each stored resource value under its key name
// (custom keys by their raw text). A URL value is stored as its absolute
// text, and reads back as a URL under the URL-valued keys
// NSURLVolumeURLForRemountingKey and NSURLVolumeURLKey. Blobs are opaque to
// the tool's logic; only these operations look inside.
//
// Thread safety: every operation may be called from any thread at once.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/error.h"
#include "platform/value.h"

namespace platform {

// The key of the bookmarked URL inside a blob.
inline constexpr std::string_view kBookmarkURLKey = "NSURLBookmarkURL";

// NSURLBookmarkCreationSuitableForBookmarkFile.
inline constexpr std::uint64_t NSURLBookmarkCreationSuitableForBookmarkFile = 0x400;

class Bookmarks {
 public:
  virtual ~Bookmarks() = default;

  // bookmarkDataWithOptions:includingResourceValuesForKeys:relativeToURL:error:
  // with no base URL. Stores the asked keys that have a value: a key in
  // `temporaryResourceValues` (set on the URL object with
  // setTemporaryResourceValue:forKey:) stores that value; the others are read
  // from the URL's resource values. Fails with the read's error when the
  // resource values can't be read, and for a URL that is not a file URL.
  // `options` changes nothing in this encoding.
  virtual Result<Bytes> bookmarkData(const URL& url, std::uint64_t options,
                                     const std::vector<std::string>& keys,
                                     const Dictionary& temporaryResourceValues) const = 0;

  // URLByResolvingBookmarkData:options:relativeToURL:bookmarkDataIsStale:error:
  // with no options and no base URL: the bookmarked URL, or an error for a
  // blob that is no bookmark. `bookmarkDataIsStale` is set to false: the blob
  // keeps the URL by its text, so there is nothing that could go stale.
  virtual Result<URL> resolvingBookmarkData(const Bytes& bookmarkData, bool& bookmarkDataIsStale) const = 0;

  // resourceValuesForKeys:fromBookmarkData: the asked keys that the blob
  // holds; nothing for a blob that is no bookmark. A key's value does not
  // depend on the other keys asked with it.
  virtual std::optional<Dictionary> resourceValues(const std::vector<std::string>& keys,
                                                   const Bytes& bookmarkData) const = 0;
};

}  // namespace platform
