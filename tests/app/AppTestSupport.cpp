#include "AppTestSupport.h"

#include <QSettings>
#include <QTimer>

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

StoreFixture::StoreFixture(FileCounter countFiles)
    : store(ProjectStoreEnvironment{&platform, ProjectCache(dir / "support"),
                                    AppLocations{{QString::fromStdString(dir / "app")},
                                                 {QString::fromStdString(dir / "app")}},
                                    std::move(countFiles)}) {}

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

}  // namespace vantrel::testing
