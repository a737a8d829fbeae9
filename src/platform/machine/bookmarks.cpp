#include "platform/bookmarks.h"
#include "platform/url_resources.h"
#include "platform/machine/factories.h"
#include "platform/machine/property_list_codec.h"

namespace platform::machine {

namespace {

constexpr std::int64_t kFileReadCorruptFile = 259;
constexpr std::int64_t kFileReadUnsupportedScheme = 262;

bool isURLValuedKey(std::string_view key) {
  return key == NSURLVolumeURLForRemountingKey || key == NSURLVolumeURLKey;
}

// The root dictionary of a blob with a readable bookmarked URL, or nothing.
struct Decoded {
  URL url;
  Dictionary values;
};

std::optional<Decoded> decodeBookmark(const Bytes& blob) {
  auto value = decodePropertyList(blob.bytes());
  if (!value || value->dictionary() == nullptr) return std::nullopt;
  Dictionary values = *value->dictionary();
  auto it = values.find(kBookmarkURLKey);
  if (it == values.end() || it->second.string() == nullptr) return std::nullopt;
  auto url = URL::fromString(*it->second.string());
  if (!url) return std::nullopt;
  values.erase(it);
  return Decoded{*url, std::move(values)};
}

class MachineBookmarks final : public Bookmarks {
 public:
  MachineBookmarks(MachineRef machine, std::shared_ptr<URLResources> resources)
      : machine_(std::move(machine)), resources_(std::move(resources)) {}

  Result<Bytes> bookmarkData(const URL& url, std::uint64_t, const std::vector<std::string>& keys,
                             const Dictionary& temporaryResourceValues) const override {
    if (!url.isFileURL())
      return Error{"NSCocoaErrorDomain", kFileReadUnsupportedScheme,
                   "The file couldn\xE2\x80\x99t be opened because the specified URL type "
                   "isn\xE2\x80\x99t supported."};
    Dictionary stored;
    std::vector<std::string> toRead;
    for (const auto& key : keys) {
      if (key == kBookmarkURLKey) continue;
      if (const Value* v = lookup(temporaryResourceValues, key))
        stored.insert_or_assign(key, *v);
      else
        toRead.push_back(key);
    }
    if (!toRead.empty() && resources_) {
      auto read = resources_->resourceValuesForKeys(url, toRead);
      if (!read) return read.error();
      for (const auto& key : toRead)
        if (const Value* v = lookup(*read, key)) stored.insert_or_assign(key, *v);
    }
    stored.insert_or_assign(std::string(kBookmarkURLKey), Value(url.absoluteString()));
    return encodePropertyList(Value(std::move(stored)), PropertyListFormat::Binary);
  }

  Result<URL> resolvingBookmarkData(const Bytes& bookmarkData, bool& bookmarkDataIsStale) const override {
    bookmarkDataIsStale = false;
    auto decoded = decodeBookmark(bookmarkData);
    if (!decoded)
      return Error{"NSCocoaErrorDomain", kFileReadCorruptFile,
                   "The file couldn\xE2\x80\x99t be opened because it isn\xE2\x80\x99t in the correct format."};
    return decoded->url;
  }

  std::optional<Dictionary> resourceValues(const std::vector<std::string>& keys,
                                           const Bytes& bookmarkData) const override {
    auto decoded = decodeBookmark(bookmarkData);
    if (!decoded) return std::nullopt;
    Dictionary out;
    for (const auto& key : keys) {
      const Value* v = lookup(decoded->values, key);
      if (v == nullptr) continue;
      if (isURLValuedKey(key) && v->string() != nullptr) {
        if (auto url = URL::fromString(*v->string())) {
          out.insert_or_assign(key, Value(*url));
          continue;
        }
      }
      out.insert_or_assign(key, *v);
    }
    return out;
  }

 private:
  MachineRef machine_;
  std::shared_ptr<URLResources> resources_;
};

}  // namespace

std::shared_ptr<Bookmarks> makeMachineBookmarks(MachineRef machine, std::shared_ptr<URLResources> resources) {
  return std::make_shared<MachineBookmarks>(std::move(machine), std::move(resources));
}

}  // namespace platform::machine
