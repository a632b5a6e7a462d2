#include "core/cache/MemoryPressure.h"

namespace vantrel {

// No measurement yet: the scan only yields between batches.
bool isMemoryPressureHigh(std::uint64_t /*thresholdMB*/) { return false; }

}  // namespace vantrel
