#include "app/views/MainWindow.h"

#include <QAction>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QListView>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QToolButton>

#include "app/canvas/ImpactGraphView.h"
#include "app/state/ProjectStore.h"
#include "app/views/DeferredCall.h"
#include "app/views/DropOverlayView.h"
#include "app/views/FailurePanel.h"
#include "app/views/ChangesPanel.h"
#include "app/views/ImpactPanel.h"
#include "app/views/LiveStatusLabel.h"
#include "app/views/OnboardingView.h"
#include "app/views/OverlayHost.h"
#include "app/views/ProgressPanel.h"
#include "app/views/SidebarView.h"
#include "app/views/SourcePanel.h"
#include "app/views/SymbolActions.h"

namespace vantrel {

namespace {

constexpr int kSidebarWidth = 360;
constexpr int kConfirmationMs = 5000;  // how long a confirmation stays in the status bar
constexpr int kNoticeMs = 15000;       // the watcher's notice is read once, and longer

bool holdsLocalFile(const QMimeData* data) {
    if (!data) return false;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) return true;
    return false;
}

}  // namespace

MainWindow::MainWindow(ProjectStore& store, QWidget* parent) : QMainWindow(parent), store_(store) {
    setAcceptDrops(true);
    resize(1200, 760);

    auto* split = new QSplitter(Qt::Horizontal, this);
    split_ = split;
    split->setChildrenCollapsible(false);
    sidebar_ = new SidebarView(store_, split);
    sidebar_->setMinimumWidth(240);
    split->addWidget(sidebar_);
    buildDetail();
    // The panels span the graph's width below it.
    auto* detailSplit = new QSplitter(Qt::Vertical, split);
    detailSplit->setChildrenCollapsible(false);
    detailSplit->addWidget(detail_);
    detailSplit->addWidget(buildCodeArea(detailSplit));
    // Two fifths of the height, the graph the rest, as the window grows or shrinks.
    detailSplit->setStretchFactor(0, 3);
    detailSplit->setStretchFactor(1, 2);
    detailSplit->setSizes({3 * height() / 5, 2 * height() / 5});
    split->addWidget(detailSplit);
    split->setStretchFactor(0, 0);
    split->setStretchFactor(1, 1);
    split->setSizes({kSidebarWidth, width() - kSidebarWidth});
    setCentralWidget(split);

    sidebar_->symbolList()->setFocus();  // the list, not the search field, has the keys at start

    onboarding_ = new OnboardingView([this] { store_.completeOnboarding(); }, this);
    onboarding_->hide();

    liveStatus_ = new LiveStatusLabel(store_, this);
    statusBar()->addPermanentWidget(liveStatus_);

    buildCommands();
    buildToolbar();
    connectStore();
    refreshPanel();
    refreshTitle();
    refreshExportEnabled();
    rebuildRecentMenu();
    refreshOnboarding();
}

void MainWindow::buildDetail() {
    graph_ = new ImpactGraphView(store_);
    detail_ = new OverlayHost(graph_, this);
    dropOverlay_ = new DropOverlayView(detail_);
    progressPanel_ = new ProgressPanel(detail_);
    failurePanel_ = new FailurePanel(detail_);
    for (QWidget* panel : std::initializer_list<QWidget*>{dropOverlay_, progressPanel_, failurePanel_}) panel->hide();
    connect(dropOverlay_, &DropOverlayView::appeared, this, [this] { store_.refreshRecents(); });
    connect(dropOverlay_, &DropOverlayView::recentChosen, this, [this](const QString& folder) { store_.scan(folder); });
    connect(progressPanel_, &ProgressPanel::cancelRequested, this, [this] { store_.cancelScan(); });
    connect(failurePanel_, &FailurePanel::resetRequested, this, [this] { store_.reset(); });
    connect(failurePanel_, &FailurePanel::excludeFileRequested, this,
            [this](const QString& file) { store_.excludeFileAndRescan(file); });
}

// The impact rows on the left, the code of the selection or of the chosen caller on the
// right, and between them the changes since a baseline while one is loaded; the menus
// and Open in Editor of the first and last go through SymbolActions.
QWidget* MainWindow::buildCodeArea(QWidget* parent) {
    auto* area = new QSplitter(Qt::Horizontal, parent);
    area->setChildrenCollapsible(false);
    area->setMinimumHeight(120);
    impactPanel_ = new ImpactPanel(store_, area);
    impactPanel_->setObjectName(QStringLiteral("impactPanel"));
    impactPanel_->setMinimumWidth(260);
    sourcePanel_ = new SourcePanel(store_, area);
    sourcePanel_->setObjectName(QStringLiteral("sourcePanel"));
    sourcePanel_->setMinimumWidth(260);
    changesPanel_ = new ChangesPanel(store_, area);
    changesPanel_->setObjectName(QStringLiteral("changesPanel"));
    changesPanel_->setMinimumWidth(260);
    area->addWidget(impactPanel_);
    area->addWidget(changesPanel_);
    area->addWidget(sourcePanel_);
    for (int panel = 0; panel < 3; ++panel) area->setStretchFactor(panel, 1);
    area->setSizes({width() / 3, width() / 3, width() / 3});  // equal, whatever the panels' own hints
    codeArea_ = area;

    symbolActions_ = new SymbolActions(store_, *impactPanel_, *sourcePanel_, *this);
    symbolActions_->attachToCanvas(*graph_);
    connect(impactPanel_, &ImpactPanel::rowChosen, sourcePanel_, [this](const QString& id, const QStringList& toward) {
        IdSet callees;
        for (const QString& callee : toward) callees.insert(callee.toStdString());
        sourcePanel_->showCaller(id.toStdString(), callees);
    });
    // A row opens where its place says: the symbol's first line.
    connect(impactPanel_, &ImpactPanel::openCodeRequested, symbolActions_,
            [this](const QString& id) { symbolActions_->openInEditor(id.toStdString(), SymbolActions::kStartLine); });
    connect(sourcePanel_, &SourcePanel::openRequested, symbolActions_,
            [this](const QString& id, std::int64_t line) { symbolActions_->openInEditor(id.toStdString(), line); });
    const auto popup = [this](const QString& id, const QPoint& at) { symbolActions_->popupMenu(id, at); };
    connect(impactPanel_, &ImpactPanel::symbolMenuRequested, symbolActions_, popup);
    connect(sidebar_, &SidebarView::symbolMenuRequested, symbolActions_, popup);
    connect(
        sourcePanel_, &SourcePanel::symbolMenuRequested, symbolActions_,
        [this](const QString& id, std::int64_t line, const QPoint& at) { symbolActions_->popupMenu(id, at, line); });
    return area;
}

void MainWindow::connectStore() {
    connect(&store_, &ProjectStore::scanStateChanged, this, [this] {
        refreshPanel();
        refreshTitle();
        refreshRescanEnabled();
    });
    connect(&store_, &ProjectStore::projectRootChanged, this, &MainWindow::refreshTitle);
    connect(&store_, &ProjectStore::scanProgressChanged, this,
            [this] { progressPanel_->setProgress(store_.scanProgress()); });
    connect(&store_, &ProjectStore::irChanged, this, &MainWindow::refreshExportEnabled);
    connect(&store_, &ProjectStore::recentProjectsChanged, this, [this] {
        dropOverlay_->setRecents(store_.recentProjects());
        rebuildRecentMenu();
    });
    connect(&store_, &ProjectStore::showOnboardingOverlayChanged, this, &MainWindow::refreshOnboarding);
    connect(&store_, &ProjectStore::lastExportErrorChanged, this, &MainWindow::scheduleExportAlert);
    connect(&store_, &ProjectStore::liveNotice, this,
            [this](const QString& message) { statusBar()->showMessage(message, kNoticeMs); });
    connect(&store_, &ProjectStore::exported, this, [this](const QString& path) {
        statusBar()->showMessage(QStringLiteral("Exported to %1").arg(QDir::toNativeSeparators(path)), kConfirmationMs);
    });
}

QWidget* MainWindow::currentPanel() const { return detail_->overlay(); }

int MainWindow::sidebarWidth() const { return split_->sizes().value(0); }

void MainWindow::setSidebarWidth(int width) {
    const int total = split_->width() > 0 ? split_->width() : this->width();
    split_->setSizes({width, std::max(0, total - width)});
}

void MainWindow::closeEvent(QCloseEvent* event) {
    emit closing();
    QMainWindow::closeEvent(event);
}

void MainWindow::preferencesChanged() { graph_->refreshPreferences(); }

void MainWindow::refreshPanel() {
    const ScanState& state = store_.scanState();
    switch (state.kind) {
        case ScanState::Kind::idle: detail_->setOverlay(dropOverlay_); break;
        case ScanState::Kind::indexing:
            progressPanel_->setProgress(store_.scanProgress());
            detail_->setOverlay(progressPanel_);
            break;
        case ScanState::Kind::failed:
            failurePanel_->setFailure(state.title, state.message, state.file);
            detail_->setOverlay(failurePanel_);
            break;
        case ScanState::Kind::ready: detail_->setOverlay(nullptr); break;
    }
    codeArea_->setVisible(state.kind == ScanState::Kind::ready);
}

void MainWindow::refreshTitle() {
    // A project is open from its scan's start until reset, cancellation or a declined scan.
    const bool open = store_.scanState().kind != ScanState::Kind::idle && !store_.projectRoot().isEmpty();
    setWindowTitle(open ? QStringLiteral("Vantrel \u2014 ") + QDir(store_.projectRoot()).dirName()
                        : QStringLiteral("Vantrel"));
}

void MainWindow::refreshOnboarding() {
    const bool shown = store_.showOnboardingOverlay();
    if (shown == onboarding_->isVisible()) return;
    onboarding_->setGeometry(rect());
    onboarding_->setVisible(shown);
    if (shown) onboarding_->raise();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    onboarding_->setGeometry(rect());
}

// The alert comes up on the next turn, so that it reads the error as it stands then.
void MainWindow::scheduleExportAlert() {
    if (exportAlertShown_ || !store_.lastExportError()) return;
    exportAlertShown_ = true;
    postToNextTurn(this, [this] { showExportAlert(); });
}

void MainWindow::showExportAlert() {
    auto* alert = new QMessageBox(this);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(store_.lastExportErrorTitle());
    alert->setText(store_.lastExportErrorTitle());
    alert->setInformativeText(store_.lastExportError().value_or(QStringLiteral("Unknown error")));
    alert->addButton(QStringLiteral("OK"), QMessageBox::RejectRole);
    alert->setWindowModality(Qt::WindowModal);
    // However it is dismissed, the error is cleared.
    connect(alert, &QMessageBox::finished, this, [this] {
        exportAlertShown_ = false;
        store_.clearLastExportError();
    });
    alert->open();
}

void MainWindow::setDropTargeted(bool targeted) {
    dropTargeted_ = targeted;
    dropOverlay_->setTargeted(targeted);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!holdsLocalFile(event->mimeData())) return event->ignore();
    event->acceptProposedAction();
    setDropTargeted(true);
}

void MainWindow::dragMoveEvent(QDragMoveEvent* event) {
    if (holdsLocalFile(event->mimeData())) event->acceptProposedAction();
}

void MainWindow::dragLeaveEvent(QDragLeaveEvent* event) {
    setDropTargeted(false);
    event->accept();
}

void MainWindow::dropEvent(QDropEvent* event) {
    setDropTargeted(false);
    if (!event->mimeData()) return;
    // A dropped file stands for the folder it is in.
    ProjectStore::extractFirstFileURL(*event->mimeData(), [this](const QString& path) {
        const QFileInfo dropped(path);
        store_.scan(dropped.isDir() ? path : dropped.absolutePath());
    });
    event->acceptProposedAction();
}

}  // namespace vantrel
