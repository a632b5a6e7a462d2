#include "app/canvas/NodePicker.h"

#include <vector>

namespace vantrel {

namespace {

// The selection and every node with a hover scale.
std::vector<std::size_t> changingNodes(const GraphFrame& frame) {
    std::vector<std::size_t> nodes;
    if (auto selected = frame.scene->selectedPoint(); selected && *selected < frame.scene->topology().symbolCount())
        nodes.push_back(*selected);
    for (const auto& entry : frame.scaled) nodes.push_back(entry.first);
    return nodes;
}

}  // namespace

NodePicker::NodePicker(const GraphFrame& frame, double captionLineHeight) : captionLineHeight_(captionLineHeight) {
    GraphFrame resting = frame;
    resting.selectionPulse = 0;
    resting.scaled.clear();
    const GraphScene& scene = *frame.scene;
    std::vector<QRectF> squares(scene.isEmpty() ? 0 : scene.topology().symbolCount());
    for (std::size_t i = 0; i < squares.size(); ++i)
        if (scene.hasPlace(i)) squares[i] = nodeBox(resting, i, captionLineHeight).square;
    // A resting node spans at most two cells each way.
    const double cell = 2 * nodeRadius(false, frame.nodeSizeFactor);
    grid_ = NodeHitGrid(frame.viewSize, std::move(squares), cell);
}

std::optional<std::size_t> NodePicker::nodeAt(const GraphFrame& frame, QPointF point) const {
    const std::vector<std::size_t> changing = changingNodes(frame);
    std::optional<std::size_t> found = grid_.nodeAt(point, changing);
    for (std::size_t node : changing)
        if ((!found || node > *found) && frame.scene->hasPlace(node) &&
            nodeBox(frame, node, captionLineHeight_).square.contains(point))
            found = node;
    return found;
}

}  // namespace vantrel
