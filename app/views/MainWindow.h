// The main window: the sidebar and the graph side by side in a splitter, below the graph
// the impact panel and the source panel side by side while a graph is ready, over the
// graph the panel that fits the scan state (the drop target, the progress or the failure),
// and over everything the onboarding card while the store raises it. A folder dropped
// anywhere on the window is scanned, in every state. The menus and the toolbar carry
// the commands; an export or baseline failure shows as an alert. The status bar holds,
// at its right, how the live project stands (LiveStatusLabel), and shows the watcher's
// one-time notice as a message. What is done to one
// symbol (its context menu, Open in Editor) is SymbolActions'.
#pragma once

#include <QMainWindow>

class QAction;
class QSplitter;
class QMenu;
class QToolButton;

namespace vantrel {

class DropOverlayView;
class FailurePanel;
class ChangesPanel;
class ImpactPanel;
class ImpactGraphView;
class LiveStatusLabel;
class OnboardingView;
class OverlayHost;
class ProgressPanel;
class ProjectStore;
class SidebarView;
class SourcePanel;
class SymbolActions;

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(ProjectStore& store, QWidget* parent = nullptr);

    SidebarView* sidebar() const { return sidebar_; }
    ImpactGraphView* graphView() const { return graph_; }
    ImpactPanel* impactPanel() const { return impactPanel_; }
    SourcePanel* sourcePanel() const { return sourcePanel_; }
    ChangesPanel* changesPanel() const { return changesPanel_; }
    SymbolActions* symbolActions() const { return symbolActions_; }
    // The panel over the graph; nullptr while a graph is ready.
    QWidget* currentPanel() const;
    DropOverlayView* dropOverlay() const { return dropOverlay_; }
    ProgressPanel* progressPanel() const { return progressPanel_; }
    FailurePanel* failurePanel() const { return failurePanel_; }
    OnboardingView* onboarding() const { return onboarding_; }
    QAction* exportAction() const { return exportAction_; }
    QMenu* exportMenu() const { return exportMenu_; }
    QMenu* recentMenu() const { return recentMenu_; }
    QAction* clearRecentsAction() const { return clearRecents_; }
    QAction* rescanAction() const { return rescan_; }
    // The status bar's word on watching and the last update.
    LiveStatusLabel* liveStatus() const { return liveStatus_; }
    // The sidebar's share of the window's width, as the user left it.
    int sidebarWidth() const;
    void setSidebarWidth(int width);

public slots:
    // A preference changed: the graph reads its appearance preferences anew.
    void preferencesChanged();

signals:
    void preferencesRequested();
    // The window is about to close: the time to remember its state.
    void closing();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void buildDetail();
    QWidget* buildCodeArea(QWidget* parent);
    void buildCommands();
    void buildToolbar();
    void connectStore();
    void rebuildRecentMenu();
    void refreshPanel();
    void refreshTitle();
    void refreshExportEnabled();
    void refreshRescanEnabled();
    void refreshOnboarding();
    void scheduleExportAlert();
    void showExportAlert();
    void setDropTargeted(bool targeted);

    ProjectStore& store_;
    bool dropTargeted_ = false;
    bool exportAlertShown_ = false;

    SidebarView* sidebar_ = nullptr;
    ImpactGraphView* graph_ = nullptr;
    OverlayHost* detail_ = nullptr;
    ImpactPanel* impactPanel_ = nullptr;
    SourcePanel* sourcePanel_ = nullptr;
    ChangesPanel* changesPanel_ = nullptr;
    QWidget* codeArea_ = nullptr;
    SymbolActions* symbolActions_ = nullptr;
    DropOverlayView* dropOverlay_ = nullptr;
    ProgressPanel* progressPanel_ = nullptr;
    FailurePanel* failurePanel_ = nullptr;
    OnboardingView* onboarding_ = nullptr;
    LiveStatusLabel* liveStatus_ = nullptr;

    QAction* openProject_ = nullptr;
    QAction* exportAction_ = nullptr;
    QToolButton* exportButton_ = nullptr;
    QMenu* exportMenu_ = nullptr;
    QMenu* recentMenu_ = nullptr;
    QAction* clearRecents_ = nullptr;
    QAction* rescan_ = nullptr;
    QSplitter* split_ = nullptr;
};

}  // namespace vantrel
