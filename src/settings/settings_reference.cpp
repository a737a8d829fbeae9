#include "settings/settings_reference.h"

#include <utf8proc.h>

#include "platform/platform.h"
#include "platform/property_list_serialization.h"

using platform::current;

namespace {

// The bytes of `text` after its first `count` user-perceived characters.
// Bytes that are not UTF-8 count as one character each.
std::string_view dropFirstCharacters(std::string_view text, std::size_t count) {
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t at = 0;
  std::size_t seen = 0;
  utf8proc_int32_t previous = -1;
  utf8proc_int32_t state = 0;
  while (at < text.size()) {
    utf8proc_int32_t codePoint = -1;
    auto used = utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &codePoint);
    bool starts = used <= 0 || previous < 0 || utf8proc_grapheme_break_stateful(previous, codePoint, &state);
    if (used <= 0) {
      used = 1;
      codePoint = -1;
      state = 0;
    }
    if (starts && seen++ == count) return text.substr(at);
    previous = codePoint;
    at += static_cast<std::size_t>(used);
  }
  return {};
}

// Text for a report line: bytes that are not UTF-8 (a file name can hold
// any) stand as U+FFFD, so the report stays text.
std::string printable(std::string_view text) {
  std::string out;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t at = 0;
  while (at < text.size()) {
    utf8proc_int32_t codePoint = 0;
    auto used = utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &codePoint);
    if (used <= 0) {
      out += "\uFFFD";
      ++at;
    } else {
      out.append(text.substr(at, static_cast<std::size_t>(used)));
      at += static_cast<std::size_t>(used);
    }
  }
  return out;
}

std::optional<platform::Date> fileDate(const platform::URL& url, std::string_view key, std::ostream& messages) {
  auto values = current().urlResources->resourceValuesForKeys(url, {std::string(key)});
  if (!values) {
    messages << values.error().localizedDescription << '\n';
    return std::nullopt;
  }
  const auto* value = platform::lookup(*values, key);
  if (!value || !value->date()) return std::nullopt;
  return *value->date();
}

}  // namespace

std::optional<std::int64_t> readSettingsVersion(const platform::Dictionary& settings) {
  // A real is no integer, even with nothing behind the point; an unsigned
  // integer above 2^63-1 is no signed one.
  const auto* value = platform::lookup(settings, kSessionSettingsVersionKey);
  if (!value) return std::nullopt;
  switch (value->kind()) {
    case platform::Value::Kind::Integer:
    case platform::Value::Kind::Unsigned: return value->asInt64();
    default: return std::nullopt;
  }
}

std::optional<SettingsVolumeReference> readVolumeReference(std::string_view guidKey, std::string_view nameKey,
                                                           const platform::Dictionary& settings) {
  auto missing = [](std::string_view key) {
    return SettingsReadError{"unable to access " + std::string(key) + " in settings - may not exist."};
  };
  const auto* guid = platform::lookup(settings, guidKey);
  if (settings.empty() || !guid || !guid->string()) throw missing(guidKey);
  const auto* name = platform::lookup(settings, nameKey);
  if (!name || !name->string()) throw missing(nameKey);
  return SettingsVolumeReference::make(platform::UUID::fromString(*guid->string()), *name->string());
}

std::optional<SettingsReference> SettingsReference::make(const platform::URL& url, std::ostream& messages) {
  const auto& platform = current();
  const std::string path = url.path();
  if (!platform.fileManager->fileExistsAtPath(path)) return std::nullopt;

  // A file larger than any property list may be is refused, not read.
  auto data = platform.fileManager->dataWithContentsOfFile(path, platform::kMaxPropertyListBytes);
  std::optional<platform::Value> root;
  if (data) {
    if (auto parsed = platform.propertyLists->propertyListWithData(*data, 0)) root = std::move(parsed).value();
  }
  if (!root || !root->dictionary()) {
    messages << " reading " << url.absoluteString() << '\n';
    return std::nullopt;
  }
  const platform::Dictionary& settings = *root->dictionary();

  SettingsReference reference{url, std::nullopt, std::nullopt, std::nullopt};
  try {
    reference.source = readVolumeReference(kSourceVolumeKey, kSourceVolumeNameKey, settings);
    reference.target = readVolumeReference(kTargetVolumeKey, kTargetVolumeNameKey, settings);
  } catch (const SettingsReadError& error) {
    messages << "Error " << error.text << " occurred while accessing volume information in " << url.absoluteString()
             << " - skipping\n";
    return reference;
  }
  reference.version = readSettingsVersion(settings);
  return reference;
}

std::string SettingsReference::documentName(std::string_view settingsFolderPath) const {
  std::string full = path.path();
  auto slash = full.rfind('/');
  std::string package = slash == std::string::npos ? std::string() : full.substr(0, slash);
  std::string prefix = std::string(settingsFolderPath) + "/";
  std::size_t prefixCount = 0;
  for (std::string_view rest = prefix; !rest.empty(); rest = dropFirstCharacters(rest, 1)) ++prefixCount;
  return printable(dropFirstCharacters(package, prefixCount));
}

std::optional<platform::Date> SettingsReference::creationDate(std::ostream& messages) const {
  return fileDate(path, platform::NSURLCreationDateKey, messages);
}

std::optional<platform::Date> SettingsReference::modificationDate(std::ostream& messages) const {
  return fileDate(path, platform::NSURLContentModificationDateKey, messages);
}
