// The canvas's named colours and text styles. Styles are computed as names (with an
// alpha factor) so they stay testable without a palette; a CanvasPalette turns them into
// colours for the widget's current QPalette, light or dark.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace vantrel {

// Purple is no level's and not the downstream's: diff mode marks added edges with it.
// Teal marks the working tree's changed symbols: a hue no level, the downstream or diff
// mode uses.
enum class NamedColor { red, orange, yellow, green, blue, purple, teal, gray, white, black, secondary, accentColor };

// A named colour with its alpha multiplied by `alpha`.
struct ColorRef {
    NamedColor name = NamedColor::gray;
    double alpha = 1.0;
    bool operator==(const ColorRef&) const = default;
};

inline ColorRef named(NamedColor name, double alpha = 1.0) { return {name, alpha}; }

class CanvasPalette {
public:
    explicit CanvasPalette(const QPalette& palette);

    bool isDark() const { return dark_; }
    QColor color(NamedColor name) const;
    QColor color(const ColorRef& ref) const;
    // The colour with its alpha multiplied once more (a style's opacity on top of it).
    QColor color(const ColorRef& ref, double opacity) const;
    QColor windowBackground() const { return window_; }
    // The window's text colour, for names read on the canvas.
    QColor text() const { return text_; }
    // The panel behind the legend: the window colour, translucent.
    QColor material() const;
    bool operator==(const CanvasPalette&) const = default;

private:
    bool dark_ = false;
    QColor window_;
    QColor text_;
    QColor secondary_;
    QColor accent_;
};

// Text styles of the canvas in the application font's family: caption 11, caption2 10,
// and the name inside a selected node 10 semibold, in device-independent pixels.
struct CanvasFonts {
    CanvasFonts() = delete;
    static QFont caption();
    static QFont caption2();
    static QFont nodeLabel();
};

}  // namespace vantrel
