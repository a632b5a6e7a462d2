#include "tests/app/AppTestSupport.h"

#include <QSettings>
#include <QTimer>
#include <cstdlib>

namespace vantrel::testing {

void ScriptedPlatform::answer(PathChosen chosen) {
    if (nextPath) QTimer::singleShot(0, [chosen = std::move(chosen), path = *nextPath] { chosen(path); });
}

void ScriptedPlatform::showSavePanel(const SavePanelRequest& request, PathChosen chosen) {
    savePanels.push_back(request);
    answer(std::move(chosen));
}

int ScriptedPlatform::runModalAlert(const AlertRequest& request) {
    alerts.push_back(request);
    return alertAnswer;
}

bool ScriptedPlatform::startDetached(const QString& program, const QStringList& arguments, QString* error) {
    if (startFails) {
        if (error) *error = *startFails;
        return false;
    }
    started.push_back(QStringList{program} + arguments);
    return true;
}

StoreFixture::StoreFixture(FileCounter countFiles, LiveSessionOptions live)
    : store(ProjectStoreEnvironment{
          &platform, ProjectCache(dir / "support"),
          AppLocations{{QString::fromStdString(dir / "app")}, {QString::fromStdString(dir / "app")}},
          std::move(countFiles), live}) {}

QString copyScanProject(const TempDir& dir, const char* name) {
    return QString::fromStdString(dir.copyFixture("scan-project", name));
}

bool waitForScanState(const ProjectStore& store, ScanState::Kind kind) {
    return QTest::qWaitFor([&] { return store.scanState().kind == kind && !store.isScanRunning(); }, 30000);
}

void settle() { QTest::qWait(30); }

void clearSettings() { QSettings("Vantrel", "Vantrel").clear(); }

std::vector<std::function<int(int, char**)>>& registeredTestClasses() {
    static std::vector<std::function<int(int, char**)>> classes;
    return classes;
}

int runRegisteredTestClasses(int argc, char** argv) {
    int failures = 0;
    for (const auto& run : registeredTestClasses()) failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}

void useTemporaryUserFolders(const TempDir& home) {
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        setenv(variable, (home / variable).c_str(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QString settingsDir = QString::fromStdString(home / "settings");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir);
}

}  // namespace vantrel::testing
