// A one-line label that truncates its text to the width it gets, in the middle or at
// the end, and shows the whole text as its tooltip when truncated. Too narrow for a
// single character and the ellipsis, it shows nothing.
#pragma once

#include <QLabel>

namespace vantrel {

class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

    void setFullText(const QString& text);
    const QString& fullText() const { return fullText_; }

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void elide();

    Qt::TextElideMode mode_;
    QString fullText_;
};

}  // namespace vantrel
