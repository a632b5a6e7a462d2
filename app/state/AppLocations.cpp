#include "app/state/AppLocations.h"

#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

QString standardized(const QString& path) { return QString::fromStdString(standardizePath(path.toStdString())); }

bool isSameOrBelow(const QString& path, const QString& folder) {
    if (folder.isEmpty()) return false;
    if (path == folder) return true;
    // Compare whole components: /opt/app must not claim /opt/application.
    QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    return path.startsWith(prefix);
}

}  // namespace

AppLocations AppLocations::forApplicationDir(const QString& applicationDir) {
    AppLocations locations;
    QString installed = standardized(applicationDir + QStringLiteral("/../share/vantrel"));
    locations.resourceDirs.append(installed);
    locations.ownFolders.append(installed);
    const QString buildTree = standardized(QStringLiteral(VANTREL_BUILD_TREE_DIR));
    if (isSameOrBelow(standardized(applicationDir), buildTree)) {
        QString sourceResources = standardized(QStringLiteral(VANTREL_SOURCE_RESOURCES_DIR));
        locations.resourceDirs.append(sourceResources);
        locations.ownFolders.append(sourceResources);
        locations.ownFolders.append(buildTree);
    }
    return locations;
}

std::optional<QString> AppLocations::sampleProjectDir() const {
    for (const QString& dir : resourceDirs) {
        QString candidate = dir + QStringLiteral("/SampleProject");
        if (isDirectory(candidate.toStdString())) return candidate;
    }
    return std::nullopt;
}

bool AppLocations::isInsideApplication(const QString& path) const {
    QString standard = standardized(path);
    for (const QString& folder : ownFolders)
        if (isSameOrBelow(standard, standardized(folder))) return true;
    return false;
}

}  // namespace vantrel
