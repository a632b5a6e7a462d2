// Where the application's own files live: an installed copy takes them from
// <prefix>/share/vantrel, and a binary inside the build tree from the repository's
// resources folder. These folders also belong to the application, so nothing inside
// them is recorded as a recent project.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace vantrel {

struct AppLocations {
    QStringList resourceDirs;  // searched in this order
    QStringList ownFolders;    // standardised; their contents are the application's

    // The layout of a binary in `applicationDir`: first <applicationDir>/../share/vantrel,
    // then, when the binary lies inside the build tree, the source tree's resources.
    static AppLocations forApplicationDir(const QString& applicationDir);

    // The first resource folder holding a "SampleProject" folder.
    std::optional<QString> sampleProjectDir() const;

    // Whether the standardised `path` is one of ownFolders or lies below one.
    bool isInsideApplication(const QString& path) const;
};

}  // namespace vantrel
