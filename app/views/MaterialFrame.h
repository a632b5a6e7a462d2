// A rounded panel on a translucent "material": the window colour at an opacity by
// thickness, so the graph behind shows faintly through, optionally with a dashed or
// hairline border just inside the outline.
#pragma once

#include <QFrame>
#include <QPalette>
#include <optional>

namespace vantrel {

enum class Material { thin, regular, thick };

class MaterialFrame : public QFrame {
    Q_OBJECT

public:
    // Drawn in a palette colour, so it follows the appearance.
    struct Border {
        QPalette::ColorRole role = QPalette::Text;
        double opacity = 1;
        double width = 1;
        bool dashed = false;  // dashes of 8 with gaps of 6
    };

    MaterialFrame(Material material, double cornerRadius, QWidget* parent = nullptr);

    void setMaterial(Material material);
    void setBorder(std::optional<Border> border);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Material material_;
    double cornerRadius_;
    std::optional<Border> border_;
};

}  // namespace vantrel
