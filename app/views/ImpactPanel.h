// The impact panel: what a change to the selected symbol reaches, in numbers and rows.
// A summary ("12 callers on 3 levels in 7 files"), then one group per level of callers up
// to the depth and a group of the direct callees, each row the symbol's name, its kind
// and file:line (ImpactReachModel). It describes the blast radius the store already
// walked for the selection, so an update costs one pass over the reached rows.
//
// A click on a row (or Space) selects that symbol in the store, on the next turn of the
// event loop; a double click (or Return) asks for its code through openCodeRequested,
// for the symbol of the double click's first press even when the selection has already
// redrawn the rows under the pointer. Choosing a row (click or Space) also tells, through
// rowChosen, which symbols one level closer to the selection that row calls, for the
// source panel to highlight. A right click on a row asks for the symbol's menu; elsewhere
// it offers the copies. "Copy as Markdown" puts the tables of `changes --format
// markdown` on the clipboard, "Copy as text" a plain list. reveal() brings a symbol's
// callers or callees into view once its rows are shown.
//
// A picker in the header switches to the Working Changes mode (in a git work tree only;
// elsewhere it is disabled and its tooltip says why): the symbols changed against a base
// revision (HEAD unless another is typed in beside the picker) and what they reach, level
// by level (WorkingChangesModel), as the store last computed them. Clicks, keys and menus
// work as on the reach; its copies are those of `changes`.
#pragma once

#include <QElapsedTimer>
#include <QPoint>
#include <QWidget>
#include <string>

#include "app/state/ProjectStore.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeView;

namespace vantrel {

class ElidedLabel;
class ImpactReachModel;
class SegmentedPicker;
class WorkingChangesModel;

class ImpactPanel : public QWidget {
    Q_OBJECT

public:
    explicit ImpactPanel(ProjectStore& store, QWidget* parent = nullptr);

    QString summaryText() const;
    QTreeView* tree() const { return tree_; }
    const ImpactReachModel& rows() const { return *model_; }
    const WorkingChangesModel& changeRows() const { return *changesModel_; }
    SegmentedPicker* modePicker() const { return modePicker_; }
    QLineEdit* revisionField() const { return revision_; }
    // What the copy buttons put on the clipboard.
    QString markdown() const;
    QString plainText() const;

    enum class Group { callers, callees };
    // When the rows next show `symbolId`'s reach (now, if they do), makes the first row of
    // its first level of callers, or of its callees, current and scrolls it to the top.
    void reveal(const std::string& symbolId, Group group);

signals:
    void openCodeRequested(const QString& symbolId);
    // `towardSelection`: the ids the chosen row calls one level closer to the selection.
    void rowChosen(const QString& symbolId, const QStringList& towardSelection);
    void symbolMenuRequested(const QString& symbolId, const QPoint& globalPos);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildHeader();
    void refreshModeControls();
    void refreshChanges();
    bool showsChanges() const;
    void scheduleRefresh();
    void refresh();
    void selectInStore(const std::string& id);
    void choose(const std::string& id);
    void applyReveal();
    void showContextMenu(const QPoint& viewportPos);
    bool handleViewportMouse(QEvent* event);
    bool handleTreeKey(QEvent* event);
    std::string idAt(const QPoint& viewportPos) const;
    bool withinDoubleClick() const;

    ProjectStore& store_;
    bool refreshPending_ = false;

    ElidedLabel* target_;
    ElidedLabel* summary_;
    QPushButton* copyMarkdown_;
    QPushButton* copyText_;
    QTreeView* tree_;
    ImpactReachModel* model_;
    WorkingChangesModel* changesModel_;
    SegmentedPicker* modePicker_;
    QLabel* revisionCaption_;
    QLineEdit* revision_;

    // The row under the first press of a click; a second press close in time and place
    // belongs to a double click and keeps it.
    std::string pressedId_;
    QPoint pressedAt_;
    QElapsedTimer sincePress_;
    bool secondPress_ = false;

    std::string revealId_;
    Group revealGroup_ = Group::callers;
};

}  // namespace vantrel
