// Paints one frame of the graph: edges with their arrow heads, then the nodes in
// ascending id order, then the hover tooltip. Shapes wholly outside the view are
// skipped; everything else is drawn in full.
#pragma once

#include <QFont>
#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QStaticText>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/CanvasTooltip.h"
#include "app/canvas/EdgeMask.h"
#include "app/canvas/GraphScene.h"
#include "app/canvas/NodeDrawing.h"
#include "core/util/ParallelFor.h"

namespace vantrel {

// screen = (place + pan - center) * zoom + center, on both axes.
struct ViewTransform {
    QPointF pan;
    double zoom = 1.0;
    QPointF center;
    QPointF toScreen(QPointF place) const { return (place + pan - center) * zoom + center; }
};

struct TooltipFrame {
    TooltipText text;
    QPointF node;        // the node's screen point
    double radius = 18;  // its radius, without pulse or hover scale
    double opacity = 1.0;
};

// The presentation state of one frame.
struct GraphFrame {
    const GraphScene* scene = nullptr;
    ViewTransform transform;
    QSizeF viewSize;
    const std::vector<QPointF>* nodePlaces = nullptr;       // per point, where nodes stand now
    double selectionPulse = 0;                              // 1 falling to 0
    std::optional<std::size_t> hovered;                     // a symbol
    std::vector<std::pair<std::size_t, double>> scaled;     // symbols whose hover scale is not 1
    const std::vector<std::uint8_t>* searchHits = nullptr;  // per symbol; none: no search
    double nodeSizeFactor = 1.0;                            // of the `graphNodeSize` preference
    std::optional<TooltipFrame> tooltip;

    double scaleOf(std::size_t symbol) const;
};

// Where a node's square stands on screen and what it shows.
struct NodeBox {
    QRectF square;    // hover scale included
    double size = 0;  // before the hover scale
    double scale = 1.0;
    bool labelInside = false;
    bool labelBelow = false;
};

// The node's column (the square and, for mid-sized unselected nodes, the name under
// it) is centred on its screen point and scaled about it.
NodeBox nodeBox(const GraphFrame& frame, std::size_t symbol, double captionLineHeight);

class GraphPainter {
public:
    // `threads`, the caller among them, share out the frame by bands of rows (0: one per
    // processor, at most four; 1: all on the caller, straight onto the painter's device).
    // The picture is the same, pixel for pixel, for any number.
    explicit GraphPainter(int threads = 0);
    ~GraphPainter();
    void paint(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette);
    // Fonts or colours changed.
    void invalidate();
    // Lays the edges anew at the next frame even if nothing they depend on changed.
    void forgetEdges() { edgeLayerKey_.reset(); }
    double captionLineHeight() const { return captionLineHeight_; }

private:
    // A node as the frame draws it: a ready-drawn image, or (glowing, scaled or named)
    // drawn in full by paintNode, on the caller's thread.
    struct NodeOp {
        QImage sprite;  // null for a node drawn in full
        QPointF at;
        std::uint32_t full = 0;  // its index in fullNodes_
    };
    struct FullNode {
        std::size_t symbol;
        NodeBox box;
        NodeStyle style;
    };

    // Lays the edge layer anew if its key changed; `meanwhile` runs on the calling
    // thread while other threads start on the layer (and before the call returns).
    void layEdges(const GraphFrame& frame, const CanvasPalette& palette, double dpr, QSize pixels,
                  const std::function<void()>& meanwhile);
    void collectNodes(const GraphFrame& frame, const CanvasPalette& palette, double dpr);
    void composeInBands(const GraphFrame& frame, const CanvasPalette& palette, double dpr, QSize pixels);
    void paintNode(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette, std::size_t symbol,
                   const NodeBox& box, const NodeStyle& style);
    void paintTooltip(QPainter& painter, const TooltipFrame& tooltip, QSizeF viewSize) const;
    const QStaticText& labelBelow(const GraphScene& scene, std::size_t symbol, double width);
    // The bands that device rows [top, bottom] reach.
    std::pair<int, int> bandsOf(double top, double bottom) const;

    NodeSpriteCache sprites_;
    std::optional<CanvasPalette> spritePalette_;  // the colours the sprites were drawn in
    QImage edgeLayer_;                            // the edges over a transparent ground
    QImage frame_;                                // the frame put together in bands
    // What the edge layer was drawn for: while it holds, a frame that only animates
    // nodes, hover or the tooltip reuses the layer.
    struct EdgeLayerKey {
        std::uint64_t scene = 0;
        QPointF pan;
        double zoom = 0;
        QSizeF viewSize;
        double dpr = 0;
        bool operator==(const EdgeLayerKey&) const = default;
    };
    std::optional<EdgeLayerKey> edgeLayerKey_;
    std::vector<NamedColor> edgeHues_;  // in the order their masks are painted
    // Bands of rows, two per thread: dense and sparse stretches even out, and few bands
    // flatten few curves twice.
    int bands_ = 1;
    int bandHeight_ = 0;
    // Per band, one mask per hue.
    std::vector<std::vector<EdgeMask>> edgeMasks_;
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
    struct EdgeChunk {
        std::vector<Stroke> strokes;
        std::vector<Arrow> arrows;
        std::vector<std::vector<std::uint32_t>> bandStrokes, bandArrows;
    };
    std::vector<EdgeChunk> edgeChunks_;
    std::vector<NodeOp> nodeOps_;  // in drawing order
    std::vector<FullNode> fullNodes_;
    std::vector<std::size_t> fullOps_;  // where in nodeOps_ the full nodes stand
    // Per band, the node images that may reach its rows, in drawing order.
    std::vector<std::vector<std::uint32_t>> bandNodes_;
    // Calls work(band) once for every band in [0, count), each band on exactly one thread,
    // and returns when all are done; the caller first runs `first`, work of its own that
    // the bands do not touch. Which thread takes a band depends on timing, so a band's
    // work must depend on nothing but the band.
    void runBands(int count, const std::function<void(int)>& work, const std::function<void()>& first = {});
    int threads_;
    std::unique_ptr<WorkerPool> pool_;  // threads_ - 1 helpers; the caller is the last lane
    QFont caption_, captionBold_, caption2_, nodeLabel_;
    double captionLineHeight_ = 0;
    const GraphTopology* labelsFor_ = nullptr;
    double labelWidth_ = 0;
    std::vector<std::optional<QStaticText>> labels_;
};

}  // namespace vantrel
