#include "app/canvas/CanvasPalette.h"

#include <QGuiApplication>
#include <algorithm>

namespace vantrel {

namespace {

// Light and dark variants of the fixed hues; the dark ones are a little brighter so
// they keep their weight on a dark window.
struct Hue {
    QRgb light;
    QRgb dark;
};

Hue hueOf(NamedColor name) {
    switch (name) {
        case NamedColor::red: return {qRgb(255, 59, 48), qRgb(255, 69, 58)};
        case NamedColor::orange: return {qRgb(255, 149, 0), qRgb(255, 159, 10)};
        case NamedColor::yellow: return {qRgb(255, 204, 0), qRgb(255, 214, 10)};
        case NamedColor::green: return {qRgb(52, 199, 89), qRgb(48, 209, 88)};
        case NamedColor::blue: return {qRgb(0, 122, 255), qRgb(10, 132, 255)};
        case NamedColor::purple: return {qRgb(175, 82, 222), qRgb(191, 90, 242)};
        case NamedColor::teal: return {qRgb(0, 150, 150), qRgb(64, 210, 200)};
        case NamedColor::gray: return {qRgb(142, 142, 147), qRgb(152, 152, 157)};
        case NamedColor::white: return {qRgb(255, 255, 255), qRgb(255, 255, 255)};
        case NamedColor::black: return {qRgb(0, 0, 0), qRgb(0, 0, 0)};
        case NamedColor::secondary:
        case NamedColor::accentColor: break;
    }
    return {qRgb(0, 0, 0), qRgb(0, 0, 0)};
}

// Sizes are in the canvas's own unit, the device-independent pixel, in which every
// other size on it is given: a name must fit the node and the tooltip it was measured
// for whatever the screen's DPI.
QFont sized(int pixels, QFont::Weight weight = QFont::Normal) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

}  // namespace

CanvasPalette::CanvasPalette(const QPalette& palette)
    : dark_(palette.color(QPalette::Window).lightness() < 128),
      window_(palette.color(QPalette::Window)),
      text_(palette.color(QPalette::WindowText)),
      accent_(palette.color(QPalette::Highlight)) {
    // Secondary text: the window's text colour at a little over half strength reads as
    // a mid-gray on either background, as placeholder text does.
    secondary_ = palette.color(QPalette::WindowText);
    secondary_.setAlphaF(0.55f);
}

QColor CanvasPalette::color(NamedColor name) const {
    if (name == NamedColor::secondary) return secondary_;
    if (name == NamedColor::accentColor) return accent_;
    Hue hue = hueOf(name);
    return QColor::fromRgb(dark_ ? hue.dark : hue.light);
}

QColor CanvasPalette::color(const ColorRef& ref) const { return color(ref, 1.0); }

QColor CanvasPalette::color(const ColorRef& ref, double opacity) const {
    QColor c = color(ref.name);
    c.setAlphaF(static_cast<float>(std::clamp(c.alphaF() * ref.alpha * opacity, 0.0, 1.0)));
    return c;
}

QColor CanvasPalette::material() const {
    QColor c = window_;
    c = dark_ ? c.lighter(125) : c.lighter(104);
    c.setAlphaF(0.86f);
    return c;
}

QFont CanvasFonts::caption() { return sized(11); }
QFont CanvasFonts::caption2() { return sized(10); }
QFont CanvasFonts::nodeLabel() { return sized(10, QFont::DemiBold); }

}  // namespace vantrel
