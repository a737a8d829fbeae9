#pragma once
// NSWorkspace iconForFile:.

#include <string>
#include <string_view>

namespace platform {

// An icon. Without a window system an icon is only named: the kind of item it
// stands for and the path it was made for. Two icons are equal when both are.
struct Image {
  enum class Kind { Volume, Folder, File, Missing };
  Kind kind = Kind::Missing;
  std::string path;  // the Mac path handed to iconForFile:

  friend bool operator==(const Image&, const Image&) = default;
};

class Workspace {
 public:
  virtual ~Workspace() = default;

  // iconForFile: always an icon, as on the platform: Volume for a mount point
  // of a media object, Folder for another directory, File for anything else
  // that exists, Missing for a path where nothing is.
  virtual Image iconForFile(std::string_view path) const = 0;
};

}  // namespace platform
