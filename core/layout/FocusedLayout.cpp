#include "core/layout/FocusedLayout.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace vantrel {

namespace {

// One level's nodes before they are placed: single ids, and groups of a file's members.
std::vector<FocusedNode> levelNodes(int level, const std::vector<std::string_view>& ids,
                                    const std::set<FocusedGroupKey>& expanded) {
    std::vector<FocusedNode> nodes;
    if (ids.size() <= kFocusedGroupThreshold) {
        for (std::string_view id : ids) nodes.push_back({std::string(id), level, {}, {}});
        return nodes;
    }
    std::map<std::string_view, std::vector<std::string_view>> byFile;
    for (std::string_view id : ids) byFile[fileOfSymbolId(id)].push_back(id);
    for (const auto& [file, members] : byFile) {
        if (members.size() == 1 || expanded.count({level, std::string(file)})) {
            for (std::string_view id : members) nodes.push_back({std::string(id), level, {}, {}});
            continue;
        }
        FocusedNode group{std::string(members.front()), level, {}, {}};
        group.members.assign(members.begin(), members.end());
        nodes.push_back(std::move(group));
    }
    // Ids lead with their file, so this only matters where a file's name is a prefix of another's.
    std::sort(nodes.begin(), nodes.end(), [](const FocusedNode& a, const FocusedNode& b) { return a.id < b.id; });
    return nodes;
}

// Rows of a block of n nodes: one column up to kFocusedSingleColumnRows, then about as
// tall as wide.
std::size_t blockRows(std::size_t n) {
    if (n <= kFocusedSingleColumnRows) return n;
    const double square = std::ceil(std::sqrt(static_cast<double>(n) * kFocusedColumnWidth / kFocusedRowPitch));
    return std::max(kFocusedSingleColumnRows, static_cast<std::size_t>(square));
}

// Places `nodes` in columns starting at x = `start` and going in `direction` (±1); gives
// the x where the next block starts.
double placeBlock(std::vector<FocusedNode>& nodes, double start, double direction) {
    if (nodes.empty()) return start;
    const std::size_t rows = blockRows(nodes.size());
    const std::size_t columns = (nodes.size() + rows - 1) / rows;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const std::size_t column = i / rows, row = i % rows;
        const std::size_t inColumn = std::min(rows, nodes.size() - column * rows);
        nodes[i].at = {start + direction * static_cast<double>(column) * kFocusedColumnWidth,
                       (static_cast<double>(row) - static_cast<double>(inColumn - 1) / 2) * kFocusedRowPitch};
    }
    return start + direction * static_cast<double>(columns) * kFocusedColumnWidth;
}

}  // namespace

std::string_view fileOfSymbolId(std::string_view id) { return id.substr(0, id.find(':')); }

std::vector<FocusedNode> computeFocusedLayout(const FocusedLayoutInput& input) {
    std::vector<FocusedNode> placed{{input.selectedId, 0, {0, 0}, {}}};
    std::set<std::string_view> seen{input.selectedId};

    // Names stand right of their nodes: the nearest columns stand a column and half the gap
    // from the selection on either side, leaving room for the selection's own name.
    double x = -kFocusedColumnWidth - kFocusedSelectionGap / 2;
    for (const auto& [level, members] : input.callers) {
        std::vector<std::string_view> ids;
        for (const std::string& id : members)
            if (seen.insert(id).second) ids.push_back(id);
        std::vector<FocusedNode> nodes = levelNodes(level, ids, input.expanded);
        x = placeBlock(nodes, x, -1);
        placed.insert(placed.end(), std::make_move_iterator(nodes.begin()), std::make_move_iterator(nodes.end()));
    }

    std::vector<std::string_view> callees;
    for (const std::string& id : input.callees)
        if (seen.insert(id).second) callees.push_back(id);
    std::vector<FocusedNode> nodes = levelNodes(kFocusedCalleeLevel, callees, input.expanded);
    placeBlock(nodes, kFocusedColumnWidth + kFocusedSelectionGap / 2, 1);
    placed.insert(placed.end(), std::make_move_iterator(nodes.begin()), std::make_move_iterator(nodes.end()));
    return placed;
}

}  // namespace vantrel
