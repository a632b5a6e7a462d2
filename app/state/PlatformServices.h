// What the store needs from the windowing layer: open and save panels, a modal alert,
// the settings window, and starting other programs (an editor, the desktop's default
// application). The application supplies dialogs and processes; tests supply scripted
// answers and record what would have run, so no test needs a display or starts a program.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace vantrel {

struct OpenPanelRequest {
    QString title;
    QString prompt;              // the confirm button's text; empty for the toolkit's own
    bool chooseFolders = false;  // folders only, else files only; always one selection
    QStringList nameFilters;     // file filters such as "JSON (*.json)"; empty for all files
    QString startFolder;         // where the panel opens; empty for the toolkit's choice
};

struct SavePanelRequest {
    QString title;
    QString proposedName;
    QStringList nameFilters;
    bool canCreateFolders = true;
    QString startFolder;  // where the panel opens; empty for the toolkit's choice
};

struct AlertRequest {
    QString title;
    QString text;
    QStringList buttons;    // in display order; the first is the default button
    int escapeButton = -1;  // the button that Escape presses, if any
};

// Called on the main thread with the chosen absolute path.
using PathChosen = std::function<void(const QString& path)>;

class PlatformServices {
public:
    virtual ~PlatformServices() = default;

    // Shows a panel without blocking the caller. `chosen` is called later on the main
    // thread on confirmation, and never when the panel is dismissed.
    virtual void showOpenPanel(const OpenPanelRequest& request, PathChosen chosen) = 0;
    virtual void showSavePanel(const SavePanelRequest& request, PathChosen chosen) = 0;

    // Shows a modal alert and returns the index of the button pressed, -1 for none.
    virtual int runModalAlert(const AlertRequest& request) = 0;

    // Brings up the settings window on the tab stored under `preferencesSelectedTab`.
    virtual void showSettingsWindow() = 0;

    // Starts `program` with `arguments` as a process of its own that outlives this one,
    // with no shell in between. False, with `error` set, when it cannot start. Services
    // without a user (benchmarks, the screenshot mode) start nothing.
    virtual bool startDetached(const QString& program, const QStringList& arguments, QString* error) {
        (void)program, (void)arguments;
        if (error) *error = QStringLiteral("programs are not started here");
        return false;
    }
    // Opens the file with the desktop's default application for its type.
    virtual bool openWithDesktop(const QString& path) {
        (void)path;
        return false;
    }
};

}  // namespace vantrel
