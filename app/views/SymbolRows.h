// What the sidebar's symbol list shows: which ids stay when "Filter: impacted only" is
// on, and the colour of a row by the selection's impact.
#pragma once

#include <QColor>
#include <string_view>

#include "app/state/ProjectStore.h"

class QPalette;

namespace vantrel {

// The ids unchanged when the switch is off or nothing is selected; otherwise only the
// selected id and ids of impact level 1 or 2, in their order. Level 3 is left out.
SymbolIdList filteredForImpact(SymbolIdList ids, bool showOnlyAffected, const ProjectStore& store);

// The selected id, level 1, level 2, everything else (level 3 included).
enum class RowTone { selected, level1, level2, plain };

RowTone rowTone(const ProjectStore& store, std::string_view id);

// Red, orange, yellow, and the primary label colour.
QColor toneColor(RowTone tone, const QPalette& palette);

}  // namespace vantrel
