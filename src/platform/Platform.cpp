#include "platform/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace platform {

namespace {
// Kept alive for the whole process: objects made from one platform may still
// be used by queues while another is installed (tests do that).
std::atomic<const Platform*> installed{nullptr};
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
  // Deliberately never freed: see above.
  installed.store(new Platform(std::move(platform)), std::memory_order_release);
}

}  // namespace platform
