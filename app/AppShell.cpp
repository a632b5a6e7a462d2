#include "app/AppShell.h"

#include <QCoreApplication>
#include <QDir>
#include <functional>

#include "app/platform/WidgetPlatformServices.h"
#include "app/state/Preferences.h"
#include "app/views/ScanningPreferencesTab.h"
#include "app/views/WindowMemory.h"

namespace vantrel {

namespace {

class UnattendedPlatform : public PlatformServices {
public:
    void showOpenPanel(const OpenPanelRequest&, PathChosen) override {}
    void showSavePanel(const SavePanelRequest&, PathChosen) override {}
    int runModalAlert(const AlertRequest& request) override { return request.buttons.isEmpty() ? -1 : 0; }
    void showSettingsWindow() override {}
};

std::unique_ptr<PlatformServices> makePlatform(AppShell::Mode mode, std::function<void()> showSettings) {
    if (mode == AppShell::Mode::unattended) return std::make_unique<UnattendedPlatform>();
    return std::make_unique<WidgetPlatformServices>(nullptr, std::move(showSettings));
}

}  // namespace

AppShell::AppShell(Mode mode)
    // The preferences window is built after the platform; the platform calls it later.
    : mode_(mode),
      platform_(makePlatform(mode, [this] { preferences_.showWindow(); })),
      store_(ProjectStoreEnvironment{platform_.get(),
                                     ProjectCache(),
                                     AppLocations::forApplicationDir(QCoreApplication::applicationDirPath()),
                                     {},
                                     LiveSessionOptions{}}),
      preferences_(ProjectCache()),
      window_(store_) {
    if (auto* widgets = dynamic_cast<WidgetPlatformServices*>(platform_.get())) widgets->setDialogParent(&window_);
    QObject::connect(&window_, &MainWindow::preferencesRequested, &preferences_, &PreferencesView::showWindow);
    // The pattern preview counts the open project's files, listed when the window opens.
    QObject::connect(&preferences_, &PreferencesView::shown, &preferences_, [this] {
        preferences_.scanningTab()->setPreviewFiles({}, {});
        const QString name = QDir(store_.projectRoot()).dirName();
        store_.listSourceFiles([this, name](std::vector<std::string> files) {
            preferences_.scanningTab()->setPreviewFiles(name, std::move(files));
        });
    });
    QObject::connect(&preferences_, &PreferencesView::preferenceChanged, &window_, [this](const QString& key) {
        if (key == QLatin1String(prefkeys::kColorScheme)) colorScheme_.apply();
        if (key == QLatin1String(prefkeys::kWatchProject))
            store_.setWatching(Preferences::boolValue(key).value_or(true));
        window_.preferencesChanged();
    });
    // A picture drawn unattended is reproducible: it neither reads nor writes the session.
    if (mode_ == Mode::interactive)
        QObject::connect(&window_, &MainWindow::closing, &window_,
                         [this] { saveWindowMemory(window_, store_.projectRoot()); });
    colorScheme_.apply();
}

void AppShell::start(const std::optional<QString>& projectDir) {
    const bool interactive = mode_ == Mode::interactive;
    if (interactive) restoreWindowMemory(window_);
    window_.show();
    window_.activateWindow();
    // A folder named on the command line is what the user asked for; then the project
    // last open; the sample project and the welcome card wait for a launch without either.
    if (projectDir) store_.scan(*projectDir);
    else if (auto last = interactive ? projectToReopen() : std::nullopt) store_.scan(*last);
    else store_.performFirstLaunchIfNeeded();
}

}  // namespace vantrel
