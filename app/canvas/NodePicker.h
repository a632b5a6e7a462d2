// Which node of a frame lies under the pointer. Nodes at rest are indexed by their
// squares in a grid; the few whose square is changing (the pulsing selection, nodes
// scaling in or out of hover) are tested one by one with their current squares.
#pragma once

#include <QPointF>
#include <optional>

#include "app/canvas/GraphPainter.h"
#include "app/canvas/NodeHitGrid.h"

namespace vantrel {

class NodePicker {
public:
    NodePicker() = default;
    // Indexes the frame's nodes as they stand without pulse or hover scale; valid while
    // places, pan, zoom, node size and the view's size stay.
    NodePicker(const GraphFrame& frame, double captionLineHeight);

    // The topmost node whose square, as it stands in `frame`, contains `point`.
    std::optional<std::size_t> nodeAt(const GraphFrame& frame, QPointF point) const;

private:
    NodeHitGrid grid_;
    double captionLineHeight_ = 0;
};

}  // namespace vantrel
