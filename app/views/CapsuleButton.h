// A plain button drawn as a capsule on the thin material, its text left-aligned in the
// full width (padding 10 left and right, 6 top and bottom) and truncated at the end.
#pragma once

#include <QAbstractButton>

namespace vantrel {

class CapsuleButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit CapsuleButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    bool hovered_ = false;
};

}  // namespace vantrel
