#include "platform/platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <mutex>

namespace platform {

namespace {
// Every platform ever installed stays alive for the whole process: objects
// made from one may still be used by queues while another is installed (tests
// do that). The list keeps them reachable, so they are not leaks.
std::atomic<const Platform*> installed{nullptr};
std::mutex installing;
std::list<Platform>& installedPlatforms() {
  static auto* all = new std::list<Platform>();
  return *all;
}
}  // namespace

const Platform& current() {
  const Platform* p = installed.load(std::memory_order_acquire);
  if (p == nullptr) {
    std::fputs("CVDiag: no platform installed\n", stderr);
    std::abort();
  }
  return *p;
}

void install(Platform platform) {
  std::lock_guard lock(installing);
  auto& all = installedPlatforms();
  all.push_back(std::move(platform));
  installed.store(&all.back(), std::memory_order_release);
}

}  // namespace platform
