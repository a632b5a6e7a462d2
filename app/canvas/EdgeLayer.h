// The edges of a frame, curves and arrow heads, drawn over a transparent ground into an
// image of the view's size in device pixels, for the frame compositor to draw under the
// nodes. The layer is kept while the scene, pan, zoom, view size and pixel ratio stay as
// they were, so a frame that only animates nodes, hover or the tooltip reuses it.
//
// Laying it takes two passes over the compositor's bands. First the edges are placed
// and sorted into bands by chunks of edges, each chunk on one thread; then each band
// gathers its curves, chunk after chunk in the edges' order, into 8-bit masks, one per
// hue (EdgeMask), paints them in their hues onto its rows of the layer and fills its
// arrow heads over them with a painter kept to those rows.
//
// Threads: lay() and the rest are called from the painting thread; lay() runs its passes
// on the compositor's bands and returns when they are done. A band writes only its own
// rows of the layer and its own masks, and a pixel comes out the same whichever band,
// or one band over the whole view, lays it.
#pragma once

#include <QImage>
#include <QPointF>
#include <QSize>
#include <QSizeF>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/EdgeMask.h"

namespace vantrel {

struct GraphFrame;
class FrameCompositor;

// A piece of a quadratic curve: from p to q around control point c.
struct QuadPiece {
    QPointF p, c, q;
};

// A dashed style's curve as the dashes it is drawn in: one every kDashPeriod points
// along it (at least one), each the first kDashShare of its period, from p on.
constexpr double kDashPeriod = 9.0;
constexpr double kDashShare = 0.6;
std::vector<QuadPiece> dashPieces(QPointF p, QPointF c, QPointF q);

class EdgeLayer {
public:
    // Lays the layer anew for `frame`, `pixels` large at `dpr`, unless it holds already.
    // `meanwhile` runs on the calling thread while other threads start on the layer (and
    // before the call returns), or at once when the layer is kept.
    void lay(const GraphFrame& frame, const CanvasPalette& palette, double dpr, QSize pixels, FrameCompositor& bands,
             const std::function<void()>& meanwhile);
    // The edges over a transparent ground, at the pixel ratio of the last lay().
    const QImage& image() const { return image_; }
    // Lays the edges anew at the next frame even if nothing they depend on changed
    // (colours changed, or a benchmark wants the full cost).
    void forget() { key_.reset(); }

private:
    // What the layer was drawn for.
    struct Key {
        std::uint64_t scene = 0;
        QPointF pan;
        double zoom = 0;
        QSizeF viewSize;
        double dpr = 0;
        bool operator==(const Key&) const = default;
    };
    // A curve in device pixels and an arrow head in view points, by their style's index.
    struct Stroke {
        QPointF p, c, q;
        std::uint8_t style;
    };
    struct Arrow {
        QPointF tip, from;
        std::uint8_t style;
    };
    // The curves and heads of a run of edges, and per band the ones that may reach its
    // rows, in drawing order.
    struct Chunk {
        std::vector<Stroke> strokes;
        std::vector<Arrow> arrows;
        std::vector<std::vector<std::uint32_t>> bandStrokes, bandArrows;
    };

    QImage image_;
    std::optional<Key> key_;
    std::vector<NamedColor> hues_;  // in the order their masks are painted
    // Per band, one mask per hue.
    std::vector<std::vector<EdgeMask>> masks_;
    std::vector<Chunk> chunks_;
};

}  // namespace vantrel
