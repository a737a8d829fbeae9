#pragma once
// The platform the tool's logic runs on: one object of each interface family.
// `main` installs it once at start; the logic reaches it through `current()`.
// Tests install a platform built over a machine folder of their own.

#include <memory>

#include "platform/bookmarks.h"
#include "platform/bundle.h"
#include "platform/disk_arbitration.h"
#include "platform/file_manager.h"
#include "platform/io_kit.h"
#include "platform/log.h"
#include "platform/property_list_serialization.h"
#include "platform/system.h"
#include "platform/task.h"
#include "platform/url_resources.h"
#include "platform/user_defaults.h"
#include "platform/workspace.h"

namespace platform {

struct Platform {
  std::shared_ptr<DiskArbitration> diskArbitration;
  std::shared_ptr<IOKit> ioKit;
  std::shared_ptr<FileManager> fileManager;
  std::shared_ptr<URLResources> urlResources;
  std::shared_ptr<System> system;
  std::shared_ptr<Workspace> workspace;
  std::shared_ptr<UserDefaultsStore> userDefaults;
  std::shared_ptr<Bookmarks> bookmarks;
  std::shared_ptr<PropertyListSerialization> propertyLists;
  std::shared_ptr<Bundle> bundle;
  std::shared_ptr<TaskLauncher> tasks;
  std::shared_ptr<LogSink> log;
};

// The installed platform. Installing replaces it for every later call; it is
// meant to happen before any other thread uses the platform.
const Platform& current();
void install(Platform platform);

}  // namespace platform
