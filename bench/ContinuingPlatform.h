// Platform services for benchmarks: the large-project question is answered "Continue";
// no panel is ever shown. And a store on them that has scanned a project.
#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "app/state/PlatformServices.h"
#include "app/state/ProjectStore.h"

namespace vantrel::bench {

class ContinuingPlatform : public PlatformServices {
public:
    void showOpenPanel(const OpenPanelRequest&, PathChosen) override {}
    void showSavePanel(const SavePanelRequest&, PathChosen) override {}
    int runModalAlert(const AlertRequest&) override { return 0; }
    void showSettingsWindow() override {}
};

// The value of `--files N` among the arguments, else `fallback`.
inline std::int64_t filesOption(int argc, char** argv, std::int64_t fallback) {
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::string(argv[i]) == "--files") return std::atoll(argv[i + 1]);
    return fallback;
}

// Keeps the offscreen platform's chatter off the figures.
inline void silenceToolkit() {
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

// A store with its cache in `work`/support, on the continuing platform.
struct BenchStore {
    explicit BenchStore(const std::filesystem::path& work)
        : store(ProjectStoreEnvironment{&platform, ProjectCache((work / "support").string()), AppLocations{}, {}, LiveSessionOptions{}}) {}
    // Scans `root` and runs the event loop until the store has selected its first symbol.
    const ProjectIR& scan(const std::string& root) {
        store.scan(QString::fromStdString(root));
        while (!store.selectedSymbolId()) QCoreApplication::processEvents(QEventLoop::AllEvents);
        return *store.ir();
    }

    ContinuingPlatform platform;
    ProjectStore store;
};

}  // namespace vantrel::bench
