// Drawing one node's shape, its glow, and a cache of ready-drawn node images so that
// thousands of alike nodes cost one image copy each.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/CanvasStyles.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// The node's shape in `square`, filled with the fill colour and stroked with the
// stroke colour (butt caps, miter joins, miter limit 10), both at the style's opacity.
void drawNodeShape(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
                   const CanvasPalette& palette);

// A glow without offset: what drawNodeShape would draw, blurred by `blurRadius` and
// tinted with `color`, painted under the node.
void drawNodeGlow(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
                  const CanvasPalette& palette, const QColor& color, double blurRadius);

// Images of plain nodes (no glow, no text) by kind, resolved style, size and the
// quarter-pixel phase of their position, at the painter's device pixel ratio. Drawn
// where the node goes, an image gives the same pixels as drawNodeShape would.
class NodeSpriteCache {
public:
    void draw(QPainter& painter, SymbolKind kind, const NodeStyle& style, const QRectF& square,
              const CanvasPalette& palette);
    // The image that draw() would put down and where, for a device of `dpr`.
    struct Placed {
        QImage image;
        QPointF at;
    };
    Placed place(SymbolKind kind, const NodeStyle& style, const QRectF& square, const CanvasPalette& palette,
                 double dpr);
    // Colours are resolved into the images: call when the palette changes.
    void clear() {
        sprites_.clear();
        resolved_.clear();
    }

private:
    struct Key {
        SymbolKind kind;
        QRgb fill;
        QRgb stroke;
        std::int32_t lineWidth64;  // in 1/64 points
        std::int32_t size64;
        std::int8_t phaseX;
        std::int8_t phaseY;
        std::int32_t dpr64;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept;
    };
    struct Sprite {
        QImage image;   // without the fully transparent border
        QPoint offset;  // of the image's corner from the drawing's, in device pixels
    };
    std::unordered_map<Key, Sprite, KeyHash> sprites_;
    // Styles repeat from node to node: their resolved colours are kept.
    std::vector<std::pair<NodeStyle, std::pair<QRgb, QRgb>>> resolved_;
};

}  // namespace vantrel
