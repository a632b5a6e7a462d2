#include "app/views/CapsuleButton.h"

#include <QPainter>
#include <QPainterPath>

#include "app/canvas/CanvasPalette.h"
#include "app/views/Appearance.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {
constexpr int kHorizontalPadding = 10;
constexpr int kVerticalPadding = 6;
}  // namespace

CapsuleButton::CapsuleButton(const QString& text, QWidget* parent) : QAbstractButton(parent) {
    setText(text);
    setFont(textStyleFont(TextStyle::caption));
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize CapsuleButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2 * kHorizontalPadding,
            fontMetrics().height() + 2 * kVerticalPadding};
}

void CapsuleButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath capsule;
    const QRectF bounds(rect());
    capsule.addRoundedRect(bounds, bounds.height() / 2, bounds.height() / 2);
    const double opacity = isDown() ? 0.2 : hovered_ ? 0.13 : 0.08;
    painter.fillPath(capsule, withOpacity(palette().color(QPalette::Text), opacity));
    if (hasFocus()) {
        painter.setPen(QPen(CanvasPalette(palette()).color(NamedColor::accentColor), 1.5));
        painter.drawPath(capsule);
    }
    painter.setPen(palette().color(QPalette::Text));
    const QRect textRect = rect().adjusted(kHorizontalPadding, 0, -kHorizontalPadding, 0);
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text(), Qt::ElideRight, textRect.width()));
}

void CapsuleButton::enterEvent(QEnterEvent* event) {
    hovered_ = true;
    update();
    QAbstractButton::enterEvent(event);
}

void CapsuleButton::leaveEvent(QEvent* event) {
    hovered_ = false;
    update();
    QAbstractButton::leaveEvent(event);
}

}  // namespace vantrel
