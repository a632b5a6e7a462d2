#include "app/canvas/CanvasLabels.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace vantrel {

namespace {

// Placed names by the cells of a coarse grid they touch, so that a check looks at
// neighbours only.
class LabelGrid {
public:
    // How many placed names `rect` overlaps.
    std::size_t overlaps(const QRectF& rect) const {
        std::vector<std::size_t> found;
        forCells(rect, [&](std::int64_t cell) {
            auto it = cells_.find(cell);
            if (it == cells_.end()) return;
            for (std::size_t i : it->second)
                if (rects_[i].intersects(rect)) found.push_back(i);
        });
        std::sort(found.begin(), found.end());
        return static_cast<std::size_t>(std::unique(found.begin(), found.end()) - found.begin());
    }
    void add(const QRectF& rect) {
        rects_.push_back(rect);
        forCells(rect, [&](std::int64_t cell) { cells_[cell].push_back(rects_.size() - 1); });
    }

private:
    static constexpr double kCell = 96;
    template <typename F>
    static void forCells(const QRectF& rect, F&& f) {
        const auto x0 = static_cast<std::int64_t>(std::floor(rect.left() / kCell));
        const auto x1 = static_cast<std::int64_t>(std::floor(rect.right() / kCell));
        const auto y0 = static_cast<std::int64_t>(std::floor(rect.top() / kCell));
        const auto y1 = static_cast<std::int64_t>(std::floor(rect.bottom() / kCell));
        for (std::int64_t y = y0; y <= y1; ++y)
            for (std::int64_t x = x0; x <= x1; ++x) f(y * 1'000'003 + x);
    }
    std::vector<QRectF> rects_;
    std::unordered_map<std::int64_t, std::vector<std::size_t>> cells_;
};

}  // namespace

std::optional<LabelPriority> labelPriority(const LabelRule& node, std::size_t visibleNodes, bool focusedView) {
    if (node.selected) return LabelPriority::selected;
    if (node.levelOne) return LabelPriority::required;
    if (focusedView || visibleNodes < kAllNamesBelow) return LabelPriority::optional;
    return std::nullopt;
}

std::vector<PlacedLabel> placeLabels(std::vector<LabelCandidate> candidates) {
    std::sort(candidates.begin(), candidates.end(), [](const LabelCandidate& a, const LabelCandidate& b) {
        return a.priority != b.priority ? a.priority < b.priority : a.symbol < b.symbol;
    });
    std::vector<PlacedLabel> placed;
    LabelGrid grid;
    // The named nodes themselves are in the way too.
    for (const LabelCandidate& c : candidates) grid.add(c.square);
    for (const LabelCandidate& c : candidates) {
        const QRectF& s = c.square;
        const double w = c.text.width(), h = c.text.height();
        const QRectF spots[] = {
            {s.right() + kLabelGap, s.center().y() - h / 2, w, h},
            {s.left() - kLabelGap - w, s.center().y() - h / 2, w, h},
            {s.center().x() - w / 2, s.bottom() + kLabelGap, w, h},
            {s.center().x() - w / 2, s.top() - kLabelGap - h, w, h},
        };
        std::size_t best = 0, fewest = grid.overlaps(spots[0]);
        for (std::size_t i = 1; i < 4 && fewest > 0; ++i)
            if (const std::size_t n = grid.overlaps(spots[i]); n < fewest) best = i, fewest = n;
        grid.add(spots[best]);
        placed.push_back({c.symbol, spots[best], c.priority});
    }
    return placed;
}

}  // namespace vantrel
