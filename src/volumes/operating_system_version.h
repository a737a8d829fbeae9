#pragma once
// The version of a macOS system: major, minor and patch numbers, read from
// text such as "14.2.1", and written back without a zero patch ("13.0").

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

// Raised when text has no major and minor number. Carries the Cocoa error
// domain and code the platform would give.
class OperatingSystemVersionError : public std::runtime_error {
 public:
  OperatingSystemVersionError();
  static constexpr const char* domain = "NSCocoaErrorDomain";
  static constexpr int code = 10;
  // The user information "localizedError".
  static constexpr const char* localizedError =
      "String is not transformable into OperatingSystemVersion";
};

struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;

  // Splits at "." (empty pieces dropped) and reads the first two or three
  // pieces as decimal integers; later pieces are ignored. Throws
  // OperatingSystemVersionError when there are fewer than two pieces or a
  // piece that is read is no integer.
  static OperatingSystemVersion fromString(std::string_view text);

  // "major.minor", with ".patch" only when the patch is 1 or more.
  std::string text() const;
};
