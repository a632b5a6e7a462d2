#include "app/canvas/GraphWalks.h"

#include <algorithm>
#include <iterator>

namespace vantrel {

namespace {

const IdSet* membersOf(const ImpactLevels& levels, int level) {
    auto it = levels.find(level);
    return it == levels.end() || it->second.empty() ? nullptr : &it->second;
}

std::optional<std::string> firstOf(const ProjectIR& ir, const std::optional<std::string>& selected,
                                   IdSet Symbol::*refs) {
    if (!selected) return std::nullopt;
    auto symbol = ir.symbols.find(*selected);
    if (symbol == ir.symbols.end() || (symbol->second.*refs).empty()) return std::nullopt;
    return *(symbol->second.*refs).begin();  // sets are ascending
}

}  // namespace

GraphKeyAction graphKeyAction(int key, Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ControlModifier) return GraphKeyAction::none;
    switch (key) {
        case Qt::Key_Up: return GraphKeyAction::selectParent;
        case Qt::Key_Down: return GraphKeyAction::selectChild;
        case Qt::Key_Left: return GraphKeyAction::previousSibling;
        case Qt::Key_Right: return GraphKeyAction::nextSibling;
        case Qt::Key_Tab:
        case Qt::Key_Backtab: return GraphKeyAction::cycleLevel;
        case Qt::Key_Space: return GraphKeyAction::toggleCollapsed;
        case Qt::Key_Return:
        case Qt::Key_Enter: return GraphKeyAction::resetView;
        case Qt::Key_Escape: return GraphKeyAction::escape;
        default: return GraphKeyAction::none;
    }
}

std::optional<std::string> parentOf(const ProjectIR& ir, const std::optional<std::string>& selected) {
    return firstOf(ir, selected, &Symbol::refsIn);
}

std::optional<std::string> childOf(const ProjectIR& ir, const std::optional<std::string>& selected) {
    return firstOf(ir, selected, &Symbol::refsOut);
}

WalkStep nextBlastRadiusLevel(SiblingCursor cursor, std::int64_t maxDepth, const ImpactLevels& levels) {
    const int limit = static_cast<int>(std::clamp<std::int64_t>(maxDepth, 1, 3));
    WalkStep step;
    step.cursor = {cursor.level + 1 > limit ? 1 : cursor.level + 1, 0};
    if (const IdSet* members = membersOf(levels, step.cursor.level)) step.select = *members->begin();
    return step;
}

std::optional<WalkStep> siblingStep(SiblingCursor cursor, int delta, const std::optional<std::string>& selected,
                                    std::optional<int> selectedLevel, const ImpactLevels& levels) {
    const int level = selectedLevel.value_or(cursor.level);
    const IdSet* members = membersOf(levels, level);
    if (!members) return std::nullopt;
    const int n = static_cast<int>(members->size());
    int index = cursor.index;
    if (selected)
        if (auto at = members->find(*selected); at != members->end())
            index = static_cast<int>(std::distance(members->begin(), at));
    index = ((index + delta) % n + n) % n;
    return WalkStep{{level, index}, *std::next(members->begin(), index)};
}

}  // namespace vantrel
