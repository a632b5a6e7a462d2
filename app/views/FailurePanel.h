// The panel over the graph after a failed scan: its heading ("Scan failed", or "Nothing
// to scan" for a folder without sources), the message (selectable for copying), "Reset",
// the way back to the drop target, and, when one file made the scan fail, "Exclude This
// File and Rescan".
#pragma once

#include "app/views/MaterialFrame.h"

class QLabel;
class QPushButton;

namespace vantrel {

class FailurePanel : public MaterialFrame {
    Q_OBJECT

public:
    explicit FailurePanel(QWidget* parent = nullptr);

    // `file`: the file that made the scan fail, or empty.
    void setFailure(const QString& title, const QString& message, const QString& file = {});
    QString title() const;
    QString message() const;
    QPushButton* excludeButton() const { return exclude_; }

    // As wide as the message wants, up to 420.
    QSize sizeHint() const override;

signals:
    void resetRequested();
    void excludeFileRequested(const QString& file);

private:
    QLabel* title_;
    QLabel* message_;
    QPushButton* exclude_;
    QString file_;
};

}  // namespace vantrel
