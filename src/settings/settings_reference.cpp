#include "settings/settings_reference.h"

#include <limits>

#include "platform/platform.h"
#include "platform/property_list_serialization.h"
#include "text/text.h"

using platform::current;

namespace {

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

  // A document is read whatever its size; the platform maps it.
  auto data = platform.fileManager->dataWithContentsOfFile(path, std::numeric_limits<std::uint64_t>::max());
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
  // Bytes that are not UTF-8 (a file name can hold any) stand as U+FFFD, so
  // the report stays text.
  std::size_t prefixCount = text::characterCount(std::string(settingsFolderPath) + "/");
  return text::replacingInvalidUTF8(text::droppingFirstCharacters(package, prefixCount));
}

std::optional<platform::Date> SettingsReference::creationDate(std::ostream& messages) const {
  return fileDate(path, platform::NSURLCreationDateKey, messages);
}

std::optional<platform::Date> SettingsReference::modificationDate(std::ostream& messages) const {
  return fileDate(path, platform::NSURLContentModificationDateKey, messages);
}
