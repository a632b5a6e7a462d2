#include "app/platform/WidgetPlatformServices.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QUrl>

namespace vantrel {

namespace {

// The dialog deletes itself when closed; `chosen` runs only on confirmation.
void openPanel(QFileDialog* dialog, const QStringList& nameFilters, PathChosen chosen) {
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (!nameFilters.isEmpty()) dialog->setNameFilters(nameFilters);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [chosen = std::move(chosen)](const QString& path) {
        if (!path.isEmpty()) chosen(path);
    });
    dialog->open();
}

}  // namespace

WidgetPlatformServices::WidgetPlatformServices(QWidget* parent, std::function<void()> showSettings)
    : parent_(parent), showSettings_(std::move(showSettings)) {}

void WidgetPlatformServices::showOpenPanel(const OpenPanelRequest& request, PathChosen chosen) {
    auto* dialog = new QFileDialog(parent_, request.title);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(request.chooseFolders ? QFileDialog::Directory : QFileDialog::ExistingFile);
    if (request.chooseFolders) dialog->setOption(QFileDialog::ShowDirsOnly);
    if (!request.prompt.isEmpty()) dialog->setLabelText(QFileDialog::Accept, request.prompt);
    if (!request.startFolder.isEmpty()) dialog->setDirectory(request.startFolder);
    openPanel(dialog, request.nameFilters, std::move(chosen));
}

void WidgetPlatformServices::showSavePanel(const SavePanelRequest& request, PathChosen chosen) {
    auto* dialog = new QFileDialog(parent_, request.title);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setOption(QFileDialog::ReadOnly, !request.canCreateFolders);
    if (!request.startFolder.isEmpty()) dialog->setDirectory(request.startFolder);
    dialog->selectFile(request.proposedName);
    openPanel(dialog, request.nameFilters, std::move(chosen));
}

int WidgetPlatformServices::runModalAlert(const AlertRequest& request) {
    QMessageBox box(parent_);
    box.setIcon(QMessageBox::Warning);
    box.setText(request.title);
    box.setInformativeText(request.text);
    QList<QAbstractButton*> buttons;
    for (const QString& title : request.buttons) buttons.append(box.addButton(title, QMessageBox::ActionRole));
    if (!buttons.isEmpty()) box.setDefaultButton(static_cast<QPushButton*>(buttons.front()));
    if (request.escapeButton >= 0 && request.escapeButton < buttons.size())
        box.setEscapeButton(buttons[request.escapeButton]);
    box.exec();
    return static_cast<int>(buttons.indexOf(box.clickedButton()));
}

void WidgetPlatformServices::showSettingsWindow() {
    if (showSettings_) showSettings_();
}

bool WidgetPlatformServices::startDetached(const QString& program, const QStringList& arguments, QString* error) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    if (process.startDetached()) return true;
    if (error) *error = process.errorString();
    return false;
}

bool WidgetPlatformServices::openWithDesktop(const QString& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

}  // namespace vantrel
