// The panel over the graph after a failed scan: "Scan failed", the message (selectable
// for copying) and "Reset", the way back to the drop target.
#pragma once

#include "app/views/MaterialFrame.h"

class QLabel;

namespace vantrel {

class FailurePanel : public MaterialFrame {
    Q_OBJECT

public:
    explicit FailurePanel(QWidget* parent = nullptr);

    void setMessage(const QString& message);
    QString message() const;

    // As wide as the message wants, up to 420.
    QSize sizeHint() const override;

signals:
    void resetRequested();

private:
    QLabel* message_;
};

}  // namespace vantrel
