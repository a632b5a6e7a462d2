#include "app/views/Appearance.h"

#include <QApplication>
#include <QStyleHints>

#include "app/canvas/CanvasPalette.h"
#include "app/state/Preferences.h"

namespace vantrel {

namespace {

struct PaletteColors {
    QColor window, windowText, base, alternateBase, text, button, buttonText, highlight, highlightedText, placeholder,
        light, midlight, mid, dark, shadow, link, toolTipBase, toolTipText;
};

PaletteColors lightColors() {
    return {QColor(0xEC, 0xEC, 0xEC), QColor(0x1D, 0x1D, 0x1F), QColor(0xFF, 0xFF, 0xFF), QColor(0xF4, 0xF5, 0xF5),
            QColor(0x1D, 0x1D, 0x1F), QColor(0xF7, 0xF7, 0xF7), QColor(0x1D, 0x1D, 0x1F), QColor(0x00, 0x7A, 0xFF),
            QColor(0xFF, 0xFF, 0xFF), QColor(60, 60, 67, 153),  QColor(0xFF, 0xFF, 0xFF), QColor(0xF2, 0xF2, 0xF2),
            QColor(0xB8, 0xB8, 0xB8), QColor(0x9E, 0x9E, 0x9E), QColor(0x6E, 0x6E, 0x6E), QColor(0x00, 0x66, 0xD6),
            QColor(0xFF, 0xFF, 0xE6), QColor(0x1D, 0x1D, 0x1F)};
}

PaletteColors darkColors() {
    return {QColor(0x2A, 0x2A, 0x2C), QColor(0xEB, 0xEB, 0xF0),   QColor(0x1E, 0x1E, 0x20), QColor(0x26, 0x26, 0x28),
            QColor(0xEB, 0xEB, 0xF0), QColor(0x3A, 0x3A, 0x3C),   QColor(0xEB, 0xEB, 0xF0), QColor(0x0A, 0x84, 0xFF),
            QColor(0xFF, 0xFF, 0xFF), QColor(235, 235, 245, 153), QColor(0x55, 0x55, 0x58), QColor(0x45, 0x45, 0x48),
            QColor(0x30, 0x30, 0x32), QColor(0x18, 0x18, 0x1A),   QColor(0x0C, 0x0C, 0x0D), QColor(0x4D, 0xA3, 0xFF),
            QColor(0x3A, 0x3A, 0x3C), QColor(0xEB, 0xEB, 0xF0)};
}

}  // namespace

std::optional<Appearance> resolvedColorScheme(const QString& preference) {
    if (preference == QLatin1String("light")) return Appearance::light;
    if (preference == QLatin1String("dark")) return Appearance::dark;
    return std::nullopt;
}

QPalette paletteFor(Appearance appearance) {
    const PaletteColors c = appearance == Appearance::dark ? darkColors() : lightColors();
    QPalette palette;
    auto setAll = [&palette](QPalette::ColorRole role, const QColor& color) {
        palette.setColor(QPalette::All, role, color);
    };
    setAll(QPalette::Window, c.window);
    setAll(QPalette::WindowText, c.windowText);
    setAll(QPalette::Base, c.base);
    setAll(QPalette::AlternateBase, c.alternateBase);
    setAll(QPalette::Text, c.text);
    setAll(QPalette::Button, c.button);
    setAll(QPalette::ButtonText, c.buttonText);
    setAll(QPalette::BrightText, Qt::white);
    setAll(QPalette::Highlight, c.highlight);
    setAll(QPalette::HighlightedText, c.highlightedText);
    setAll(QPalette::PlaceholderText, c.placeholder);
    setAll(QPalette::Light, c.light);
    setAll(QPalette::Midlight, c.midlight);
    setAll(QPalette::Mid, c.mid);
    setAll(QPalette::Dark, c.dark);
    setAll(QPalette::Shadow, c.shadow);
    setAll(QPalette::Link, c.link);
    setAll(QPalette::LinkVisited, c.link);
    setAll(QPalette::ToolTipBase, c.toolTipBase);
    setAll(QPalette::ToolTipText, c.toolTipText);
    // Disabled controls keep their shape and fade their text.
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, withOpacity(palette.color(QPalette::Active, role), 0.35));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, c.mid);
    palette.setColor(QPalette::Inactive, QPalette::Highlight, withOpacity(c.highlight, 0.55));
    return palette;
}

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(color.alphaF() * opacity));
    return color;
}

ColorSchemeController::ColorSchemeController(QObject* parent)
    : QObject(parent), systemPalette_(QApplication::palette()) {}

void ColorSchemeController::setOverride(std::optional<Appearance> appearance) { override_ = appearance; }

void ColorSchemeController::apply() {
    std::optional<Appearance> chosen =
        override_ ? override_ : resolvedColorScheme(Preferences::value(prefkeys::kColorScheme).toString());
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Where the platform tells its own scheme, "system" follows it.
    if (!chosen && QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark &&
        !CanvasPalette(systemPalette_).isDark())
        chosen = Appearance::dark;
#endif
    current_ = chosen;
    QApplication::setPalette(chosen ? paletteFor(*chosen) : systemPalette_);
    emit applied();
}

}  // namespace vantrel
