// Syntax access shared by the language plugins: parsing UTF-16 text with tree-sitter,
// node text and positions, and compiled queries run with a per-analysis cursor.
#pragma once

#include <tree_sitter/api.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

class LanguageSetupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One parsed file. Owns the tree; the text it was parsed from must outlive it.
class SyntaxTree {
public:
    // Parses `text` (UTF-16, machine byte order) with a new parser. Gives nothing when
    // the parser yields no tree; throws LanguageSetupError when the grammar cannot be set.
    static std::optional<SyntaxTree> parse(const TSLanguage* language, std::u16string_view text);

    struct Attempt;
    // Like `parse`, but gives up once the parser has asked for more than `maxAllocatedBytes`
    // of memory in all (freed memory counts too). That sum grows with the tree and, steeply,
    // with error recovery, so it bounds both the memory and the time of a parse. It depends
    // only on grammar and text, never on the clock or on other threads, so a file gives up
    // at the same point on every run and machine. Checked every 100 parser operations.
    static Attempt parse(const TSLanguage* language, std::u16string_view text, std::uint64_t maxAllocatedBytes);

    TSNode root() const { return ts_tree_root_node(tree_.get()); }

private:
    struct Deleter {
        void operator()(TSTree* tree) const { ts_tree_delete(tree); }
    };
    explicit SyntaxTree(TSTree* tree) : tree_(tree) {}
    std::unique_ptr<TSTree, Deleter> tree_;
};

struct SyntaxTree::Attempt {
    std::optional<SyntaxTree> tree;  // nothing when the parser gave none or gave up
    bool overBudget = false;         // the parser gave up at the memory limit
};

// Steps the query engine will spend in the error nodes of the tree looking for later
// named siblings: for each child of an error node, the siblings behind it up to the next
// named one. Every query pass pays them once per error-node child, so a run of n unnamed
// tokens (100,000 unclosed brackets, say) costs n*n/2 steps per pass, while what intact
// syntax produces stays near the node count. Counting stops once it passes `stopAbove`.
std::uint64_t errorSiblingScanSteps(TSNode root, std::uint64_t stopAbove);

// The node's text: its UTF-16 byte offsets halved, clamped to the text, as UTF-8.
std::string extractNodeText(TSNode node, std::u16string_view source);

// The node's start and end points plus 1 (columns count UTF-16 bytes).
TextRange textRangeOf(TSNode node);

// Climbs from `node` (itself included) to the first ancestor of the given type.
std::optional<TSNode> nearestAncestorOfType(TSNode node, std::string_view type, bool includeSelf);

// A grammar's number for a named node type, and for a field, found the way the query
// compiler finds them: a walk that compares them with nodes matches what a query would.
TSSymbol namedSymbol(const TSLanguage* language, std::string_view type);
TSFieldId fieldId(const TSLanguage* language, std::string_view field);

// Text of the node's "name" field, if it has one.
std::optional<std::string> nameFieldText(TSNode node, std::u16string_view source);

// A query compiled once per grammar and query text for the whole process and shared
// read-only by every analysis. A query that does not compile stays absent, and the
// pass that needs it is left out.
class SharedQuery {
public:
    static const SharedQuery* get(const TSLanguage* language, std::string_view source);

    const TSQuery* query() const { return query_; }
    // Index of a capture name, or -1 when the query has no such capture.
    int captureIndex(std::string_view name) const;
    // The capture names by index.
    const std::vector<std::string>& captureNames() const { return captureNames_; }

    SharedQuery(const SharedQuery&) = delete;
    SharedQuery& operator=(const SharedQuery&) = delete;
    ~SharedQuery();

private:
    explicit SharedQuery(TSQuery* query);
    TSQuery* query_;
    std::vector<std::string> captureNames_;
};

// One match as delivered by the cursor.
class QueryMatch {
public:
    QueryMatch(const TSQueryMatch& match)
        : pattern_(match.pattern_index), captures_(match.captures), count_(match.capture_count) {}
    QueryMatch(std::uint16_t pattern, const TSQueryCapture* captures, std::uint16_t count)
        : pattern_(pattern), captures_(captures), count_(count) {}
    // Index of the pattern within the query that the pass wrote.
    std::uint16_t patternIndex() const { return pattern_; }
    // Captures with that name, in the order of the match.
    std::vector<TSNode> captures(int captureIndex) const;
    std::optional<TSNode> first(int captureIndex) const;

private:
    std::uint16_t pattern_;
    const TSQueryCapture* captures_;
    std::uint16_t count_;
};

// The engine keeps a match's start depth in 16 bits: matches whose root lies deeper
// (counted in visible nodes below the walk's root) are never reported, also by the
// walks that stand in for queries. Deeper starts also left stale states behind that made
// deeply nested input take quadratic time.
inline constexpr std::uint32_t kMaxMatchStartDepth = UINT16_MAX;

// Runs the query over the whole tree with a cursor of its own and hands each raw match
// to `visit` in the order the cursor delivers them; a match's captures live until the
// next one arrives.
template <typename Visit>
void forEachRawMatch(const SharedQuery& query, TSNode root, Visit&& visit) {
    TSQueryCursor* cursor = ts_query_cursor_new();
    ts_query_cursor_set_max_start_depth(cursor, kMaxMatchStartDepth);
    ts_query_cursor_exec(cursor, query.query(), root);
    TSQueryMatch match;
    while (ts_query_cursor_next_match(cursor, &match)) visit(static_cast<const TSQueryMatch&>(match));
    ts_query_cursor_delete(cursor);
}

template <typename Visit>
void forEachMatch(const SharedQuery& query, TSNode root, Visit&& visit) {
    forEachRawMatch(query, root, [&](const TSQueryMatch& match) { visit(QueryMatch(match)); });
}

}  // namespace vantrel
