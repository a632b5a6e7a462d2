#include <QColor>
#include <QLineF>
#include <QPainter>
#include <QPen>
#include <QRectF>
#include <QTransform>

#include "imageexport/ExportPlacement.h"
#include "imageexport/GraphExport.h"

namespace vantrel {

namespace {

QColor gray(double white, double alpha) { return QColor::fromRgbF(white, white, white, alpha); }

}  // namespace

QImage GraphExport::renderPNG(const ProjectIR& ir, const NodePositions& positions, int width, int height) {
    if (width <= 0 || height <= 0) return QImage();
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) return image;
    image.fill(Qt::white);

    const double w = width;
    const double h = height;
    auto placed = [&](const std::string& id, QPointF* point) {
        auto it = positions.find(id);
        if (it == positions.end()) return false;
        const Point p = placeOnDrawing(it->second, w, h);
        *point = QPointF(p.x, p.y);
        return true;
    };

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, true);
    // Origin at the lower left with y growing upward.
    painter.setTransform(QTransform(1, 0, 0, -1, 0, h));

    // Butt caps, so a self-call's line of no length leaves no mark.
    QPen linePen(gray(0.55, 0.28), 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    painter.setPen(linePen);
    painter.setBrush(Qt::NoBrush);
    for (const auto& [id, symbol] : ir.symbols) {
        QPointF from;
        if (!placed(id, &from)) continue;
        for (const auto& callee : symbol.refsOut) {
            QPointF to;
            if (placed(callee, &to)) painter.drawLine(QLineF(from, to));
        }
    }

    painter.setPen(QPen(gray(0.1, 1.0), 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter.setBrush(gray(0.25, 0.9));
    for (const auto& entry : ir.symbols) {
        QPointF at;
        if (placed(entry.first, &at)) painter.drawEllipse(QRectF(at.x() - 4.0, at.y() - 4.0, 8.0, 8.0));
    }
    painter.end();
    return image;
}

}  // namespace vantrel
