#include "support/machine_builder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/machine/machine_platform.h"

namespace testsupport {

namespace {

void writeText(const std::filesystem::path& path, std::string_view content) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

MachineBuilder::MachineBuilder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "cvdiag-machine-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr)
    throw std::runtime_error("cannot make a temporary machine folder");
  folder_ = pattern;
  jsonText("{}");
}

MachineBuilder::MachineBuilder(std::string_view machineName) : MachineBuilder() {
  source_ = std::filesystem::path(CVDIAG_TEST_MACHINES) / machineName;
  std::filesystem::copy(source_, folder_,
                        std::filesystem::copy_options::recursive |
                            std::filesystem::copy_options::copy_symlinks |
                            std::filesystem::copy_options::overwrite_existing);
}

MachineBuilder::~MachineBuilder() {
  std::error_code ec;
  std::filesystem::remove_all(folder_, ec);
}

MachineBuilder& MachineBuilder::json(const nlohmann::json& document) {
  return jsonText(document.dump(2));
}

MachineBuilder& MachineBuilder::jsonText(std::string_view text) {
  writeText(folder_ / "machine.json", text);
  return *this;
}

std::filesystem::path MachineBuilder::hostPath(std::string_view macPath) const {
  std::filesystem::path result = folder_;
  std::string_view rest = macPath;
  while (!rest.empty()) {
    auto slash = rest.find('/');
    std::string_view part = rest.substr(0, slash);
    rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
    if (!part.empty()) result /= std::string(part);
  }
  return result;
}

MachineBuilder& MachineBuilder::file(std::string_view macPath, std::string_view content) {
  writeText(hostPath(macPath), content);
  return *this;
}

MachineBuilder& MachineBuilder::directory(std::string_view macPath) {
  std::filesystem::create_directories(hostPath(macPath));
  return *this;
}

MachineBuilder& MachineBuilder::symlink(std::string_view macPath, std::string_view target) {
  auto path = hostPath(macPath);
  std::filesystem::create_directories(path.parent_path());
  std::filesystem::create_symlink(std::string(target), path);
  return *this;
}

MachineBuilder& MachineBuilder::script(std::string_view macPath, std::string_view body,
                                       std::string_view interpreter) {
  auto path = hostPath(macPath);
  writeText(path, "#!" + std::string(interpreter) + "\n" + std::string(body));
  ::chmod(path.c_str(), 0755);
  return *this;
}

std::string MachineBuilder::text(std::string_view macPath) const {
  std::ifstream in(hostPath(macPath), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void expectGoldenFile(const std::filesystem::path& path, const std::string& actual) {
  const char* update = std::getenv("CVDIAG_UPDATE_GOLDENS");
  if (update && std::string(update) == "1") {
    writeText(path, actual);
    return;
  }
  std::ifstream in(path, std::ios::binary);
  ASSERT_TRUE(in) << "missing golden file " << path;
  std::string expected((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(actual, expected) << "golden file " << path;
}

void MachineBuilder::expectGolden(std::string_view relative, const std::string& actual) const {
  expectGoldenFile(source_ / "expected" / relative, actual);
}

std::variant<std::shared_ptr<const platform::machine::Machine>, std::string>
MachineBuilder::tryLoad() const {
  return platform::machine::loadMachine(folder_);
}

std::shared_ptr<const platform::machine::Machine> MachineBuilder::load() const {
  auto loaded = tryLoad();
  if (auto* error = std::get_if<std::string>(&loaded)) throw std::runtime_error(*error);
  return std::get<std::shared_ptr<const platform::machine::Machine>>(loaded);
}

platform::Platform MachineBuilder::platform(platform::Dictionary infoDictionary) const {
  return platform::machine::makeMachinePlatform(load(), std::move(infoDictionary));
}

platform::Platform MachineBuilder::install(platform::Dictionary infoDictionary) const {
  platform::Platform p = platform(std::move(infoDictionary));
  platform::install(p);
  return p;
}

platform::Platform MachineBuilder::install(std::shared_ptr<platform::LogSink> log) const {
  platform::Platform p = platform();
  p.log = std::move(log);
  platform::install(p);
  return p;
}

}  // namespace testsupport
