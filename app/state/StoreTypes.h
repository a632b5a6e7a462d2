// Value types published by the project store.
#pragma once

#include <QString>
#include <cstdint>
#include <set>

#include "core/impact/ProjectDiff.h"

namespace vantrel {

struct ScanState {
    enum class Kind { idle, indexing, ready, failed };
    Kind kind = Kind::idle;
    QString message;  // the text shown to the user; set for `failed` only
    QString title;    // failed: the heading over the message
    QString file;     // failed: the file the scan failed on, when one file is the cause

    static ScanState idle() { return {}; }
    static ScanState indexing() { return {Kind::indexing, {}, {}, {}}; }
    static ScanState ready() { return {Kind::ready, {}, {}, {}}; }
    static ScanState failed(QString message, QString title = QStringLiteral("Scan failed"), QString file = {}) {
        return {Kind::failed, std::move(message), std::move(title), std::move(file)};
    }
    bool operator==(const ScanState&) const = default;
};

using EdgeSet = std::set<ProjectDiffResult::Edge>;

// How many ids one impact level gained and lost against the baseline.
struct LevelDeltaCount {
    int level = 0;
    std::int64_t added = 0;
    std::int64_t removed = 0;
    bool operator==(const LevelDeltaCount&) const = default;
};

}  // namespace vantrel
