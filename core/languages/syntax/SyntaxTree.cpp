#include "core/languages/syntax/SyntaxTree.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <map>
#include <mutex>

#include "core/util/Text.h"

namespace vantrel {

std::optional<SyntaxTree> SyntaxTree::parse(const TSLanguage* language, std::u16string_view text) {
    TSParser* parser = ts_parser_new();
    if (!ts_parser_set_language(parser, language)) {
        ts_parser_delete(parser);
        throw LanguageSetupError("the grammar could not be loaded into the parser");
    }
    static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big);
    constexpr TSInputEncoding encoding =
        std::endian::native == std::endian::little ? TSInputEncodingUTF16LE : TSInputEncodingUTF16BE;
    TSTree* tree = ts_parser_parse_string_encoding(parser, nullptr, reinterpret_cast<const char*>(text.data()),
                                                   static_cast<std::uint32_t>(text.size() * 2), encoding);
    ts_parser_delete(parser);
    if (!tree) return std::nullopt;
    return SyntaxTree(tree);
}

namespace {

// The runtime's allocations go through these hooks; while a budgeted parse runs on a
// thread, they add what it asks for to that parse's sum. Other threads' parses and all
// other tree-sitter work are not counted.
thread_local std::uint64_t* allocationSum = nullptr;

void* countedMalloc(std::size_t size) {
    if (allocationSum) *allocationSum += size;
    return std::malloc(size);
}
void* countedCalloc(std::size_t count, std::size_t size) {
    if (allocationSum) *allocationSum += count * size;
    return std::calloc(count, size);
}
void* countedRealloc(void* pointer, std::size_t size) {
    if (allocationSum) *allocationSum += size;
    return std::realloc(pointer, size);
}

// Installed before main, while no other thread can be inside the runtime.
const bool allocatorInstalled = [] {
    ts_set_allocator(countedMalloc, countedCalloc, countedRealloc, std::free);
    return true;
}();

struct Budget {
    std::uint64_t allocated = 0;
    std::uint64_t limit;
    bool exhausted = false;
};

// The parser calls this once per 100 of its operations; true gives up.
bool onParseProgress(TSParseState* state) {
    auto* budget = static_cast<Budget*>(state->payload);
    if (budget->allocated > budget->limit) budget->exhausted = true;
    return budget->exhausted;
}

struct Buffer {
    const char* bytes;
    std::uint32_t size;
};

const char* readBuffer(void* payload, std::uint32_t offset, TSPoint, std::uint32_t* length) {
    auto* buffer = static_cast<Buffer*>(payload);
    *length = offset < buffer->size ? buffer->size - offset : 0;
    return buffer->bytes + (offset < buffer->size ? offset : buffer->size);
}

}  // namespace

SyntaxTree::Attempt SyntaxTree::parse(const TSLanguage* language, std::u16string_view text,
                                      std::uint64_t maxAllocatedBytes) {
    (void)allocatorInstalled;
    TSParser* parser = ts_parser_new();
    if (!ts_parser_set_language(parser, language)) {
        ts_parser_delete(parser);
        throw LanguageSetupError("the grammar could not be loaded into the parser");
    }
    Buffer buffer{reinterpret_cast<const char*>(text.data()), static_cast<std::uint32_t>(text.size() * 2)};
    TSInput input{&buffer, readBuffer,
                  std::endian::native == std::endian::little ? TSInputEncodingUTF16LE : TSInputEncodingUTF16BE,
                  nullptr};
    Budget budget{0, maxAllocatedBytes};
    allocationSum = &budget.allocated;
    TSTree* tree = ts_parser_parse_with_options(parser, nullptr, input, TSParseOptions{&budget, onParseProgress});
    allocationSum = nullptr;
    ts_parser_delete(parser);  // also drops a parse that was given up
    Attempt attempt;
    attempt.overBudget = budget.exhausted;
    if (tree && !budget.exhausted) attempt.tree = SyntaxTree(tree);
    else if (tree) ts_tree_delete(tree);
    return attempt;
}

std::uint64_t errorSiblingScanSteps(TSNode root, std::uint64_t stopAbove) {
    std::uint64_t steps = 0;
    TSTreeCursor cursor = ts_tree_cursor_new(root);
    TSTreeCursor children = ts_tree_cursor_new(root);
    // Pre-order over the whole tree with one cursor; the second lists an error node's children.
    bool more = true;
    while (more && steps <= stopAbove) {
        TSNode node = ts_tree_cursor_current_node(&cursor);
        if (ts_node_is_error(node)) {
            ts_tree_cursor_reset(&children, node);
            // Children whose search has not met a named sibling yet: each of them steps
            // over the next child.
            std::uint64_t searching = 0;
            if (ts_tree_cursor_goto_first_child(&children)) {
                do {
                    steps += searching;
                    searching = ts_node_is_named(ts_tree_cursor_current_node(&children)) ? 1 : searching + 1;
                } while (ts_tree_cursor_goto_next_sibling(&children));
            }
        }
        // Error nodes lie only below nodes that have an error: intact code costs one step.
        if ((ts_node_has_error(node) && ts_tree_cursor_goto_first_child(&cursor)) ||
            ts_tree_cursor_goto_next_sibling(&cursor))
            continue;
        more = false;
        while (ts_tree_cursor_goto_parent(&cursor)) {
            if (ts_tree_cursor_goto_next_sibling(&cursor)) {
                more = true;
                break;
            }
        }
    }
    ts_tree_cursor_delete(&children);
    ts_tree_cursor_delete(&cursor);
    return steps;
}

std::string extractNodeText(TSNode node, std::u16string_view source) {
    std::size_t n = source.size();
    std::size_t start = std::min<std::size_t>(ts_node_start_byte(node) / 2, n);
    std::size_t end = std::max(std::min<std::size_t>(ts_node_end_byte(node) / 2, n), start);
    return utf16ToUtf8(source.substr(start, end - start));
}

TextRange textRangeOf(TSNode node) {
    TSPoint s = ts_node_start_point(node);
    TSPoint e = ts_node_end_point(node);
    return TextRange{static_cast<std::int64_t>(s.row) + 1, static_cast<std::int64_t>(s.column) + 1,
                     static_cast<std::int64_t>(e.row) + 1, static_cast<std::int64_t>(e.column) + 1};
}

std::optional<TSNode> nearestAncestorOfType(TSNode node, std::string_view type, bool includeSelf) {
    TSNode current = includeSelf ? node : ts_node_parent(node);
    while (!ts_node_is_null(current)) {
        if (type == ts_node_type(current)) return current;
        current = ts_node_parent(current);
    }
    return std::nullopt;
}

TSSymbol namedSymbol(const TSLanguage* language, std::string_view type) {
    return ts_language_symbol_for_name(language, type.data(), static_cast<std::uint32_t>(type.size()), true);
}

TSFieldId fieldId(const TSLanguage* language, std::string_view field) {
    return ts_language_field_id_for_name(language, field.data(), static_cast<std::uint32_t>(field.size()));
}

std::optional<std::string> nameFieldText(TSNode node, std::u16string_view source) {
    TSNode name = ts_node_child_by_field_name(node, "name", 4);
    if (ts_node_is_null(name)) return std::nullopt;
    return extractNodeText(name, source);
}

SharedQuery::SharedQuery(TSQuery* query) : query_(query) {
    std::uint32_t count = ts_query_capture_count(query);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t length = 0;
        const char* name = ts_query_capture_name_for_id(query, i, &length);
        captureNames_.emplace_back(name, length);
    }
}

SharedQuery::~SharedQuery() { ts_query_delete(query_); }

int SharedQuery::captureIndex(std::string_view name) const {
    for (std::size_t i = 0; i < captureNames_.size(); ++i)
        if (captureNames_[i] == name) return static_cast<int>(i);
    return -1;
}

const SharedQuery* SharedQuery::get(const TSLanguage* language, std::string_view source) {
    // Compiling is far costlier than analysing a typical file, so each query is compiled
    // once; entries live until the process ends. A failed compile is remembered too.
    static std::mutex mutex;
    static std::map<std::pair<const TSLanguage*, std::string>, std::unique_ptr<SharedQuery>> cache;
    std::lock_guard lock(mutex);
    auto key = std::make_pair(language, std::string(source));
    auto it = cache.find(key);
    if (it != cache.end()) return it->second.get();
    std::uint32_t errorOffset = 0;
    TSQueryError error = TSQueryErrorNone;
    TSQuery* query =
        ts_query_new(language, source.data(), static_cast<std::uint32_t>(source.size()), &errorOffset, &error);
    std::unique_ptr<SharedQuery> entry = query ? std::unique_ptr<SharedQuery>(new SharedQuery(query)) : nullptr;
    auto* raw = entry.get();
    cache.emplace(std::move(key), std::move(entry));
    return raw;
}

std::vector<TSNode> QueryMatch::captures(int captureIndex) const {
    std::vector<TSNode> nodes;
    if (captureIndex < 0) return nodes;
    for (std::uint16_t i = 0; i < count_; ++i)
        if (captures_[i].index == static_cast<std::uint32_t>(captureIndex)) nodes.push_back(captures_[i].node);
    return nodes;
}

std::optional<TSNode> QueryMatch::first(int captureIndex) const {
    if (captureIndex < 0) return std::nullopt;
    for (std::uint16_t i = 0; i < count_; ++i)
        if (captures_[i].index == static_cast<std::uint32_t>(captureIndex)) return captures_[i].node;
    return std::nullopt;
}

}  // namespace vantrel
