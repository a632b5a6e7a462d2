// Shared pieces of the application-state tests: scripted platform answers, a store
// whose cache, resources and settings live in temporary folders, and waiting helpers.
#pragma once

#include <QString>
#include <QTest>
#include <functional>
#include <optional>
#include <vector>

#include "app/state/ProjectStore.h"
#include "tests/support/TempDir.h"

namespace vantrel::testing {

// Answers every panel with `nextPath` a turn later (nothing: dismissed) and every alert
// with `alertAnswer`, recording what was asked.
class ScriptedPlatform : public PlatformServices {
public:
    std::optional<QString> nextPath;
    int alertAnswer = 1;
    std::vector<SavePanelRequest> savePanels;
    std::vector<OpenPanelRequest> openPanels;
    std::vector<AlertRequest> alerts;
    int settingsShown = 0;
    // Programs that would have started (program first), files the desktop would have
    // opened; `startFails` makes every start fail with that reason.
    std::vector<QStringList> started;
    QStringList openedWithDesktop;
    std::optional<QString> startFails;

    void showOpenPanel(const OpenPanelRequest& request, PathChosen chosen) override {
        openPanels.push_back(request);
        answer(std::move(chosen));
    }
    void showSavePanel(const SavePanelRequest& request, PathChosen chosen) override;
    int runModalAlert(const AlertRequest& request) override;
    void showSettingsWindow() override { ++settingsShown; }
    bool startDetached(const QString& program, const QStringList& arguments, QString* error) override;
    bool openWithDesktop(const QString& path) override {
        openedWithDesktop.append(path);
        return true;
    }

private:
    void answer(PathChosen chosen);
};

// A store with its cache below dir/"support" and its resources below dir/"app"; `live`
// is how its sessions watch.
struct StoreFixture {
    explicit StoreFixture(FileCounter countFiles = {}, LiveSessionOptions live = {});
    TempDir dir;
    ScriptedPlatform platform;
    ProjectStore store;
};

QString copyScanProject(const TempDir& dir, const char* name = "project");
// Runs the event loop until the store rests in `kind` (false after 30 s).
bool waitForScanState(const ProjectStore& store, ScanState::Kind kind);
// Runs the event loop until posted work (deferred selection, panel answers) is done.
void settle();
void clearSettings();

// Each test class registers itself; main runs them all in one application.
std::vector<std::function<int(int, char**)>>& registeredTestClasses();
// Runs every registered class; gives the process's exit code.
int runRegisteredTestClasses(int argc, char** argv);

// Points HOME, the XDG folders and the settings below `home`, so that no test reaches
// the user's own. Call before the application object exists.
void useTemporaryUserFolders(const TempDir& home);

}  // namespace vantrel::testing

#define VANTREL_REGISTER_TEST_CLASS(Class)                                                \
    static const bool registered##Class = [] {                                            \
        ::vantrel::testing::registeredTestClasses().push_back([](int argc, char** argv) { \
            Class test;                                                                   \
            return QTest::qExec(&test, argc, argv);                                       \
        });                                                                               \
        return true;                                                                      \
    }()
