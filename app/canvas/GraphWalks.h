// The keyboard on the canvas: which key does what, and where each walk leads. The
// decisions are pure; the view applies them through the store.
#pragma once

#include <Qt>
#include <cstdint>
#include <optional>
#include <string>

#include "core/impact/BlastRadius.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

enum class GraphKeyAction {
    none,
    selectParent,
    selectChild,
    previousSibling,
    nextSibling,
    cycleLevel,
    toggleCollapsed,
    resetView,
    escape
};

// Arrows, Tab (Shift+Tab too), Space, Return/Enter and Escape; nothing with Ctrl held,
// while Shift, Alt and Meta make no difference.
GraphKeyAction graphKeyAction(int key, Qt::KeyboardModifiers modifiers);

// The first caller (`parent`) or callee (`child`) of the selection in ascending order.
std::optional<std::string> parentOf(const ProjectIR& ir, const std::optional<std::string>& selected);
std::optional<std::string> childOf(const ProjectIR& ir, const std::optional<std::string>& selected);

// Where the level and sibling walks stand.
struct SiblingCursor {
    int level = 1;
    int index = 0;
    bool operator==(const SiblingCursor&) const = default;
};

struct WalkStep {
    SiblingCursor cursor;
    std::optional<std::string> select;  // the symbol to select, if any
};

// Tab: the next level of 1 to min(max(maxDepth, 1), 3), wrapping, and its first member.
WalkStep nextBlastRadiusLevel(SiblingCursor cursor, std::int64_t maxDepth, const ImpactLevels& levels);

// Left (-1) and right (+1) within the selection's own level, else the cursor's level,
// wrapping at both ends. Nothing when that level has no members.
std::optional<WalkStep> siblingStep(SiblingCursor cursor, int delta, const std::optional<std::string>& selected,
                                    std::optional<int> selectedLevel, const ImpactLevels& levels);

}  // namespace vantrel
