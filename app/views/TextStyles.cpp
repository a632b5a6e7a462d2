#include "app/views/TextStyles.h"

#include <QApplication>
#include <QFont>
#include <QLabel>
#include <QPalette>

namespace vantrel {

namespace {

// Relative sizes of the styles against the body text.
double scaleOf(TextStyle style) {
    switch (style) {
        case TextStyle::caption2: return 0.8;
        case TextStyle::caption: return 0.86;
        case TextStyle::callout: return 0.93;
        case TextStyle::subheadline: return 0.9;
        case TextStyle::body:
        case TextStyle::headline: return 1.0;
        case TextStyle::title2: return 1.35;
    }
    return 1.0;
}

}  // namespace

QFont textStyleFont(TextStyle style, bool semibold) {
    QFont font = QApplication::font();
    if (font.pointSizeF() > 0) font.setPointSizeF(font.pointSizeF() * scaleOf(style));
    else font.setPixelSize(qMax(8, qRound(font.pixelSize() * scaleOf(style))));
    if (style == TextStyle::headline) font.setWeight(QFont::Bold);
    else if (semibold) font.setWeight(QFont::DemiBold);
    return font;
}

void applyTextStyle(QWidget* widget, TextStyle style, bool semibold) {
    widget->setFont(textStyleFont(style, semibold));
}

void makeSecondary(QWidget* widget) { widget->setForegroundRole(QPalette::PlaceholderText); }

QLabel* makeLabel(const QString& text, TextStyle style, bool secondary, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    applyTextStyle(label, style);
    if (secondary) makeSecondary(label);
    return label;
}

}  // namespace vantrel
