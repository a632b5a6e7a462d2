#include "app/state/RecentProjectsManager.h"

#include "app/state/Preferences.h"
#include "core/util/Paths.h"

namespace vantrel {

void RecentProjectsManager::addRecent(const QString& folder) {
    if (folder.isEmpty()) return;
    QString path = QString::fromStdString(standardizePath(folder.toStdString()));
    QStringList list = Preferences::textListValue(prefkeys::kRecentProjects);
    list.removeAll(path);
    list.prepend(path);
    if (list.size() > kMaxRecents) list.resize(kMaxRecents);
    Preferences::setValue(prefkeys::kRecentProjects, list);
}

void RecentProjectsManager::removeRecent(const QString& folder) {
    QStringList list = Preferences::textListValue(prefkeys::kRecentProjects);
    if (list.removeAll(QString::fromStdString(standardizePath(folder.toStdString()))) == 0) return;
    Preferences::setValue(prefkeys::kRecentProjects, list);
}

QStringList RecentProjectsManager::getRecents() { return Preferences::textListValue(prefkeys::kRecentProjects); }

void RecentProjectsManager::clearRecents() { Preferences::remove(prefkeys::kRecentProjects); }

}  // namespace vantrel
