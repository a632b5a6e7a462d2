// The recent projects list: at most ten standardised absolute folder paths, most
// recent first, without duplicates, stored under `recentProjects`. Stateless.
#pragma once

#include <QString>
#include <QStringList>

namespace vantrel {

struct RecentProjectsManager {
    RecentProjectsManager() = delete;

    static constexpr int kMaxRecents = 10;

    // Puts the folder's standardised path ("." and ".." resolved, no trailing slash) at
    // the front, removing an equal entry and keeping ten. An empty path is ignored.
    static void addRecent(const QString& folder);

    // Takes the folder (standardised as above) out of the list.
    static void removeRecent(const QString& folder);

    // The stored entries in order; nothing tests whether they still exist.
    static QStringList getRecents();

    static void clearRecents();
};

}  // namespace vantrel
