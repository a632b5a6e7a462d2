// Paints one frame of the graph: edges with their arrow heads, then the nodes in
// ascending id order, then the names beside nodes (CanvasLabels), then the hover tooltip. Shapes wholly outside the
// view are skipped; everything else is drawn in full.
//
// The view paints through this class alone. It decides which nodes a frame shows and
// how (ready-drawn images from its sprite cache, or drawn in full with glow, hover scale
// and names) and draws the tooltip; its EdgeLayer draws the edges, and its
// FrameCompositor shares the frame out in bands of rows and puts it together. One thread
// paints at a time; the helper threads are the compositor's own.
#pragma once

#include <QFont>
#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QStaticText>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/canvas/CanvasLabels.h"
#include "app/canvas/CanvasPalette.h"
#include "app/canvas/CanvasTooltip.h"
#include "app/canvas/EdgeLayer.h"
#include "app/canvas/FrameCompositor.h"
#include "app/canvas/GraphScene.h"
#include "app/canvas/NodeDrawing.h"

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
    void forgetEdges() { edges_.forget(); }
    double captionLineHeight() const { return captionLineHeight_; }
    // The names beside nodes in the last frame painted.
    const std::vector<PlacedLabel>& labels() const { return placedLabels_; }

private:
    // A node drawn in full by paintNode (glowing, scaled or named), on the caller's thread.
    struct FullNode {
        std::size_t symbol;
        NodeBox box;
        NodeStyle style;
    };

    void collectNodes(const GraphFrame& frame, const CanvasPalette& palette, double dpr);
    void paintNode(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette, std::size_t symbol,
                   const NodeBox& box, const NodeStyle& style);
    void paintTooltip(QPainter& painter, const TooltipFrame& tooltip, QSizeF viewSize) const;
    void placeNames(const GraphFrame& frame);
    void paintNames(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette);
    QString groupName(const GraphScene& scene, std::size_t symbol) const;
    const QStaticText& nameBeside(const GraphScene& scene, std::size_t symbol);

    // Prepared names of one graph's symbols, elided to one width, made as first needed.
    class NameCache {
    public:
        const QStaticText& get(const GraphTopology& graph, std::size_t symbol, const QFont& font, double width);
        void clear() {
            names_.clear();
            graph_ = nullptr;
        }

    private:
        const GraphTopology* graph_ = nullptr;
        double width_ = 0;
        std::vector<std::optional<QStaticText>> names_;
    };

    NodeSpriteCache sprites_;
    std::optional<CanvasPalette> spritePalette_;  // the colours the sprites were drawn in
    FrameCompositor compositor_;
    EdgeLayer edges_;
    std::vector<FullNode> fullNodes_;  // in the compositor's order of full nodes
    QFont caption_, captionBold_, caption2_, nodeLabel_;
    double captionLineHeight_ = 0;
    NameCache namesBelow_, namesBeside_;
    // The selection's and the groups' names, for the scene of serial sceneNamesFor_.
    std::uint64_t sceneNamesFor_ = 0;
    std::unordered_map<std::size_t, QStaticText> sceneNames_;
    std::unordered_map<std::size_t, QStaticText> counts_;  // inside group nodes, by count
    struct VisibleNode {
        std::size_t symbol;
        NodeBox box;
    };
    std::vector<VisibleNode> visible_;  // the nodes of the frame being painted
    std::size_t onScreen_ = 0;          // of those, the ones whose square is in the view
    std::vector<PlacedLabel> placedLabels_;
};

}  // namespace vantrel
