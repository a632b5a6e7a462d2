// The main window's menus and toolbar.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFontMetrics>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include "app/canvas/ImpactGraphView.h"
#include "app/state/ProjectStore.h"
#include "app/views/MainWindow.h"
#include "imageexport/GraphExportFormat.h"

namespace vantrel {

namespace {

constexpr int kRecentTitleWidth = 480;

// "name — /full/path" on one line, truncated in the middle, with "&" kept literal.
QString recentTitle(const QString& folder, const QFont& font) {
    QString title = QDir(folder).dirName() + QStringLiteral(" \u2014 ") + folder;
    title = QFontMetrics(font).elidedText(title, Qt::ElideMiddle, kRecentTitleWidth);
    return title.replace(u'&', QStringLiteral("&&"));
}

}  // namespace

void MainWindow::buildCommands() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    openProject_ = file->addAction(QStringLiteral("Open Project\u2026"));
    openProject_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    connect(openProject_, &QAction::triggered, this, [this] { store_.chooseProjectFolder(); });
    recentMenu_ = file->addMenu(QStringLiteral("Open Recent"));
    rescan_ = file->addAction(QStringLiteral("Rescan"));
    rescan_->setShortcuts({QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)});
    rescan_->setEnabled(false);
    connect(rescan_, &QAction::triggered, this, [this] { store_.rescan(); });
    clearRecents_ = new QAction(QStringLiteral("Clear Recent Projects"), this);
    connect(clearRecents_, &QAction::triggered, this, [this] { store_.clearRecents(); });
    file->addSeparator();
    QAction* quit = file->addAction(QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, qApp, &QApplication::closeAllWindows);

    QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    QAction* preferences = edit->addAction(QStringLiteral("Preferences\u2026"));
    preferences->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    preferences->setMenuRole(QAction::PreferencesRole);
    connect(preferences, &QAction::triggered, this, &MainWindow::preferencesRequested);

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    QAction* onboarding = help->addAction(QStringLiteral("Show Onboarding"));
    connect(onboarding, &QAction::triggered, this, [this] { store_.presentOnboarding(); });
}

void MainWindow::buildToolbar() {
    QToolBar* toolbar = addToolBar(QStringLiteral("Project"));
    toolbar->setObjectName(QStringLiteral("projectToolbar"));
    toolbar->setMovable(false);
    toolbar->setFloatable(false);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    toolbar->addAction(openProject_);

    exportMenu_ = new QMenu(QStringLiteral("Export"), this);
    for (GraphExportFormat format : kAllGraphExportFormats) {
        QAction* item = exportMenu_->addAction(QString::fromUtf8(menuTitle(format)));
        connect(item, &QAction::triggered, this, [this, format] { store_.exportGraph(format); });
    }
    exportButton_ = new QToolButton(toolbar);
    exportButton_->setText(QStringLiteral("Export"));
    exportButton_->setMenu(exportMenu_);
    exportButton_->setPopupMode(QToolButton::InstantPopup);
    toolbar->addWidget(exportButton_);

    // Ctrl+E opens the same menu under its button; disabled, the shortcut does nothing.
    exportAction_ = new QAction(QStringLiteral("Export"), this);
    exportAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    addAction(exportAction_);
    connect(exportAction_, &QAction::triggered, this,
            [this] { exportMenu_->popup(exportButton_->mapToGlobal(QPoint(0, exportButton_->height()))); });

    // The canvas's two views; Ctrl+I, the canvas's own, switches them too.
    toolbar->addSeparator();
    toolbar->addActions(graph_->modeActions()->choices());
}

void MainWindow::rebuildRecentMenu() {
    recentMenu_->clear();
    const QStringList& recents = store_.recentProjects();
    for (const QString& folder : recents) {
        QAction* item = recentMenu_->addAction(recentTitle(folder, recentMenu_->font()));
        connect(item, &QAction::triggered, this, [this, folder] { store_.scan(folder); });
    }
    recentMenu_->addSeparator();
    recentMenu_->addAction(clearRecents_);
    clearRecents_->setEnabled(!recents.isEmpty());
}

void MainWindow::refreshRescanEnabled() {
    rescan_->setEnabled(!store_.projectRoot().isEmpty() && store_.scanState().kind != ScanState::Kind::idle);
}

void MainWindow::refreshExportEnabled() {
    const bool hasGraph = store_.ir().has_value();
    exportAction_->setEnabled(hasGraph);
    exportButton_->setEnabled(hasGraph);
}

}  // namespace vantrel
