#include "platform/machine/property_list_codec.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/machine/property_list_forms.h"

namespace platform::machine {

namespace {

// Cocoa's error codes for property lists and files.
constexpr std::int64_t kReadCorrupt = 3840;
constexpr std::int64_t kWriteInvalid = 3851;
constexpr std::int64_t kFileReadUnknown = 256;
constexpr std::int64_t kFileReadNoSuchFile = 260;

Error fileError(std::int64_t code, std::string text) { return Error{"NSCocoaErrorDomain", code, std::move(text)}; }

// A read-only mapping, unmapped with the last copy of the bytes.
class Mapping {
 public:
  Mapping(void* address, std::size_t size) : address_(address), size_(size) {}
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  ~Mapping() { ::munmap(address_, size_); }

 private:
  void* address_;
  std::size_t size_;
};

}  // namespace

Error propertyListReadError(std::string_view why) {
  return Error{"NSCocoaErrorDomain", kReadCorrupt,
               "The data couldn't be read because it isn't in the correct format. (" + std::string(why) + ")"};
}

Error propertyListWriteError(std::string_view why) {
  return Error{"NSCocoaErrorDomain", kWriteInvalid,
               "The property list can't be written: it holds " + std::string(why) + "."};
}

Result<Value> decodePropertyList(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return propertyListReadError("empty data");
  if (bytes.size() >= 8 && std::memcmp(bytes.data(), "bplist00", 8) == 0) return decodeBinaryPropertyList(bytes);
  return decodeXMLPropertyList(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

Result<Bytes> encodePropertyList(const Value& value, PropertyListFormat format) {
  return format == PropertyListFormat::Binary ? encodeBinaryPropertyList(value) : encodeXMLPropertyList(value);
}

Result<Bytes> mapOpenFile(int fd) {
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
    return fileError(kFileReadUnknown, "The file couldn't be opened: not a file");
  const auto size = static_cast<std::size_t>(st.st_size);
  if (size == 0) return Bytes();
  void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  if (address == MAP_FAILED)
    return fileError(kFileReadUnknown, "The file couldn't be read: " + std::string(std::strerror(errno)));
  ::madvise(address, size, MADV_SEQUENTIAL);
  auto mapping = std::make_shared<const Mapping>(address, size);
  return Bytes(mapping, std::span(static_cast<const std::uint8_t*>(address), size));
}

Result<Bytes> mapFile(const std::filesystem::path& path) {
  // Not blocking, so a named pipe does not hold the open; it is refused as
  // no regular file.
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) {
    const int e = errno;
    return fileError(e == ENOENT ? kFileReadNoSuchFile : kFileReadUnknown,
                     "The file couldn't be opened: " + std::string(std::strerror(e)));
  }
  auto bytes = mapOpenFile(fd);
  ::close(fd);
  return bytes;
}

Result<Value> readPropertyListFile(const std::filesystem::path& path) {
  auto bytes = mapFile(path);
  if (!bytes) return bytes.error();
  return decodePropertyList(bytes->bytes());
}

}  // namespace platform::machine
