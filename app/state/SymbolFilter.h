// Which symbols match the user's text and kind filter. The sidebar's list and the graph
// search share SymbolTextQuery, so both find the same symbols for the same text.
#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

// Case-insensitive containment by Unicode case folding, which serves as the
// locale-aware comparison. White space and line ends around the text are dropped; an
// empty query matches everything.
class SymbolTextQuery {
public:
    explicit SymbolTextQuery(const QString& text);
    bool isEmpty() const { return folded_.isEmpty(); }
    bool matches(std::string_view id) const;

private:
    QString folded_;
};

// The ids of `sortedIds` (in that order) that pass both tests: with a kind filter the id
// must have a symbol of that kind; with a query the whole id (path, name and kind)
// must contain it.
std::vector<std::string> filterSymbolIds(const ProjectIR& ir, const std::vector<std::string>& sortedIds,
                                         const QString& searchText, std::optional<SymbolKind> kindFilter);

}  // namespace vantrel
