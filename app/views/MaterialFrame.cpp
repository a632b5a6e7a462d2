#include "app/views/MaterialFrame.h"

#include <QPainter>
#include <QPainterPath>

#include "app/canvas/CanvasPalette.h"
#include "app/views/Appearance.h"

namespace vantrel {

namespace {

// Without a blur behind it, a panel must be nearly opaque to keep text behind it from
// showing through; the thin material only tints what it lies on.
double opacityOf(Material material) {
    switch (material) {
        case Material::thin: return 0.07;
        case Material::regular: return 0.96;
        case Material::thick: return 0.99;
    }
    return 1.0;
}

}  // namespace

MaterialFrame::MaterialFrame(Material material, double cornerRadius, QWidget* parent)
    : QFrame(parent), material_(material), cornerRadius_(cornerRadius) {
    setAttribute(Qt::WA_TranslucentBackground);
}

void MaterialFrame::setMaterial(Material material) {
    material_ = material;
    update();
}

void MaterialFrame::setBorder(std::optional<Border> border) {
    border_ = std::move(border);
    update();
}

void MaterialFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()), cornerRadius_, cornerRadius_);
    // A thin material sits on other panels and tints them a little; the others are the
    // canvas legend's material, a shade lighter than the window so they stand out on it.
    QColor fill = palette().color(QPalette::Text);
    if (material_ != Material::thin) {
        fill = CanvasPalette(palette()).material();
        fill.setAlphaF(1.0f);
    }
    painter.fillPath(outline, withOpacity(fill, opacityOf(material_)));
    if (!border_) return;
    QPen pen(withOpacity(palette().color(border_->role), border_->opacity), border_->width);
    if (border_->dashed) {
        // Dash lengths of a QPen count in line widths.
        pen.setDashPattern({8.0 / border_->width, 6.0 / border_->width});
        pen.setMiterLimit(10);
    }
    painter.setPen(pen);
    const double inset = border_->width / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), cornerRadius_ - inset,
                            cornerRadius_ - inset);
}

}  // namespace vantrel
