// Light and dark appearance through the application palette (Fusion style) and the
// `colorScheme` preference that chooses between them. The named colours (red, orange,
// accent…) of the views are the canvas's, from CanvasPalette.
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
