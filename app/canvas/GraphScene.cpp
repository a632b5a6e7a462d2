#include "app/canvas/GraphScene.h"

#include <algorithm>

#include "app/canvas/CanvasLayout.h"
#include "app/canvas/CanvasShapes.h"

namespace vantrel {

GraphTopology::GraphTopology(const ProjectIR& ir, const std::vector<ProjectDiffResult::Edge>& removedEdges) {
    ids_.reserve(ir.symbols.size());
    kinds_.reserve(ir.symbols.size());
    shortNames_.reserve(ir.symbols.size());
    for (const auto& [id, symbol] : ir.symbols) {
        ids_.push_back(id);
        kinds_.push_back(symbol.kind);
        shortNames_.push_back(QString::fromStdString(symbol.shortName()));
    }
    IdSet external;
    for (const auto& entry : ir.symbols)
        for (const std::string& callee : entry.second.refsOut)
            if (!ir.symbols.count(callee)) external.insert(callee);
    ids_.insert(ids_.end(), external.begin(), external.end());

    index_.reserve(ids_.size());
    for (std::size_t i = 0; i < ids_.size(); ++i) index_.emplace(ids_[i], static_cast<std::uint32_t>(i));
    std::vector<std::size_t> hashes(ids_.size());
    for (std::size_t i = 0; i < ids_.size(); ++i) hashes[i] = edgeHash(ids_[i]);

    std::uint32_t from = 0;
    for (const auto& entry : ir.symbols) {
        for (const std::string& callee : entry.second.refsOut) {
            const std::uint32_t to = index_.at(callee);
            edges_.push_back({from, to, static_cast<float>(edgeBend(hashes[from], hashes[to]))});
        }
        ++from;
    }
    firstRemovedEdge_ = edges_.size();
    for (const auto& edge : removedEdges) {
        auto source = ir.symbols.find(edge.fromId), target = ir.symbols.find(edge.toId);
        if (source == ir.symbols.end() || target == ir.symbols.end()) continue;
        const std::uint32_t a = index_.at(edge.fromId), b = index_.at(edge.toId);
        edges_.push_back({a, b, static_cast<float>(edgeBend(hashes[a], hashes[b]))});
    }
}

std::optional<std::size_t> GraphTopology::indexOf(std::string_view id) const {
    auto it = index_.find(id);
    if (it == index_.end()) return std::nullopt;
    return it->second;
}

GraphScene::GraphScene(std::shared_ptr<const GraphTopology> topology, const SceneInputs& in)
    : topology_(std::move(topology)) {
    static std::uint64_t built = 0;
    serial_ = ++built;
    if (!topology_ || !in.ir || in.basePositions.empty()) return;
    const GraphTopology& graph = *topology_;
    const std::size_t points = graph.pointCount();

    hasSelection_ = in.selectedId.has_value();
    std::optional<SelectionFocus> focus;
    if (in.selectedId) focus.emplace(SelectionFocus{*in.selectedId, in.impactLevels, in.downstreamContext});
    const QPointF center(in.viewSize.width() / 2, in.viewSize.height() / 2);
    places_.assign(points, QPointF());
    hasPlace_.assign(points, 0);
    auto placeAt = [&](std::string_view id, QPointF at) -> std::optional<std::size_t> {
        auto point = graph.indexOf(id);
        if (point && !hasPlace_[*point]) {
            places_[*point] = at;
            hasPlace_[*point] = 1;
            ++placeCount_;
        }
        return point;
    };
    focused_ = in.focusedExpanded && in.selectedId && in.ir->symbols.count(*in.selectedId);
    if (focused_) {
        const IdSet& callees = in.ir->symbols.find(*in.selectedId)->second.refsOut;
        const std::vector<FocusedNode> nodes =
            computeFocusedLayout({*in.selectedId, in.impactLevels, callees, *in.focusedExpanded});
        const QPointF origin = center + QPointF(focusedShift(nodes, in.viewSize.width()),
                                                focusedDrop(nodes, in.viewSize.height(), in.legendHeight));
        for (const FocusedNode& node : nodes) {
            auto point = placeAt(node.id, origin + QPointF(node.at.x, node.at.y));
            if (point && node.isGroup())
                groups_[*point] = {{node.level, std::string(fileOfSymbolId(node.id))}, node.members.size()};
        }
    } else {
        for (const auto& [id, at] : layoutPositions(*in.ir, in.basePositions, center, in.viewSize, focus))
            placeAt(id, at);
    }

    levels_.assign(points, 0);
    downstream_.assign(points, 0);
    if (in.selectedId) selectedPoint_ = graph.indexOf(*in.selectedId);
    for (const auto& [level, ids] : in.impactLevels)
        for (const std::string& id : ids)
            if (auto point = graph.indexOf(id)) levels_[*point] = level;
    for (const std::string& id : in.downstreamContext)
        if (auto point = graph.indexOf(id)) downstream_[*point] = 1;
    changed_.assign(points, 0);
    if (in.changedIds)
        for (const std::string& id : *in.changedIds)
            if (auto point = graph.indexOf(id)) changed_[*point] = 1;

    std::vector<std::uint8_t> collapsed(graph.symbolCount(), 0);
    for (const std::string& id : in.collapsedNodes)
        if (auto point = graph.indexOf(id); point && *point < graph.symbolCount()) collapsed[*point] = 1;

    const auto& edges = graph.edges();
    edgeStyleIndex_.assign(edges.size(), kNoEdge);
    const bool diffEdges = in.diffModeEnabled && !in.diffAddedEdges.empty();
    for (std::size_t e = 0; e < edges.size(); ++e) {
        const GraphTopology::Edge& edge = edges[e];
        const bool removed = e >= graph.firstRemovedEdge();
        if (removed && !in.diffModeEnabled) continue;
        if (collapsed[edge.from] || !hasPlace_[edge.from] || !hasPlace_[edge.to]) continue;
        EdgeChange change = removed ? EdgeChange::removed : EdgeChange::none;
        if (!removed && diffEdges && in.diffAddedEdges.count({graph.id(edge.from), graph.id(edge.to)}) > 0)
            change = EdgeChange::added;
        const EdgeStyle style = edgeStyle(role(edge.from), role(edge.to), change, in.edgeOpacity);
        auto known = std::find(edgeStyles_.begin(), edgeStyles_.end(), style);
        if (known == edgeStyles_.end()) known = edgeStyles_.insert(edgeStyles_.end(), style);
        edgeStyleIndex_[e] = static_cast<std::uint8_t>(known - edgeStyles_.begin());
    }
}

const SceneGroup* GraphScene::groupAt(std::size_t point) const {
    auto it = groups_.find(point);
    return it == groups_.end() ? nullptr : &it->second;
}

NodeRole GraphScene::role(std::size_t point) const {
    NodeRole role;
    role.selected = selectedPoint_ == point;
    if (levels_[point] != 0) role.level = levels_[point];
    role.downstream = downstream_[point] != 0;
    role.changed = changed_[point] != 0;
    return role;
}

}  // namespace vantrel
