#include "app/canvas/NodeDrawing.h"

#include <QPen>
#include <algorithm>
#include <cmath>
#include <vector>

#include "app/canvas/CanvasShapes.h"

namespace vantrel {

namespace {

constexpr int kPhases = 4;  // sprite positions are kept to a quarter pixel
constexpr std::size_t kMaxSprites = 4096;

// Room around the square for the stroke, miter corners included.
double strokeMargin(double lineWidth) { return std::ceil(lineWidth * 1.5) + 2.0; }

// One pass of a box blur of radius `r` along rows (step 1) or columns (step w).
void boxBlur(const std::vector<float>& from, std::vector<float>& to, int w, int h, int r, bool alongRows) {
    const int lines = alongRows ? h : w, length = alongRows ? w : h;
    const int step = alongRows ? 1 : w, lineStep = alongRows ? w : 1;
    const float scale = 1.0f / static_cast<float>(2 * r + 1);
    for (int line = 0; line < lines; ++line) {
        const int base = line * lineStep;
        auto at = [&](int i) { return i < 0 || i >= length ? 0.0f : from[base + i * step]; };
        float sum = 0;
        for (int i = -r; i <= r; ++i) sum += at(i);
        for (int i = 0; i < length; ++i) {
            to[base + i * step] = sum * scale;
            sum += at(i + r + 1) - at(i - r);
        }
    }
}

// A Gaussian blur of the image's alpha channel with standard deviation `sigma`, as
// three box blurs each way, then every pixel set to `color` at the blurred alpha.
void blurAndTint(QImage& image, double sigma, const QColor& color) {
    const int w = image.width(), h = image.height();
    // Three boxes of radius r have the variance of the Gaussian when (2r+1)² = 4σ² + 1.
    const int r = std::max(1, static_cast<int>(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2)));
    std::vector<float> alpha(static_cast<std::size_t>(w) * h), pass(alpha.size());
    for (int y = 0; y < h; ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < w; ++x) alpha[y * w + x] = qAlpha(line[x]) / 255.0f;
    }
    for (int i = 0; i < 3; ++i) {
        boxBlur(alpha, pass, w, h, r, true);
        boxBlur(pass, alpha, w, h, r, false);
    }
    const QRgb tint = color.rgb() & 0xffffff;
    const double baseAlpha = color.alphaF();
    for (int y = 0; y < h; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < w; ++x) {
            const int a = static_cast<int>(std::lround(std::clamp(baseAlpha * alpha[y * w + x], 0.0, 1.0) * 255));
            line[x] = qPremultiply((static_cast<QRgb>(a) << 24) | tint);
        }
    }
}

// The smallest rectangle holding every pixel of the image that is not fully transparent.
QRect paintedRect(const QImage& image) {
    int left = image.width(), right = -1, top = image.height(), bottom = -1;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(line[x]) == 0) continue;
            left = std::min(left, x), right = std::max(right, x);
            top = std::min(top, y), bottom = std::max(bottom, y);
        }
    }
    return right < 0 ? QRect() : QRect(QPoint(left, top), QPoint(right, bottom));
}

}  // namespace

void drawNodeShape(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
                   const CanvasPalette& palette) {
    const QPainterPath path = nodePath(kind, square);
    painter.fillPath(path, palette.color(style.fill, style.opacity));
    QPen pen(palette.color(style.stroke, style.opacity), style.lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setMiterLimit(10);
    painter.strokePath(path, pen);
}

void drawNodeGlow(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
                  const CanvasPalette& palette, const QColor& color, double blurRadius) {
    // The radius of the toolkit's shadows is read as twice the blur's standard deviation.
    const double sigma = blurRadius / 2;
    const double dpr = painter.device()->devicePixelRatioF();
    const double margin = strokeMargin(style.lineWidth) + std::ceil(sigma * 3);
    const QRectF area = square.adjusted(-margin, -margin, margin, margin);
    QImage image(
        QSize(static_cast<int>(std::ceil(area.width() * dpr)), static_cast<int>(std::ceil(area.height() * dpr))),
        QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter mask(&image);
        mask.setRenderHint(QPainter::Antialiasing);
        mask.scale(dpr, dpr);
        drawNodeShape(mask, kind, style, square.translated(-area.topLeft()), palette);
    }
    blurAndTint(image, sigma * dpr, color);
    image.setDevicePixelRatio(dpr);
    painter.drawImage(area.topLeft(), image);
}

std::size_t NodeSpriteCache::KeyHash::operator()(const Key& k) const noexcept {
    std::size_t h = static_cast<std::size_t>(k.kind);
    for (std::size_t v : {std::size_t(k.fill), std::size_t(k.stroke), std::size_t(k.lineWidth64), std::size_t(k.size64),
                          std::size_t(k.phaseX), std::size_t(k.phaseY), std::size_t(k.dpr64)})
        h = h * 1000003U ^ v;
    return h;
}

void NodeSpriteCache::draw(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
                           const CanvasPalette& palette) {
    const Placed placed = place(kind, style, square, palette, painter.device()->devicePixelRatioF());
    painter.drawImage(placed.at, placed.image);
}

NodeSpriteCache::Placed NodeSpriteCache::place(SymbolKind kind, const NodeStyle& style, const QRectF& square,
                                               const CanvasPalette& palette, double dpr) {
    const double margin = strokeMargin(style.lineWidth);
    // The image's origin lands on a whole device pixel; the square keeps its fraction
    // to a quarter pixel.
    const double left = (square.left() - margin) * dpr, top = (square.top() - margin) * dpr;
    const double originX = std::floor(left), originY = std::floor(top);
    int phaseX = static_cast<int>(std::lround((left - originX) * kPhases));
    int phaseY = static_cast<int>(std::lround((top - originY) * kPhases));
    const double snappedX = originX + phaseX / double(kPhases), snappedY = originY + phaseY / double(kPhases);

    auto colors = std::find_if(resolved_.begin(), resolved_.end(), [&](const auto& r) { return r.first == style; });
    if (colors == resolved_.end())
        colors = resolved_.insert(resolved_.end(), {style,
                                                    {palette.color(style.fill, style.opacity).rgba(),
                                                     palette.color(style.stroke, style.opacity).rgba()}});
    const Key key{kind,
                  colors->second.first,
                  colors->second.second,
                  static_cast<std::int32_t>(std::lround(style.lineWidth * 64)),
                  static_cast<std::int32_t>(std::lround(square.width() * 64)),
                  static_cast<std::int8_t>(phaseX),
                  static_cast<std::int8_t>(phaseY),
                  static_cast<std::int32_t>(std::lround(dpr * 64))};
    auto it = sprites_.find(key);
    if (it == sprites_.end()) {
        if (sprites_.size() >= kMaxSprites) sprites_.clear();
        const double side = (square.width() + 2 * margin) * dpr + 1;
        QImage image(QSize(static_cast<int>(std::ceil(side)), static_cast<int>(std::ceil(side))),
                     QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter p(&image);
            p.setRenderHint(QPainter::Antialiasing);
            p.scale(dpr, dpr);
            const QPointF corner((snappedX - originX) / dpr + margin, (snappedY - originY) / dpr + margin);
            drawNodeShape(p, kind, style, QRectF(corner, square.size()), palette);
        }
        // Fully transparent pixels change nothing where the image lands: they are cut
        // away, where moving the origin by whole device pixels keeps it exact.
        QPoint offset;
        if (const double whole = std::exp2(std::round(std::log2(dpr))); whole == dpr) {
            const QRect opaque = paintedRect(image);
            if (!opaque.isEmpty() && opaque != image.rect()) {
                offset = opaque.topLeft();
                image = image.copy(opaque);
            }
        }
        image.setDevicePixelRatio(dpr);
        it = sprites_.emplace(key, Sprite{std::move(image), offset}).first;
    }
    const QPoint offset = it->second.offset;
    return {it->second.image, QPointF((originX + offset.x()) / dpr, (originY + offset.y()) / dpr)};
}

}  // namespace vantrel
