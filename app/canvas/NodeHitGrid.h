// Which node lies under a point: a grid over the view whose cells list the nodes whose
// squares reach into them, so a pointer move looks at one cell rather than every node.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <cstdint>
#include <optional>
#include <vector>

namespace vantrel {

class NodeHitGrid {
public:
    NodeHitGrid() = default;

    // `squares[i]` is node i's square; an empty one for a node without a place. Nodes
    // outside `view` are left out. Cells are `cellSize` wide.
    NodeHitGrid(QSizeF view, std::vector<QRectF> squares, double cellSize);

    // The topmost node (the highest index) whose square contains `point`, leaving out
    // `skipped` (nodes whose square is changing and which the caller tests itself).
    std::optional<std::size_t> nodeAt(QPointF point, const std::vector<std::size_t>& skipped = {}) const;

private:
    std::vector<QRectF> squares_;
    int columns_ = 0;
    int rows_ = 0;
    double cell_ = 1;
    std::vector<std::uint32_t> offsets_;  // per cell, into members_; one more at the end
    std::vector<std::uint32_t> members_;  // ascending within each cell
};

}  // namespace vantrel
