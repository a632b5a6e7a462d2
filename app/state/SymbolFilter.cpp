#include "app/state/SymbolFilter.h"

#include "core/util/Text.h"

namespace vantrel {

SymbolTextQuery::SymbolTextQuery(const QString& text) {
    std::string utf8 = text.toStdString();
    std::string_view trimmed = trimWhitespace(utf8);
    folded_ = QString::fromUtf8(trimmed.data(), static_cast<qsizetype>(trimmed.size())).toCaseFolded();
}

bool SymbolTextQuery::matches(std::string_view id) const {
    if (folded_.isEmpty()) return true;
    return QString::fromUtf8(id.data(), static_cast<qsizetype>(id.size())).toCaseFolded().contains(folded_);
}

std::vector<std::string> filterSymbolIds(const ProjectIR& ir, const std::vector<std::string>& sortedIds,
                                         const QString& searchText, std::optional<SymbolKind> kindFilter) {
    SymbolTextQuery query(searchText);
    std::vector<std::string> kept;
    for (const std::string& id : sortedIds) {
        if (kindFilter) {
            auto symbol = ir.symbols.find(id);
            if (symbol == ir.symbols.end() || symbol->second.kind != *kindFilter) continue;
        }
        if (query.matches(id)) kept.push_back(id);
    }
    return kept;
}

}  // namespace vantrel
