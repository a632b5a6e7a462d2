// Scan progress on standard error: a live bar on a terminal, a line per phase when
// the output is a file or pipe, nothing when asked to be quiet.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "core/scan/ScanProgress.h"

namespace vantrel::cli {

class ProgressDisplay {
public:
    enum class Mode { silent, lines, terminal };
    explicit ProgressDisplay(Mode mode) : mode_(mode) {}

    void begin();
    void update(const ScanProgress& progress);
    // Clears the live line.
    void finish();

    // The bar text for a terminal `width` columns wide (exposed for tests).
    static std::string renderLine(const ScanProgress& progress, int width);

private:
    void draw(const ScanProgress& progress);
    Mode mode_;
    std::optional<ScanPhase> lastPhase_;
    std::chrono::steady_clock::time_point lastDraw_{};
    bool drawn_ = false;
};

}  // namespace vantrel::cli
