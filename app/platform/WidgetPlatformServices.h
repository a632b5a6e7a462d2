// The store's platform services as Qt Widgets dialogs: QFileDialog panels opened
// window-modal without blocking, and a QMessageBox alert; programs started by QProcess,
// files opened by QDesktopServices.
#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

#include "app/state/PlatformServices.h"

namespace vantrel {

class WidgetPlatformServices : public PlatformServices {
public:
    // `parent` hosts the dialogs; `showSettings` brings up the application's settings window.
    WidgetPlatformServices(QWidget* parent, std::function<void()> showSettings);

    // The window that hosts the dialogs from now on; the store exists before it does.
    void setDialogParent(QWidget* parent) { parent_ = parent; }

    void showOpenPanel(const OpenPanelRequest& request, PathChosen chosen) override;
    void showSavePanel(const SavePanelRequest& request, PathChosen chosen) override;
    int runModalAlert(const AlertRequest& request) override;
    void showSettingsWindow() override;
    bool startDetached(const QString& program, const QStringList& arguments, QString* error) override;
    bool openWithDesktop(const QString& path) override;

private:
    QPointer<QWidget> parent_;
    std::function<void()> showSettings_;
};

}  // namespace vantrel
