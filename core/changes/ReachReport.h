// The reach of one symbol (ImpactReach) to paste elsewhere: Markdown whose tables are
// those of `changes --format markdown`, and a plain list with one line per row.
#pragma once

#include <string>

#include "core/impact/ImpactReach.h"

namespace vantrel {

// A summary line, one table per level in the reach's order, then a table of the
// callees when there are any.
[[nodiscard]] std::string renderReachMarkdown(const ImpactReach& reach);

// A summary line, then per row: level ("L1", "L2", … or "callee"), name, kind and
// file:line, separated by tabs.
[[nodiscard]] std::string renderReachText(const ImpactReach& reach);

}  // namespace vantrel
