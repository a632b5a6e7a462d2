#include "app/canvas/NodeHitGrid.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

NodeHitGrid::NodeHitGrid(QSizeF view, std::vector<QRectF> squares, double cellSize)
    : squares_(std::move(squares)),
      columns_(std::max(1, static_cast<int>(std::ceil(view.width() / cellSize)))),
      rows_(std::max(1, static_cast<int>(std::ceil(view.height() / cellSize)))),
      cell_(cellSize) {
    struct Span {
        int left, top, right, bottom;
    };
    const std::size_t count = squares_.size();
    std::vector<Span> spans(count, Span{0, 0, -1, -1});
    std::vector<std::uint32_t> counts(static_cast<std::size_t>(columns_) * rows_ + 1, 0);
    const QRectF viewRect(QPointF(0, 0), view);
    for (std::size_t i = 0; i < count; ++i) {
        const QRectF& r = squares_[i];
        if (r.isEmpty() || !r.intersects(viewRect)) continue;
        const Span s{std::clamp(static_cast<int>(std::floor(r.left() / cell_)), 0, columns_ - 1),
                     std::clamp(static_cast<int>(std::floor(r.top() / cell_)), 0, rows_ - 1),
                     std::clamp(static_cast<int>(std::floor(r.right() / cell_)), 0, columns_ - 1),
                     std::clamp(static_cast<int>(std::floor(r.bottom() / cell_)), 0, rows_ - 1)};
        spans[i] = s;
        for (int y = s.top; y <= s.bottom; ++y)
            for (int x = s.left; x <= s.right; ++x) ++counts[y * columns_ + x];
    }
    offsets_.assign(counts.size(), 0);
    for (std::size_t c = 1; c < counts.size(); ++c) offsets_[c] = offsets_[c - 1] + counts[c - 1];
    members_.resize(offsets_.back());
    std::vector<std::uint32_t> fill(offsets_.begin(), offsets_.end() - 1);
    for (std::size_t i = 0; i < count; ++i) {
        const Span& s = spans[i];
        for (int y = s.top; y <= s.bottom; ++y)
            for (int x = s.left; x <= s.right; ++x) members_[fill[y * columns_ + x]++] = static_cast<std::uint32_t>(i);
    }
}

std::optional<std::size_t> NodeHitGrid::nodeAt(QPointF point, const std::vector<std::size_t>& skipped) const {
    if (offsets_.empty() || point.x() < 0 || point.y() < 0) return std::nullopt;
    const int x = static_cast<int>(point.x() / cell_), y = static_cast<int>(point.y() / cell_);
    if (x >= columns_ || y >= rows_) return std::nullopt;
    const std::size_t c = static_cast<std::size_t>(y) * columns_ + x;
    for (std::uint32_t k = offsets_[c + 1]; k > offsets_[c]; --k) {
        const std::uint32_t node = members_[k - 1];
        if (squares_[node].contains(point) && std::find(skipped.begin(), skipped.end(), node) == skipped.end())
            return node;
    }
    return std::nullopt;
}

}  // namespace vantrel
