// The file manager of a machine folder: every Mac path is looked up below the
// folder, and "/dev/<bsdName>" exists for every media object of that name.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>

#include "platform/file_manager.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"
#include "platform/machine/property_list_codec.h"

namespace platform::machine {

namespace {

constexpr std::string_view kCocoaDomain = "NSCocoaErrorDomain";
// The Foundation codes of the read errors.
constexpr int kFileReadUnknown = 256;
constexpr int kFileReadNoPermission = 257;
constexpr int kFileReadNoSuchFile = 260;
constexpr int kFileReadTooLarge = 263;

std::string lastComponent(std::string_view macPath) {
  std::string path = normalizeMacPath(macPath);
  auto slash = path.rfind('/');
  return path.substr(slash + 1);
}

Error readError(int code, std::string_view macPath) {
  std::string name = "\xE2\x80\x9C" + lastComponent(macPath) + "\xE2\x80\x9D";
  std::string why;
  switch (code) {
    case kFileReadNoSuchFile: why = " couldn\xE2\x80\x99t be opened because there is no such file."; break;
    case kFileReadNoPermission:
      why = " couldn\xE2\x80\x99t be opened because you don\xE2\x80\x99t have permission to view it.";
      break;
    case kFileReadTooLarge: why = " couldn\xE2\x80\x99t be opened because it is too large."; break;
    default: why = " couldn\xE2\x80\x99t be opened."; break;
  }
  return Error{std::string(kCocoaDomain), code, "The file " + name + why};
}

int codeOfErrno(int error) {
  if (error == ENOENT || error == ENOTDIR) return kFileReadNoSuchFile;
  if (error == EACCES || error == EPERM) return kFileReadNoPermission;
  return kFileReadUnknown;
}

// Names below one folder in ascending byte order, and each folder's own
// contents right after it. Links are listed, never entered.
void walk(const std::filesystem::path& folder, const std::string& prefix,
          std::vector<std::string>& out) {
  std::error_code ec;
  std::vector<std::pair<std::string, bool>> entries;  // name, is a real folder
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code statError;
    bool isFolder = it->symlink_status(statError).type() == std::filesystem::file_type::directory;
    entries.emplace_back(it->path().filename().string(), isFolder && !statError);
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [name, isFolder] : entries) {
    std::string relative = prefix.empty() ? name : prefix + "/" + name;
    out.push_back(relative);
    if (isFolder) walk(folder / name, relative, out);
  }
}

class MachineFileManager final : public FileManager {
 public:
  explicit MachineFileManager(MachineRef machine) : machine_(std::move(machine)) {}

  bool fileExistsAtPath(std::string_view path) const override {
    return existsAtMacPath(*machine_, path);
  }

  Result<std::vector<std::string>> subpathsOfDirectoryAtPath(std::string_view path) const override {
    auto host = machine_->hostPath(path);
    std::error_code ec;
    if (!std::filesystem::is_directory(host, ec)) {
      int code = std::filesystem::exists(host, ec) ? kFileReadUnknown : kFileReadNoSuchFile;
      return readError(code, path);
    }
    // An unreadable top folder is an error; below it, unreadable folders are skipped.
    std::filesystem::directory_iterator probe(host, ec);
    if (ec) return readError(codeOfErrno(ec.value()), path);
    std::vector<std::string> out;
    walk(host, "", out);
    return out;
  }

  std::optional<Bytes> contentsAtPath(std::string_view path) const override {
    auto data = dataWithContentsOfFile(path, kDefaultReadLimit);
    if (!data) return std::nullopt;
    return std::move(data).value();
  }

  Result<Bytes> dataWithContentsOfFile(std::string_view path, std::uint64_t limit) const override {
    auto host = machine_->hostPath(path);
    struct stat info {};
    if (::stat(host.c_str(), &info) != 0) return readError(codeOfErrno(errno), path);
    // A named pipe would hold the read until something writes to it.
    if (S_ISDIR(info.st_mode) || S_ISFIFO(info.st_mode)) return readError(kFileReadUnknown, path);
    if (S_ISREG(info.st_mode) && static_cast<std::uint64_t>(info.st_size) > limit)
      return readError(kFileReadTooLarge, path);
    // A regular file is mapped, not copied: a large settings document costs
    // its pages once.
    if (S_ISREG(info.st_mode)) {
      if (auto mapped = mapFile(host); mapped && mapped->size() <= limit) return mapped;
    }
    std::ifstream in(host, std::ios::binary);
    if (!in) return readError(codeOfErrno(errno), path);
    std::vector<std::uint8_t> bytes;
    char buffer[65536];
    while (in) {
      in.read(buffer, sizeof buffer);
      auto got = static_cast<std::size_t>(in.gcount());
      if (bytes.size() + got > limit) return readError(kFileReadTooLarge, path);
      bytes.insert(bytes.end(), buffer, buffer + got);
    }
    if (in.bad()) return readError(kFileReadUnknown, path);
    return Bytes(std::move(bytes));
  }

  std::vector<std::string> NSSearchPathForDirectoriesInDomains(SearchPathDirectory directory,
                                                               SearchPathDomainMask domainMask,
                                                               bool expandTilde) const override {
    if ((static_cast<unsigned>(domainMask) & static_cast<unsigned>(SearchPathDomainMask::NSUserDomainMask)) == 0)
      return {};
    std::string base = expandTilde ? machine_->home : "~";
    if (base == "/") base.clear();
    switch (directory) {
      case SearchPathDirectory::NSLibraryDirectory: return {base + "/Library"};
      case SearchPathDirectory::NSApplicationSupportDirectory:
        return {base + "/Library/Application Support"};
    }
    return {};
  }

 private:
  MachineRef machine_;
};

}  // namespace

std::shared_ptr<FileManager> makeMachineFileManager(MachineRef machine) {
  return std::make_shared<MachineFileManager>(std::move(machine));
}

}  // namespace platform::machine
