// The text styles and secondary colour of the views, mapped onto the application font
// and palette, so that they follow the light or dark palette whenever it changes.
#pragma once

#include <QString>

class QFont;
class QLabel;
class QWidget;

namespace vantrel {

enum class TextStyle { caption2, caption, callout, body, subheadline, headline, title2 };

// The application font scaled to the style; `headline` is bold.
QFont textStyleFont(TextStyle style, bool semibold = false);

void applyTextStyle(QWidget* widget, TextStyle style, bool semibold = false);

// Text in the palette's secondary label colour (QPalette::PlaceholderText).
void makeSecondary(QWidget* widget);

QLabel* makeLabel(const QString& text, TextStyle style, bool secondary, QWidget* parent = nullptr);

}  // namespace vantrel
