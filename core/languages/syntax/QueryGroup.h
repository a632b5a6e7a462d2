// A plugin's passes share one walk over the tree: their query texts are joined into
// one query, compiled once per process, and each pass gets back exactly its own
// matches, in the order its own query would deliver them, with pattern indices as in
// its own text. Walking the tree once instead of once per pass is most of the
// difference between analysis costing more than parsing and costing a fraction of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "languages/syntax/SyntaxTree.h"

namespace vantrel {

class QueryGroup {
public:
    // Nothing when the joined text does not compile (then each pass runs alone, and one
    // that does not compile is left out).
    static const QueryGroup* get(const TSLanguage* language, const std::vector<std::string_view>& passSources);

    const SharedQuery& combined() const { return *combined_; }
    std::size_t passCount() const { return firstPattern_.size(); }
    // The pass a pattern of the joined query belongs to, and its index within that pass.
    std::size_t passOf(std::uint16_t pattern) const;
    std::uint16_t localPattern(std::uint16_t pattern) const;

private:
    QueryGroup(const SharedQuery* combined, std::vector<std::uint16_t> firstPattern)
        : combined_(combined), firstPattern_(std::move(firstPattern)) {}
    const SharedQuery* combined_;
    std::vector<std::uint16_t> firstPattern_;
};

// The matches of all passes of one analysis: one walk with the joined query when the
// passes could be joined, else each pass's own query run when it asks for its feed.
class PassMatches {
public:
    PassMatches(const TSLanguage* language, const std::vector<std::string_view>& passSources, TSNode root);

    // A pass's matches, in the order and with the pattern indices of its own query.
    class Feed {
    public:
        int captureIndex(std::string_view name) const { return query_->captureIndex(name); }
        template <typename Visit>
        void forEach(Visit&& visit) const {
            if (!owner_.group_) {
                forEachMatch(*query_, owner_.root_, visit);
                return;
            }
            for (const auto& m : owner_.byPass_[pass_])
                visit(QueryMatch(m.pattern, owner_.captures_.data() + m.firstCapture, m.captureCount));
        }

    private:
        friend class PassMatches;
        Feed(const PassMatches& owner, std::size_t pass, const SharedQuery* query)
            : owner_(owner), pass_(pass), query_(query) {}
        const PassMatches& owner_;
        std::size_t pass_;
        const SharedQuery* query_;
    };

    // Nothing when the pass's query does not compile: the pass is left out.
    std::optional<Feed> feed(std::size_t pass) const;

private:
    struct Recorded {
        std::uint16_t pattern;
        std::uint32_t firstCapture;
        std::uint16_t captureCount;
    };
    const TSLanguage* language_;
    std::vector<std::string_view> sources_;
    TSNode root_;
    const QueryGroup* group_;
    std::vector<std::vector<Recorded>> byPass_;
    std::vector<TSQueryCapture> captures_;
};

}  // namespace vantrel
