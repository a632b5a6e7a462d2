// The sidebar's disclosure group "Diagnostics (N)", closed at first. Opened, it lists
// one card per diagnostic of the last scan, in the scan's order: the import that could
// not be resolved, the suggestion (or the reason's raw name when there is none) and the
// importing file. Cards are drawn by a delegate, so thousands of them cost no widgets.
#pragma once

#include <QAbstractListModel>
#include <QWidget>
#include <vector>

#include "core/model/ProjectIR.h"

class QListView;
class QToolButton;

namespace vantrel {

class DiagnosticListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { HeadlineRole = Qt::UserRole + 1, DetailRole, ImporterRole };

    using QAbstractListModel::QAbstractListModel;
    void setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    std::vector<ResolutionDiagnostic> diagnostics_;
};

class DiagnosticsGroup : public QWidget {
    Q_OBJECT

public:
    explicit DiagnosticsGroup(QWidget* parent = nullptr);

    void setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics);
    QString title() const;
    bool isOpen() const;
    void setOpen(bool open);
    const DiagnosticListModel& model() const { return *model_; }

private:
    void fitListHeight();

    QToolButton* header_;
    QListView* list_;
    DiagnosticListModel* model_;
};

}  // namespace vantrel
