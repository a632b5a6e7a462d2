// Value types published by the project store.
#pragma once

#include <QDateTime>
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

// Whether the open project follows the files as they are saved, and how its last
// update went.
struct LiveStatus {
    enum class Kind {
        notWatching,  // watching is off, or no project is open
        upToDate,     // watching, nothing changed since the scan
        updating,     // an update runs
        updated,      // the last update finished at `at`
        failed,       // the last update failed with `message`; the graph is the one before it
    };
    Kind kind = Kind::notWatching;
    QDateTime at;     // updated: when, local time
    QString message;  // failed: the error's text
    bool operator==(const LiveStatus&) const = default;
};

// Where the Working Changes computation stands.
struct WorkingChangesState {
    enum class Kind {
        unknown,      // no project, or not yet asked whether it is in a git work tree
        unavailable,  // not in a git work tree (or no git): `message` says why
        idle,         // in a work tree, nothing computed yet (the mode is off)
        computing,
        ready,        // the store's workingChanges holds the report
        failed,       // `message`: the revision names no commit, git failed, the base scan failed
    };
    Kind kind = Kind::unknown;
    QString message;
    bool operator==(const WorkingChangesState&) const = default;
};

}  // namespace vantrel
