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
    if (modifiers & Qt::ControlModifier) {
        switch (key) {
            case Qt::Key_Equal:
            case Qt::Key_Plus: return GraphKeyAction::zoomIn;
            case Qt::Key_Minus: return GraphKeyAction::zoomOut;
            case Qt::Key_0: return GraphKeyAction::zoomActual;
            default: return GraphKeyAction::none;
        }
    }
    switch (key) {
        case Qt::Key_Up: return GraphKeyAction::selectParent;
        case Qt::Key_Down: return GraphKeyAction::selectChild;
        case Qt::Key_Left: return GraphKeyAction::previousSibling;
        case Qt::Key_Right: return GraphKeyAction::nextSibling;
        case Qt::Key_Tab:
            return modifiers & Qt::ShiftModifier ? GraphKeyAction::previousLevel : GraphKeyAction::nextLevel;
        case Qt::Key_Backtab: return GraphKeyAction::previousLevel;
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

void LevelWalk::follow(const std::optional<std::string>& selected, const ImpactLevels& levels) {
    if (selected && selected == at_) return;
    at_ = selected;
    levels_ = levels;
    level_ = 0;
    index_ = -1;
}

std::optional<std::string> LevelWalk::land(int level, int index) {
    level_ = level;
    index_ = index;
    at_ = *std::next(membersOf(levels_, level)->begin(), index);
    return at_;
}

std::optional<std::string> LevelWalk::stepLevel(int delta, const std::optional<std::string>& selected,
                                                const ImpactLevels& levels, std::int64_t maxDepth) {
    follow(selected, levels);
    const int limit = static_cast<int>(std::clamp<std::int64_t>(maxDepth, 1, 3));
    for (int level = level_ + delta; level >= 1 && level <= limit; level += delta)
        if (membersOf(levels_, level)) return land(level, 0);
    at_.reset();  // off the canvas: coming back starts afresh
    return std::nullopt;
}

std::optional<std::string> LevelWalk::stepMember(int delta, const std::optional<std::string>& selected,
                                                 const ImpactLevels& levels) {
    follow(selected, levels);
    const int level = std::max(level_, 1);
    const IdSet* members = membersOf(levels_, level);
    if (!members) return std::nullopt;
    const int n = static_cast<int>(members->size());
    const int from = level_ == level ? index_ : -1;
    const int index = from < 0 ? (delta > 0 ? 0 : n - 1) : ((from + delta) % n + n) % n;
    return land(level, index);
}

}  // namespace vantrel
