// Internal view of the streaming-quantile state, for tests and measurements.
#pragma once

#include <cstddef>

#include "korb/kernel/ss.h"

namespace korb::stats {

// Bytes the task's streaming summaries hold between calls (0 before the first call).
size_t stream_state_bytes(const BixSSTask *task);

}  // namespace korb::stats
