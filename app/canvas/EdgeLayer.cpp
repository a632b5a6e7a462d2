#include "app/canvas/EdgeLayer.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "app/canvas/CanvasShapes.h"
#include "app/canvas/FrameCompositor.h"
#include "app/canvas/GraphPainter.h"
#include "app/canvas/GraphScene.h"

namespace vantrel {

namespace {

QRectF curveBounds(QPointF p, QPointF c, QPointF q) {
    const double left = std::min({p.x(), c.x(), q.x()}), right = std::max({p.x(), c.x(), q.x()});
    const double top = std::min({p.y(), c.y(), q.y()}), bottom = std::max({p.y(), c.y(), q.y()});
    return QRectF(left, top, right - left, bottom - top);
}

}  // namespace

std::vector<QuadPiece> dashPieces(QPointF p, QPointF c, QPointF q) {
    // The curve's length lies between its chord and its control polygon.
    const auto length = [](QPointF v) { return std::hypot(v.x(), v.y()); };
    const double around = (length(q - p) + length(c - p) + length(q - c)) / 2;
    const int dashes = std::max(1, static_cast<int>(std::lround(around / kDashPeriod)));
    // The piece of the curve between parameters a and b, by its blossom.
    const auto at = [&](double a, double b) {
        return p * ((1 - a) * (1 - b)) + c * ((1 - a) * b + a * (1 - b)) + q * (a * b);
    };
    std::vector<QuadPiece> pieces;
    for (int i = 0; i < dashes; ++i) {
        const double a = static_cast<double>(i) / dashes, b = a + kDashShare / dashes;
        pieces.push_back({at(a, a), at(a, b), at(b, b)});
    }
    return pieces;
}

void EdgeLayer::lay(const GraphFrame& frame, const CanvasPalette& palette, double dpr, QSize pixels,
                    FrameCompositor& bands, const std::function<void()>& meanwhile) {
    const GraphScene& scene = *frame.scene;
    const auto& styles = scene.edgeStyles();
    const int bandCount = bands.bands();
    const Key key{scene.serial(), frame.transform.pan, frame.transform.zoom, frame.viewSize, dpr};
    if (key_ == key && static_cast<int>(masks_.size()) == bandCount) {
        meanwhile();
        return;
    }
    key_ = key;
    if (image_.size() != pixels || static_cast<int>(masks_.size()) != bandCount) {
        image_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        hues_.clear();
        masks_.assign(bandCount, {});
    }
    image_.setDevicePixelRatio(1.0);

    // One mask per hue; every style of a hue adds to it with its own alpha. Strokes of
    // different hues may be laid in any order: the plain ones go first, so that the
    // coloured ones stand out.
    const int bandHeight = bands.bandHeight();
    for (const EdgeStyle& style : styles) {
        if (std::find(hues_.begin(), hues_.end(), style.color.name) != hues_.end()) continue;
        const auto rank = [](NamedColor hue) { return hue == NamedColor::secondary ? -1 : static_cast<int>(hue); };
        auto at = std::find_if(hues_.begin(), hues_.end(),
                               [&](NamedColor hue) { return rank(hue) > rank(style.color.name); });
        for (int band = 0; band < bandCount; ++band)
            masks_[band].emplace(masks_[band].begin() + (at - hues_.begin()), pixels, band * bandHeight,
                                 (band + 1) * bandHeight);
        hues_.insert(at, style.color.name);
    }
    std::vector<std::size_t> maskOf;
    std::vector<double> alphas;
    std::vector<QColor> arrowColors;
    for (const EdgeStyle& style : styles) {
        maskOf.push_back(
            static_cast<std::size_t>(std::find(hues_.begin(), hues_.end(), style.color.name) - hues_.begin()));
        alphas.push_back(palette.color(style.color, style.opacity).alphaF());
        arrowColors.push_back(palette.color(style.color, std::min(style.opacity + 0.15, 1.0)));
    }

    // Curves and heads are placed and sorted into bands by chunks of edges on the
    // team; each band then takes the chunks in turn, which keeps the edges' order.
    const auto& edges = scene.topology().edges();
    const int chunkCount = std::max(1, std::min<int>(2 * bands.threads(), static_cast<int>(edges.size() / 4096) + 1));
    if (static_cast<int>(chunks_.size()) != chunkCount) chunks_.resize(chunkCount);
    const QRectF view(QPointF(0, 0), frame.viewSize);
    bands.runBands(chunkCount, [&](int k) {
        Chunk& chunk = chunks_[k];
        chunk.strokes.clear();
        chunk.arrows.clear();
        chunk.bandStrokes.resize(bandCount);
        chunk.bandArrows.resize(bandCount);
        for (auto& list : chunk.bandStrokes) list.clear();
        for (auto& list : chunk.bandArrows) list.clear();
        const std::size_t end = edges.size() * (k + 1) / chunkCount;
        for (std::size_t e = edges.size() * k / chunkCount; e < end; ++e) {
            const std::uint8_t index = scene.edgeStyleIndex(e);
            if (index == GraphScene::kNoEdge) continue;
            const EdgeStyle& style = styles[index];
            const QPointF p = frame.transform.toScreen(scene.place(edges[e].from));
            const QPointF q = frame.transform.toScreen(scene.place(edges[e].to));
            const QPointF c = edgeControlPoint(p, q, edges[e].bend);
            const double reach = style.lineWidth + (style.showArrow ? style.arrowSize : 0);
            const QRectF bounds = curveBounds(p, c, q);
            if (!bounds.adjusted(-reach, -reach, reach, reach).intersects(view)) continue;
            // The curve stays inside the triangle of its points; its stroke is no wider
            // than the line width, and antialiasing adds a pixel.
            const double rows = (style.lineWidth + 1) * dpr + 2;
            const auto [first, last] = bands.bandsOf(bounds.top() * dpr - rows, bounds.bottom() * dpr + rows);
            const auto addStroke = [&](const QuadPiece& piece) {
                for (int band = first; band <= last; ++band)
                    chunk.bandStrokes[band].push_back(static_cast<std::uint32_t>(chunk.strokes.size()));
                chunk.strokes.push_back({piece.p * dpr, piece.c * dpr, piece.q * dpr, index});
            };
            if (style.dashed) {
                for (const QuadPiece& piece : dashPieces(p, c, q)) addStroke(piece);
            } else {
                addStroke({p, c, q});  // no list for the many plain edges
            }
            if (style.showArrow) {
                // The head lies within 1.15 × its size of its tip.
                const double head = (1.2 * style.arrowSize + 1) * dpr + 2;
                const auto [top, bottom] = bands.bandsOf(q.y() * dpr - head, q.y() * dpr + head);
                for (int band = top; band <= bottom; ++band)
                    chunk.bandArrows[band].push_back(static_cast<std::uint32_t>(chunk.arrows.size()));
                chunk.arrows.push_back({q, c, index});
            }
        }
    });

    std::vector<QRgb> hueColors;
    for (NamedColor hue : hues_) hueColors.push_back(palette.color(hue).rgb());
    uchar* const layerBits = image_.bits();
    const qsizetype layerStride = image_.bytesPerLine();
    bands.runBands(
        bandCount,
        [&](int band) {
            const auto [firstRow, endRow] = bands.rowsOf(band);
            if (firstRow >= endRow) return;
            std::memset(layerBits + firstRow * layerStride, 0,
                        static_cast<std::size_t>((endRow - firstRow) * layerStride));
            std::vector<EdgeMask>& masks = masks_[band];
            bool anyArrow = false;
            for (const Chunk& chunk : chunks_) {
                for (const std::uint32_t i : chunk.bandStrokes[band]) {
                    const Stroke& stroke = chunk.strokes[i];
                    masks[maskOf[stroke.style]].strokeQuad(stroke.p, stroke.c, stroke.q,
                                                           styles[stroke.style].lineWidth * dpr, alphas[stroke.style]);
                }
                anyArrow = anyArrow || !chunk.bandArrows[band].empty();
            }
            for (std::size_t h = 0; h < hues_.size(); ++h) masks[h].paintOnto(layerBits, layerStride, hueColors[h]);
            if (!anyArrow) return;
            // A painter of its own over the same pixels, kept to the band's rows.
            QImage rows(layerBits, pixels.width(), pixels.height(), layerStride, QImage::Format_ARGB32_Premultiplied);
            QPainter layer(&rows);
            layer.setClipRect(QRect(0, firstRow, pixels.width(), endRow - firstRow));
            layer.setRenderHint(QPainter::Antialiasing);
            layer.scale(dpr, dpr);
            for (const Chunk& chunk : chunks_) {
                for (const std::uint32_t i : chunk.bandArrows[band]) {
                    const Arrow& arrow = chunk.arrows[i];
                    layer.fillPath(arrowHeadPath(arrow.tip, arrow.from, styles[arrow.style].arrowSize),
                                   arrowColors[arrow.style]);
                }
            }
        },
        meanwhile);
    image_.setDevicePixelRatio(dpr);
}

}  // namespace vantrel
