#pragma once
// The one failure of the platform that ends a run part way through.

#include <stdexcept>

namespace platform {

// Thrown when the system itself turns out unreadable part way through a run:
// a part of a simulated Mac that is read only when first asked for, and is
// broken. `what()` is one line that names the file, the place and the
// problem; the run cannot go on and ends with that line, as it would have at
// start had the part been read then.
struct SystemUnreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace platform
