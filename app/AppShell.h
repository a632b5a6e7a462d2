// One run of the application: the one store, the main window, the preferences window
// and the appearance, wired together. Members are built in order, so the store exists
// before any view and outlives them all.
#pragma once

#include <QString>
#include <memory>
#include <optional>

#include "app/state/PlatformServices.h"
#include "app/state/ProjectStore.h"
#include "app/views/Appearance.h"
#include "app/views/MainWindow.h"
#include "app/views/PreferencesView.h"

namespace vantrel {

class AppShell {
public:
    enum class Mode {
        interactive,  // dialogs and alerts for the user
        unattended,   // nobody answers: alerts take their first button, panels stay shut
    };

    explicit AppShell(Mode mode);

    // Shows the main window (interactive: where it was left, see WindowMemory); then scans
    // `projectDir`, else (interactive) the project last open, else runs the first-launch step.
    void start(const std::optional<QString>& projectDir);

    ProjectStore& store() { return store_; }
    MainWindow& window() { return window_; }
    PreferencesView& preferences() { return preferences_; }
    ColorSchemeController& colorScheme() { return colorScheme_; }

private:
    Mode mode_;
    std::unique_ptr<PlatformServices> platform_;
    ProjectStore store_;
    PreferencesView preferences_;
    MainWindow window_;
    ColorSchemeController colorScheme_;
};

}  // namespace vantrel
