// Deterministic in-memory graphs for the benchmarks, and the timing helpers they share.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel::bench {

// A project of `count` symbols in folders of 40 files with 5 symbols each. Every symbol
// makes 2 to 4 calls, mostly to its own folder, with a few calls to a shared utility
// folder and to ids outside the project. Deterministic: a fixed linear congruential
// generator drives every choice.
ProjectIR realisticProject(int count);

// Calls recorded in `refsOut`, targets without a symbol included.
std::size_t edgeCount(const ProjectIR& ir);

// The `n` symbols with the most direct callers, most first, equals in ascending id order.
std::vector<std::string> mostCalled(const ProjectIR& ir, std::size_t n);

double milliseconds(std::chrono::steady_clock::duration d);

// The median wall time of `runs` runs of `work`, in milliseconds.
double medianMs(int runs, const std::function<void()>& work);

}  // namespace vantrel::bench
