#include "app/ScreenshotMode.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QSettings>
#include <QTimer>
#include <cstdio>

#include <functional>
#include "app/views/DiagnosticsGroup.h"
#include "app/views/SidebarView.h"

#include "app/AppShell.h"
#include "app/views/SourcePanel.h"

namespace vantrel {

namespace {

// Animations of the graph after a selection (the pulse, the rings moving) end well
// within this time.
constexpr int kAnimationSettleMs = 900;
constexpr int kScanTimeoutMs = 30 * 60 * 1000;

int fail(const QString& message) {
    std::fprintf(stderr, "vantrel: %s\n", qPrintable(message));
    return 1;
}

// Runs the event loop for `ms`.
void runEventLoop(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs the event loop until `done` holds; false when `timeoutMs` passed first.
bool waitUntil(const std::function<bool()>& done, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        runEventLoop(20);
    }
    return true;
}

bool scanSettled(const ProjectStore& store) {
    return store.scanState().kind != ScanState::Kind::indexing && !store.isScanRunning();
}

}  // namespace

void silenceToolkitWarnings() {
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type == QtCriticalMsg || type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(message));
    });
}

void usePreferencesCopy(const QTemporaryDir& folder) {
    const QString userFile = QSettings(QStringLiteral("Vantrel"), QStringLiteral("Vantrel")).fileName();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    const QString copy = QSettings(QStringLiteral("Vantrel"), QStringLiteral("Vantrel")).fileName();
    QDir().mkpath(QFileInfo(copy).path());
    if (QFileInfo::exists(userFile)) QFile::copy(userFile, copy);
}

int runScreenshot(AppShell& shell, const ScreenshotRequest& request, const std::optional<QString>& projectDir) {
    ProjectStore& store = shell.store();
    shell.colorScheme().setOverride(request.scheme);
    shell.colorScheme().apply();
    shell.window().resize(request.size);
    shell.start(projectDir);

    if (!waitUntil([&] { return scanSettled(store); }, kScanTimeoutMs))
        return fail(QStringLiteral("the scan did not finish in time"));
    if (request.baseline) {
        store.loadBaseline(*request.baseline);
        if (!store.baselineIR())
            return fail(QStringLiteral("cannot load the baseline %1").arg(QDir::toNativeSeparators(*request.baseline)));
        store.setDiffModeEnabled(true);
    }
    if (request.select) {
        if (!store.ir() || !store.ir()->symbols.count(*request.select))
            return fail(QStringLiteral("no symbol with the id '%1'").arg(QString::fromStdString(*request.select)));
        store.select(*request.select);
    }
    // The scan's own first selection and ours both land on later turns of the loop.
    waitUntil([&] { return !store.ir() || store.ir()->symbols.empty() || store.selectedSymbolId(); }, 5000);
    if (request.select) waitUntil([&] { return store.selectedSymbolId() == request.select; }, 5000);
    // The source panel reads the selection's file on a thread of its own.
    const SourcePanel& source = *shell.window().sourcePanel();
    waitUntil([&] { return !source.isLoading() && source.shownId() == store.selectedSymbolId().value_or(""); }, 5000);
    if (request.openDiagnostics) shell.window().sidebar()->diagnostics()->setOpen(true);
    if (request.openWorkingChanges) {
        using Kind = WorkingChangesState::Kind;
        // Whether the folder is in a work tree is asked after the scan; then the report.
        waitUntil([&] { return store.workingChangesState().kind != Kind::unknown; }, 30000);
        store.setWorkingChangesMode(true);
        if (!store.workingChangesMode())
            return fail(QStringLiteral("no Working Changes: ") + store.workingChangesState().message);
        waitUntil([&] { return store.workingChangesState().kind == Kind::ready ||
                               store.workingChangesState().kind == Kind::failed; },
                  kScanTimeoutMs);
        if (store.workingChangesState().kind != Kind::ready)
            return fail(QStringLiteral("no Working Changes: ") + store.workingChangesState().message);
    }
    runEventLoop(kAnimationSettleMs);

    const QPixmap picture = shell.window().grab();
    if (!picture.save(request.output, "PNG"))
        return fail(QStringLiteral("cannot write %1").arg(QDir::toNativeSeparators(request.output)));
    if (store.scanState().kind == ScanState::Kind::failed)
        return fail(QStringLiteral("scan failed: ") + store.scanState().message.simplified());
    return 0;
}

}  // namespace vantrel
