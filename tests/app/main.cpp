// Runs every application-state test class in one offscreen application whose home,
// settings and data folders are temporary, so no test reaches the user's own.
#include <QGuiApplication>
#include <QSettings>
#include <cstdlib>

#include "AppTestSupport.h"

int main(int argc, char** argv) {
    vantrel::testing::TempDir home;
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        setenv(variable, (home / variable).c_str(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QString settingsDir = QString::fromStdString(home / "settings");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir);

    QGuiApplication app(argc, argv);
    int failures = 0;
    for (const auto& run : vantrel::testing::registeredTestClasses()) failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
