#include "app/views/SegmentedPicker.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include "app/canvas/CanvasPalette.h"
#include "app/views/Appearance.h"

namespace vantrel {

namespace {

// One segment: the outer ends rounded, the chosen one in the accent colour, drawn from
// the current palette so that both appearances look right.
class SegmentButton : public QAbstractButton {
public:
    enum class Position { only, first, middle, last };

    SegmentButton(const QString& text, Position position, QWidget* parent)
        : QAbstractButton(parent), position_(position) {
        setText(text);
        setCheckable(true);
        setFocusPolicy(Qt::TabFocus);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(text()) + 20, fontMetrics().height() + 8};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPalette& colors = palette();
        const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        const double radius = 5;
        const bool roundLeft = position_ == Position::only || position_ == Position::first;
        const bool roundRight = position_ == Position::only || position_ == Position::last;
        QPainterPath shape;
        shape.addRoundedRect(bounds, radius, radius);
        // Square off the inner ends by uniting with plain rectangles there.
        if (!roundLeft) shape.addRect(bounds.adjusted(0, 0, -bounds.width() / 2, 0));
        if (!roundRight) shape.addRect(bounds.adjusted(bounds.width() / 2, 0, 0, 0));
        shape.setFillRule(Qt::WindingFill);
        shape = shape.simplified();

        QColor fill = colors.color(QPalette::Button);
        QColor textColor = colors.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
        if (isChecked()) {
            fill = CanvasPalette(colors).color(NamedColor::accentColor);
            textColor = colors.color(QPalette::HighlightedText);
            if (!isEnabled()) fill = withOpacity(fill, 0.45);
        } else if (isDown()) {
            fill = fill.darker(112);
        }
        painter.fillPath(shape, fill);
        painter.setPen(QPen(colors.color(QPalette::Mid), 1));
        painter.drawPath(shape);
        if (hasFocus()) {
            painter.setPen(QPen(CanvasPalette(colors).color(named(NamedColor::accentColor, 0.6)), 2));
            painter.drawPath(shape);
        }
        painter.setPen(textColor);
        painter.drawText(rect(), Qt::AlignCenter, fontMetrics().elidedText(text(), Qt::ElideRight, width() - 6));
    }

private:
    Position position_;
};

SegmentButton::Position positionOf(int index, int count) {
    if (count == 1) return SegmentButton::Position::only;
    if (index == 0) return SegmentButton::Position::first;
    return index == count - 1 ? SegmentButton::Position::last : SegmentButton::Position::middle;
}

}  // namespace

SegmentedPicker::SegmentedPicker(const QString& caption, const QStringList& segments, QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    if (!caption.isEmpty()) layout->addWidget(new QLabel(caption, this));
    auto* row = new QHBoxLayout;
    row->setSpacing(0);  // joined segments
    for (int i = 0; i < segments.size(); ++i) {
        auto* button = new SegmentButton(segments[i], positionOf(i, static_cast<int>(segments.size())), this);
        group_->addButton(button, i);
        row->addWidget(button);
    }
    layout->addLayout(row, 1);
    group_->setExclusive(true);
    connect(group_, &QButtonGroup::idClicked, this, &SegmentedPicker::activated);
}

void SegmentedPicker::setCurrentIndex(int index) {
    if (QAbstractButton* button = group_->button(index)) button->setChecked(true);
}

int SegmentedPicker::currentIndex() const { return group_->checkedId(); }

QAbstractButton* SegmentedPicker::segment(int index) const { return group_->button(index); }

}  // namespace vantrel
