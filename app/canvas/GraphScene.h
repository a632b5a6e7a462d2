// What the canvas draws, computed once per change of the project, the selection or
// the view's size rather than once per frame: the graph's points and edges (per
// project), and their places, roles and edge styles (per selection and size).
#pragma once

#include <QPointF>
#include <QSizeF>
#include <QString>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "app/canvas/CanvasStyles.h"
#include "app/state/StoreTypes.h"
#include "core/impact/BlastRadius.h"
#include "core/impact/ProjectDiff.h"
#include "core/layout/FocusedLayout.h"
#include "core/layout/GraphLayout.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// The points and edges of one graph. Points are every symbol in ascending id order
// (the drawing order of nodes), then every callee id without a symbol, ascending; an
// edge runs from a symbol to an id of its `refsOut`. After those come the given removed
// edges (of a baseline) whose two ends are both symbols of the graph, for diff mode.
class GraphTopology {
public:
    struct Edge {
        std::uint32_t from = 0;
        std::uint32_t to = 0;
        float bend = 0;  // signed sideways offset of the curve's control point, in points
    };

    explicit GraphTopology(const ProjectIR& ir, const std::vector<ProjectDiffResult::Edge>& removedEdges = {});

    std::size_t symbolCount() const { return kinds_.size(); }
    std::size_t pointCount() const { return ids_.size(); }
    const std::string& id(std::size_t point) const { return ids_[point]; }
    SymbolKind kind(std::size_t symbol) const { return kinds_[symbol]; }
    const QString& shortName(std::size_t symbol) const { return shortNames_[symbol]; }
    std::optional<std::size_t> indexOf(std::string_view id) const;
    const std::vector<Edge>& edges() const { return edges_; }
    // Edges from this index on are removed ones.
    std::size_t firstRemovedEdge() const { return firstRemovedEdge_; }

private:
    std::vector<std::string> ids_;
    std::vector<SymbolKind> kinds_;
    std::vector<QString> shortNames_;
    std::unordered_map<std::string_view, std::uint32_t> index_;
    std::vector<Edge> edges_;
    std::size_t firstRemovedEdge_ = 0;
};

// What the store says about the graph at one moment.
struct SceneInputs {
    const ProjectIR* ir = nullptr;
    const NodePositions& basePositions;
    const std::optional<std::string>& selectedId;
    const ImpactLevels& impactLevels;
    const IdSet& downstreamContext;
    const IdSet& collapsedNodes;
    bool diffModeEnabled = false;
    const EdgeSet& diffAddedEdges;
    double edgeOpacity = 0.55;  // the preference, unclamped
    QSizeF viewSize;
    // Set: the focused view (core/layout/FocusedLayout) around the selection, with these
    // groups expanded; without a selection it shows what the whole view would.
    const std::set<FocusedGroupKey>* focusedExpanded = nullptr;
    double legendHeight = 0;  // the top of the view the legend covers, inset included
    // Set: the symbols changed in the working tree, marked on their nodes.
    const IdSet* changedIds = nullptr;
};

// A group node of the focused view: the members of one file on one level, drawn at its
// first member's point.
struct SceneGroup {
    FocusedGroupKey key;
    std::size_t size = 0;
};

class GraphScene {
public:
    static constexpr std::uint8_t kNoEdge = 0xFF;

    // No topology, or no base positions: an empty scene, and no layout is computed.
    GraphScene() = default;
    GraphScene(std::shared_ptr<const GraphTopology> topology, const SceneInputs& inputs);

    bool isEmpty() const { return !topology_ || placeCount_ == 0; }
    // Different for every scene built, so that drawings of one scene can be kept.
    std::uint64_t serial() const { return serial_; }
    const GraphTopology& topology() const { return *topology_; }
    const std::shared_ptr<const GraphTopology>& topologyPointer() const { return topology_; }

    // Places in view points before pan and zoom; only valid where hasPlace.
    bool hasPlace(std::size_t point) const { return hasPlace_[point] != 0; }
    QPointF place(std::size_t point) const { return places_[point]; }
    const std::vector<QPointF>& places() const { return places_; }

    // Laid out by the focused view (so every placed symbol is the selection, in its reach
    // or one of its callees).
    bool isFocused() const { return focused_; }
    // The group drawn at a point of the focused view; nullptr for a single symbol.
    const SceneGroup* groupAt(std::size_t point) const;

    bool hasSelection() const { return hasSelection_; }
    // The selected point, when the selection is an id of this graph.
    std::optional<std::size_t> selectedPoint() const { return selectedPoint_; }
    NodeRole role(std::size_t point) const;

    // The style of each topology edge, or kNoEdge for an edge that is not drawn (an end
    // without a place, a collapsed source, or a removed edge outside diff mode).
    std::uint8_t edgeStyleIndex(std::size_t edge) const { return edgeStyleIndex_[edge]; }
    const std::vector<EdgeStyle>& edgeStyles() const { return edgeStyles_; }

private:
    std::shared_ptr<const GraphTopology> topology_;
    std::uint64_t serial_ = 0;
    std::size_t placeCount_ = 0;
    std::vector<QPointF> places_;
    std::vector<std::uint8_t> hasPlace_;
    bool focused_ = false;
    std::map<std::size_t, SceneGroup> groups_;
    bool hasSelection_ = false;
    std::optional<std::size_t> selectedPoint_;
    std::vector<std::int32_t> levels_;  // per point; 0 for none
    std::vector<std::uint8_t> downstream_;
    std::vector<std::uint8_t> changed_;
    std::vector<std::uint8_t> edgeStyleIndex_;
    std::vector<EdgeStyle> edgeStyles_;
};

}  // namespace vantrel
