// What can be done to one symbol from anywhere it is shown, and the one context menu
// that offers it on canvas nodes, sidebar rows, impact rows and the source panel:
// Copy Id, Copy file:line, Open in Editor, Show Callers, Show Callees and Exclude This
// File… (asks, adds the file to the project file's exclusions, scans again). The
// window's Ctrl+Shift+O opens the selection in the editor through the same operation.
#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <cstdint>
#include <memory>
#include <string>

#include "app/state/EditorCommand.h"

class QAction;
class QPoint;
class QWidget;

namespace vantrel {

class ImpactGraphView;
class ImpactPanel;
class ProjectStore;
class SourcePanel;

class SymbolActions : public QObject {
    Q_OBJECT

public:
    // `window` holds the Ctrl+Shift+O action and parents the menus.
    SymbolActions(ProjectStore& store, ImpactPanel& impact, SourcePanel& source, QWidget& window);

    // The menu for `symbolId`; Open in Editor goes to `line`, or with 0 to the line the
    // source panel prefers for it, else where it starts. The caller shows it; it deletes
    // itself when closed.
    QMenu* buildMenu(const std::string& symbolId, std::int64_t line = 0);
    void popupMenu(const QString& symbolId, const QPoint& globalPos, std::int64_t line = 0);
    // The menu shown last, while it is open (for tests).
    QMenu* openMenu() const { return openMenu_; }
    // A right click on a node of the canvas shows the menu for that node.
    void attachToCanvas(ImpactGraphView& canvas);

    QAction* openSelectionAction() const { return openSelection_; }

    void copyId(const std::string& symbolId);
    void copyPlace(const std::string& symbolId);
    // `line` 0: the line the source panel prefers for the symbol (a highlighted call),
    // else its first; kStartLine: its first.
    static constexpr std::int64_t kStartLine = -1;
    bool openInEditor(const std::string& symbolId, std::int64_t line = 0);
    void showCallers(const std::string& symbolId);
    void showCallees(const std::string& symbolId);
    void excludeFile(const std::string& symbolId);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::int64_t lineFor(const std::string& symbolId, std::int64_t line) const;

    ProjectStore& store_;
    ImpactPanel& impact_;
    SourcePanel& source_;
    QWidget& window_;
    EditorLauncher editor_;
    QAction* openSelection_;
    QPointer<QMenu> openMenu_;
    ImpactGraphView* canvas_ = nullptr;
};

}  // namespace vantrel
