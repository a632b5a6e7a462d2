// Light and dark appearance through the application palette (Fusion style), the
// `colorScheme` preference that chooses between them, and the named colours of the
// views in both appearances.
#pragma once

#include <QColor>
#include <QObject>
#include <QPalette>
#include <QString>
#include <optional>

namespace vantrel {

enum class Appearance { light, dark };

// "light" and "dark" choose an appearance; any other value follows the system.
std::optional<Appearance> resolvedColorScheme(const QString& preference);

QPalette paletteFor(Appearance appearance);

// Whether a palette draws light text on a dark window.
bool isDark(const QPalette& palette);

enum class NamedColor { red, orange, yellow, green, blue, gray, accent };

// The colour in the appearance of `palette` (the dark variants are a little brighter).
QColor namedColor(NamedColor color, const QPalette& palette);

// `color` with its alpha multiplied by `opacity`.
QColor withOpacity(QColor color, double opacity);

// Applies the appearance chosen by the `colorScheme` preference to the application at
// once. "System" restores the palette the platform gave at start.
class ColorSchemeController : public QObject {
    Q_OBJECT

public:
    explicit ColorSchemeController(QObject* parent = nullptr);

    // An appearance that wins over the preference (the screenshot mode's --scheme).
    void setOverride(std::optional<Appearance> appearance);
    void apply();
    std::optional<Appearance> current() const { return current_; }

signals:
    void applied();

private:
    QPalette systemPalette_;
    std::optional<Appearance> override_;
    std::optional<Appearance> current_;
};

}  // namespace vantrel
