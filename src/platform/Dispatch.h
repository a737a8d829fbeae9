#pragma once
// Dispatch: serial queues with labels, quality of service and target queues,
// sync, async, barriers, groups and semaphores with a deadline.

namespace platform {}  // namespace platform
