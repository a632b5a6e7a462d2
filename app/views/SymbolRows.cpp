#include "app/views/SymbolRows.h"

#include <QPalette>
#include <algorithm>

#include "app/canvas/CanvasPalette.h"

namespace vantrel {

SymbolIdList filteredForImpact(SymbolIdList ids, bool showOnlyAffected, const ProjectStore& store) {
    const OptionalSymbolId& selected = store.selectedSymbolId();
    if (!showOnlyAffected || !selected) return ids;
    std::erase_if(ids, [&](const std::string& id) {
        if (id == *selected) return false;
        std::optional<int> level = store.impactLevel(id);
        return !(level == 1 || level == 2);
    });
    return ids;
}

RowTone rowTone(const ProjectStore& store, std::string_view id) {
    const OptionalSymbolId& selected = store.selectedSymbolId();
    if (selected && *selected == id) return RowTone::selected;
    std::optional<int> level = store.impactLevel(id);
    if (level == 1) return RowTone::level1;
    if (level == 2) return RowTone::level2;
    return RowTone::plain;
}

QColor toneColor(RowTone tone, const QPalette& palette) {
    switch (tone) {
        case RowTone::selected: return CanvasPalette(palette).color(NamedColor::red);
        case RowTone::level1: return CanvasPalette(palette).color(NamedColor::orange);
        case RowTone::level2: return CanvasPalette(palette).color(NamedColor::yellow);
        case RowTone::plain: break;
    }
    return palette.color(QPalette::Text);
}

}  // namespace vantrel
