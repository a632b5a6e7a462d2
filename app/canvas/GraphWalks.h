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
    nextLevel,
    previousLevel,
    toggleCollapsed,
    resetView,
    escape,
    zoomIn,
    zoomOut,
    zoomActual
};

// Arrows, Tab and Shift+Tab (Backtab), Space, Return/Enter and Escape with Shift, Alt and
// Meta making no difference, but nothing with Ctrl held; and Ctrl with "=" (or "+"), "-"
// and "0" for the zoom.
GraphKeyAction graphKeyAction(int key, Qt::KeyboardModifiers modifiers);

// The first caller (`parent`) or callee (`child`) of the selection in ascending order.
std::optional<std::string> parentOf(const ProjectIR& ir, const std::optional<std::string>& selected);
std::optional<std::string> childOf(const ProjectIR& ir, const std::optional<std::string>& selected);

// The walks of Tab and the side arrows. A walk runs over the levels of the symbol that
// was selected when it began, wherever it moves the selection; a selection made any
// other way (or none) begins a new one at that symbol.
class LevelWalk {
public:
    // Tab (+1) and Shift+Tab (-1): the first member of the next or previous level of 1 to
    // min(max(maxDepth, 1), 3) that has members. Nothing past the last such level or before
    // the first: the keyboard leaves the canvas, and the next walk starts afresh.
    std::optional<std::string> stepLevel(int delta, const std::optional<std::string>& selected,
                                         const ImpactLevels& levels, std::int64_t maxDepth);
    // Right (+1) and left (-1) along the walk's level (level 1 on a fresh walk), wrapping:
    // fresh, right gives its first member and left its last. Nothing without members.
    std::optional<std::string> stepMember(int delta, const std::optional<std::string>& selected,
                                          const ImpactLevels& levels);
    int level() const { return level_; }  // 0 on a fresh walk

private:
    void follow(const std::optional<std::string>& selected, const ImpactLevels& levels);
    std::optional<std::string> land(int level, int index);

    std::optional<std::string> at_;  // where the walk left the selection
    ImpactLevels levels_;            // its anchor's
    int level_ = 0;
    int index_ = -1;
};

}  // namespace vantrel
