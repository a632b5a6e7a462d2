// The focused ("Impact") view's layout: only the selection, its callers level by level
// and its direct callees, in columns. The selection stands at the origin, level k of
// the callers in the k-th block of columns to its left, the callees in a block to its
// right. A block has as many rows and columns as keep it roughly square, so a level of
// any size takes room in proportion and no two nodes share a cell. A level of more than
// kFocusedGroupThreshold members shows each file's members as one group node, unless
// that group was expanded. Coordinates are points, before the view's pan and zoom; the
// same input gives the same numbers, bit for bit.
#pragma once

#include <compare>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/impact/BlastRadius.h"
#include "core/layout/GraphLayout.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

inline constexpr std::size_t kFocusedGroupThreshold = 60;
inline constexpr double kFocusedRowPitch = 48;       // between the centres of rows
inline constexpr double kFocusedColumnWidth = 240;   // a node and its name
inline constexpr double kFocusedSelectionGap = 120;  // the selection's name, before level 1 and the callees
inline constexpr std::size_t kFocusedSingleColumnRows = 16;

// The members of one file on one level.
struct FocusedGroupKey {
    int level = 0;  // as in FocusedNode::level
    std::string file;
    auto operator<=>(const FocusedGroupKey&) const = default;
};

struct FocusedNode {
    std::string id;  // the symbol; for a group its first member
    int level = 0;   // 0 the selection, 1 and up the callers, kFocusedCalleeLevel the callees
    Point at;
    // A group's members, ascending (its id the first); empty for a single symbol.
    std::vector<std::string> members;
    bool isGroup() const { return !members.empty(); }
};

inline constexpr int kFocusedCalleeLevel = -1;

struct FocusedLayoutInput {
    std::string selectedId;
    const ImpactLevels& callers;
    const IdSet& callees;  // the selection's own refsOut; ids already on a caller level are left out
    const std::set<FocusedGroupKey>& expanded;
};

// The selection first, then each caller level in ascending order, then the callees;
// within a level the nodes in ascending order of id (a group by its first member),
// filling the block column by column from the one nearest the selection.
[[nodiscard]] std::vector<FocusedNode> computeFocusedLayout(const FocusedLayoutInput& input);

// The file part of an id ("path:name:kind" gives "path").
std::string_view fileOfSymbolId(std::string_view id);

}  // namespace vantrel
