#include "volumes/volume_text.h"

std::string infoLabel(std::string_view name) {
  std::string label = "   ";
  label += name;
  if (name.size() < 22) label.append(22 - name.size(), ' ');
  label += ": ";
  return label;
}

std::string infoBlock(std::string_view header,
                      const std::vector<std::pair<std::string_view, std::string>>& lines) {
  std::string text(header);
  bool first = true;
  for (const auto& [name, value] : lines) {
    if (!first) text += '\n';
    first = false;
    text += infoLabel(name);
    text += value;
  }
  return text;
}

std::string volumeDescriptionText(const VolumeDescriptionParts& parts) {
  std::string text = parts.isReady ? "Volume: \u201C" : "Disk: \u201C";
  text += parts.name;
  text += "\u201D";
  if (parts.mountRelativePath) text += " mount: \u201C" + *parts.mountRelativePath + "\u201D";
  if (parts.bsdName) text += " device: " + *parts.bsdName;
  if (parts.formatDescription) text += " file system: \u201C" + *parts.formatDescription + "\u201D";
  if (parts.deviceProtocol) text += " protocol: " + *parts.deviceProtocol;
  if (parts.operatingSystem) text += " macOS: " + *parts.operatingSystem;
  if (parts.totalCapacity) text += " capacity: " + *parts.totalCapacity;
  if (parts.availableCapacity) text += " available: " + *parts.availableCapacity;
  if (parts.fileCount) text += " files: " + *parts.fileCount;
  if (parts.directoryCount) text += " directories: " + *parts.directoryCount;
  return text;
}
