#pragma once
// The pieces of a volume's text forms that need nothing but the facts: the
// labelled lines of the information block and the one-line description.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// "   " + the name padded with blanks to 22 characters + ": ".
std::string infoLabel(std::string_view name);

// The header, then each (name, value) pair as a labelled line; a line feed
// between lines and none after the last one.
std::string infoBlock(std::string_view header,
                      const std::vector<std::pair<std::string_view, std::string>>& lines);

// The facts of a volume's one-line description; an absent piece is left out
// with its words.
struct VolumeDescriptionParts {
  bool isReady = false;
  std::string name;                          // volume name, else media name, else ""
  std::optional<std::string> mountRelativePath;
  std::optional<std::string> bsdName;
  std::optional<std::string> formatDescription;
  std::optional<std::string> deviceProtocol;
  std::optional<std::string> operatingSystem;
  std::optional<std::string> totalCapacity;  // already in byte-count text
  std::optional<std::string> availableCapacity;
  std::optional<std::string> fileCount;      // already in locale number text
  std::optional<std::string> directoryCount;
};

// "Volume: “<name>”" (or "Disk: “<name>”" when not ready), then the pieces
// " mount: “…”", " device: …", " file system: “…”", " protocol: …",
// " macOS: …", " capacity: …", " available: …", " files: …",
// " directories: …" for those present.
std::string volumeDescriptionText(const VolumeDescriptionParts& parts);

// "YES"/"NO" and "ENABLED"/"DISABLED", the two boolean words of the block.
inline std::string yesNo(bool value) { return value ? "YES" : "NO"; }
inline std::string enabledDisabled(bool value) { return value ? "ENABLED" : "DISABLED"; }
