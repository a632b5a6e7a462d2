#include "app/canvas/CanvasShapes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>

namespace vantrel {

QPainterPath nodePath(SymbolKind kind, const QRectF& rect) {
    QPainterPath path;
    const double x = rect.x(), y = rect.y(), w = rect.width(), h = rect.height();
    switch (kind) {
        case SymbolKind::function: path.addEllipse(rect); break;
        case SymbolKind::method:
            path.moveTo(x + w / 2, y);
            path.lineTo(x + w, y + h / 2);
            path.lineTo(x + w / 2, y + h);
            path.lineTo(x, y + h / 2);
            path.closeSubpath();
            break;
        case SymbolKind::component: path = continuousRoundedRect(rect, w * 0.22); break;
        case SymbolKind::classType:
            path.moveTo(x + 0.25 * w, y);
            path.lineTo(x + 0.75 * w, y);
            path.lineTo(x + w, y + 0.5 * h);
            path.lineTo(x + 0.75 * w, y + h);
            path.lineTo(x + 0.25 * w, y + h);
            path.lineTo(x, y + 0.5 * h);
            path.closeSubpath();
            break;
    }
    return path;
}

QPainterPath arrowHeadPath(QPointF tip, QPointF from, double size) {
    const QPointF d = tip - from;
    const double length = std::max(std::hypot(d.x(), d.y()), 0.001);
    const QPointF u = d / length;
    const QPointF base = tip - u * size;
    const QPointF side = QPointF(-u.y(), u.x()) * (size * 0.55);
    QPainterPath path;
    path.moveTo(tip);
    path.lineTo(base + side);
    path.lineTo(base - side);
    path.closeSubpath();
    return path;
}

QPainterPath continuousRoundedRect(const QRectF& rect, double radius) {
    // Each corner is three cubic segments that start 1.5287 × radius from the corner,
    // so the curvature rises gradually instead of jumping at a circular arc's ends.
    constexpr double a = 1.52866483, b = 1.08849323, c = 0.86840689, d = 0.63149399, e = 0.07491100, f = 0.37282392,
                     g = 0.16905899;
    QPainterPath path;
    const double r = radius;
    if (r <= 0 || a * r > std::min(rect.width(), rect.height()) / 2) {
        path.addRoundedRect(rect, r, r);
        return path;
    }
    const double l = rect.left(), t = rect.top(), rt = rect.right(), bm = rect.bottom();
    // Corner points in a corner's own frame: (along the first side, along the second).
    auto corner = [&](QPointF origin, QPointF alongIn, QPointF alongOut) {
        auto at = [&](double in, double out) { return origin + alongIn * in + alongOut * out; };
        path.lineTo(at(a * r, 0));
        path.cubicTo(at(b * r, 0), at(c * r, 0), at(d * r, e * r));
        path.cubicTo(at(f * r, g * r), at(g * r, f * r), at(e * r, d * r));
        path.cubicTo(at(0, c * r), at(0, b * r), at(0, a * r));
    };
    path.moveTo(l + a * r, t);
    corner({rt, t}, {-1, 0}, {0, 1});
    corner({rt, bm}, {0, -1}, {-1, 0});
    corner({l, bm}, {1, 0}, {0, -1});
    corner({l, t}, {0, 1}, {1, 0});
    path.closeSubpath();
    return path;
}

std::size_t edgeHash(std::string_view id) { return std::hash<std::string_view>{}(id); }

double edgeBend(std::size_t fromHash, std::size_t toHash) {
    // (from × 31, wrapping) XOR to, as a signed number, then its magnitude.
    const auto mixed = static_cast<std::int64_t>(static_cast<std::uint64_t>(fromHash) * 31U ^ toHash);
    const std::uint64_t h = mixed < 0 ? 0 - static_cast<std::uint64_t>(mixed) : static_cast<std::uint64_t>(mixed);
    const double side = (h % 2 == 1) ? -1.0 : 1.0;
    return side * static_cast<double>(h % 3 + 1) * 10.0;
}

QPointF edgeControlPoint(QPointF p, QPointF q, double bend) {
    const QPointF d = q - p;
    const double length = std::max(std::sqrt(d.x() * d.x() + d.y() * d.y()), 0.001);
    return (p + q) / 2 + QPointF(-d.y() / length, d.x() / length) * bend;
}

}  // namespace vantrel
