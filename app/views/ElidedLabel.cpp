#include "app/views/ElidedLabel.h"

#include <QEvent>

namespace vantrel {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QLabel(parent), mode_(mode) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setFullText(const QString& text) {
    fullText_ = text;
    updateGeometry();
    elide();
}

QSize ElidedLabel::minimumSizeHint() const { return {0, fontMetrics().height()}; }

QSize ElidedLabel::sizeHint() const { return {fontMetrics().horizontalAdvance(fullText_) + 2, fontMetrics().height()}; }

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) elide();
}

void ElidedLabel::elide() {
    QString shown = fontMetrics().elidedText(fullText_, mode_, width());
    // A lone ellipsis tells nothing; the tooltip still has the text.
    setText(shown == QStringLiteral("\u2026") ? QString() : shown);
    setToolTip(shown == fullText_ ? QString() : fullText_);
}

}  // namespace vantrel
