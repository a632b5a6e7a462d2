// Selection, impact and filtering on the project store.
#include <QMetaObject>

#include "app/state/PreferencesManager.h"
#include "app/state/ProjectStore.h"
#include "app/state/SymbolFilter.h"

namespace vantrel {

// A queued call runs on a later turn of the event loop, so the caller and the view
// that is being updated finish before anything changes.
void ProjectStore::select(const std::string& symbolId) {
    QMetaObject::invokeMethod(
        this, [this, symbolId] { applySelection(symbolId); }, Qt::QueuedConnection);
}

void ProjectStore::clearSelection() {
    QMetaObject::invokeMethod(
        this, [this] { applyClearSelection(); }, Qt::QueuedConnection);
}

void ProjectStore::applySelection(const std::string& symbolId) {
    if (!ir_) return;
    selectionAwaitingReturn_.reset();
    write(selectedSymbolId_, symbolId, &ProjectStore::selectedSymbolIdChanged);
    write(impactLevels_, calculateBlastRadius(symbolId, *ir_, config_.maxDepth), &ProjectStore::impactLevelsChanged);
    auto symbol = ir_->symbols.find(symbolId);
    write(downstreamContext_, symbol == ir_->symbols.end() ? IdSet{} : symbol->second.refsOut,
          &ProjectStore::downstreamContextChanged);
}

void ProjectStore::applyClearSelection() {
    selectionAwaitingReturn_.reset();
    write(selectedSymbolId_, std::nullopt, &ProjectStore::selectedSymbolIdChanged);
    write(impactLevels_, ImpactLevels{}, &ProjectStore::impactLevelsChanged);
    write(downstreamContext_, IdSet{}, &ProjectStore::downstreamContextChanged);
}

std::optional<int> ProjectStore::impactLevel(std::string_view symbolId) const {
    for (const auto& [level, ids] : impactLevels_)
        if (ids.find(std::string(symbolId)) != ids.end()) return level;
    return std::nullopt;
}

void ProjectStore::toggleCollapsedSelected() {
    if (!selectedSymbolId_) return;
    IdSet collapsed = collapsedNodes_;
    if (!collapsed.erase(*selectedSymbolId_)) collapsed.insert(*selectedSymbolId_);
    write(collapsedNodes_, std::move(collapsed), &ProjectStore::collapsedNodesChanged);
}

void ProjectStore::updateMaxDepth(std::int64_t value) {
    VantrelConfig config = config_;
    config.maxDepth = PreferencesManager::limitUserDepth(value);
    write(config_, std::move(config), &ProjectStore::configChanged);
    if (ir_ && selectedSymbolId_)
        write(impactLevels_, calculateBlastRadius(*selectedSymbolId_, *ir_, config_.maxDepth),
              &ProjectStore::impactLevelsChanged);
}

SymbolIdList ProjectStore::filteredSymbolIds() const {
    if (!ir_) return {};
    return filterSymbolIds(*ir_, allSymbolIdsSorted_, searchText_, kindFilter_);
}

std::vector<LevelDeltaCount> ProjectStore::blastRadiusDeltaCountsForSelection() const {
    if (!diffModeEnabled_ || !baselineIR_ || !ir_ || !selectedSymbolId_) return {};
    auto delta = ProjectDiff::blastRadiusDelta(*selectedSymbolId_, *baselineIR_, *ir_, config_.maxDepth);
    std::vector<LevelDeltaCount> counts;
    for (const auto& [level, change] : delta)  // one entry per level, ascending
        counts.push_back(
            {level, static_cast<std::int64_t>(change.added.size()), static_cast<std::int64_t>(change.removed.size())});
    return counts;
}

}  // namespace vantrel
