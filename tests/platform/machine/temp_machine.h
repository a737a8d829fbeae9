#pragma once
// A machine folder in a fresh temporary directory, removed again at the end,
// with helpers to put programs and files into it. The platform it installs has
// the machine's task launcher and a capturing log.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "platform/platform.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine.h"

class TempMachine {
 public:
  TempMachine() {
    std::string pattern = (std::filesystem::temp_directory_path() / "cvdiag-machine-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    folder_ = pattern;
    std::ofstream(folder_ / "machine.json") << "{}\n";
    auto made = std::make_shared<platform::machine::Machine>();
    made->folder = folder_;
    machine_ = made;
  }
  ~TempMachine() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  TempMachine(const TempMachine&) = delete;
  TempMachine& operator=(const TempMachine&) = delete;

  const std::filesystem::path& folder() const { return folder_; }
  std::shared_ptr<const platform::machine::Machine> machine() const { return machine_; }
  std::filesystem::path hostPath(const std::string& macPath) const { return machine_->hostPath(macPath); }

  // Writes an executable script at a Mac path.
  void writeScript(const std::string& macPath, const std::string& body,
                   const std::string& interpreter = "/bin/sh") const {
    auto path = hostPath(macPath);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "#!" << interpreter << "\n" << body;
    ::chmod(path.c_str(), 0755);
  }
  void writeFile(const std::string& macPath, const std::string& contents) const {
    auto path = hostPath(macPath);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
  }

  // Installs a platform with this machine's tasks and log `sink`.
  void install(std::shared_ptr<platform::LogSink> sink) const {
    platform::Platform p;
    p.tasks = platform::machine::makeMachineTaskLauncher(machine_);
    p.log = std::move(sink);
    platform::install(std::move(p));
  }

 private:
  std::filesystem::path folder_;
  std::shared_ptr<const platform::machine::Machine> machine_;
};
