#pragma once

#include <cstdint>

namespace vantrel {

// The scan's hook between two batches. Measures nothing and answers false.
bool isMemoryPressureHigh(std::uint64_t thresholdMB);

}  // namespace vantrel
