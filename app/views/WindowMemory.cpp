#include "app/views/WindowMemory.h"

#include <QDir>
#include <QSplitter>

#include "app/state/Preferences.h"
#include "app/views/MainWindow.h"

namespace vantrel {

namespace {

QString key(const char* name) { return QString::fromUtf8(name); }

bool restoring() { return Preferences::boolValue(key(prefkeys::kRestoreLastSession)).value_or(true); }

}  // namespace

void saveWindowMemory(const MainWindow& window, const QString& projectRoot) {
    Preferences::setValue(key(prefkeys::kWindowGeometry), window.saveGeometry());
    Preferences::setValue(key(prefkeys::kSidebarWidth), static_cast<qlonglong>(window.sidebarWidth()));
    if (!projectRoot.isEmpty()) Preferences::setValue(key(prefkeys::kLastProject), projectRoot);
}

bool restoreWindowMemory(MainWindow& window) {
    if (!restoring()) return false;
    const QByteArray geometry = Preferences::value(key(prefkeys::kWindowGeometry)).toByteArray();
    if (geometry.isEmpty() || !window.restoreGeometry(geometry)) return false;
    if (auto width = Preferences::integerValue(key(prefkeys::kSidebarWidth)); width && *width > 0)
        window.setSidebarWidth(static_cast<int>(*width));
    return true;
}

std::optional<QString> projectToReopen() {
    if (!restoring()) return std::nullopt;
    const QString last = Preferences::value(key(prefkeys::kLastProject)).toString();
    if (last.isEmpty() || !QDir(last).exists()) return std::nullopt;
    return last;
}

}  // namespace vantrel
