// The sidebar's disclosure group "Diagnostics (N)", closed at first. Opened, it has a
// filter field and a tree of the last scan's diagnostics as `groupDiagnostics` orders
// them: a heading per reason with its count, under it one row per import path with the
// number of files that import it (its suggestion in the tooltip), and under each the
// importing files. External packages stay collapsed: they are seldom what needs fixing.
#pragma once

#include <QWidget>
#include <vector>

#include "core/model/ProjectIR.h"

class QLineEdit;
class QStandardItemModel;
class QToolButton;
class QTreeView;

namespace vantrel {

class DiagnosticsGroup : public QWidget {
    Q_OBJECT

public:
    explicit DiagnosticsGroup(QWidget* parent = nullptr);

    void setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics);
    QString title() const;
    bool isOpen() const;
    void setOpen(bool open);
    // The tree as shown: headings at the top level, import paths below, importers below those.
    const QStandardItemModel& model() const { return *model_; }
    QLineEdit* filterField() const { return filter_; }
    QTreeView* tree() const { return tree_; }

private:
    void rebuild();
    void fitTreeHeight();

    std::vector<ResolutionDiagnostic> diagnostics_;
    QToolButton* header_;
    QLineEdit* filter_;
    QTreeView* tree_;
    QStandardItemModel* model_;
};

}  // namespace vantrel
