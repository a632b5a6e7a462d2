// Matches found by a hand-written walk instead of a query cursor, held in the form the
// passes read (see CommonPasses.h): each match a pattern index and its captures by name.
#pragma once

#include <tree_sitter/api.h>

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "core/languages/syntax/SyntaxTree.h"

namespace vantrel {

class RecordedMatches {
public:
    explicit RecordedMatches(std::vector<std::string_view> captureNames) : names_(std::move(captureNames)) {}

    // Index of a capture name, or -1.
    int captureIndex(std::string_view name) const {
        for (std::size_t i = 0; i < names_.size(); ++i)
            if (names_[i] == name) return static_cast<int>(i);
        return -1;
    }

    void add(std::uint16_t pattern, std::initializer_list<std::pair<int, TSNode>> captures) {
        matches_.push_back(
            {pattern, static_cast<std::uint32_t>(captures_.size()), static_cast<std::uint16_t>(captures.size())});
        for (const auto& [index, node] : captures)
            captures_.push_back(TSQueryCapture{node, static_cast<std::uint32_t>(index)});
    }

    // A match as the query cursor delivers it, its captures numbered as in `captureNames`.
    void add(std::uint16_t pattern, const TSQueryCapture* captures, std::uint16_t count) {
        matches_.push_back({pattern, static_cast<std::uint32_t>(captures_.size()), count});
        captures_.insert(captures_.end(), captures, captures + count);
    }

    std::size_t size() const { return matches_.size(); }

    template <typename Visit>
    void forEach(Visit&& visit) const {
        for (const auto& m : matches_) visit(QueryMatch(m.pattern, captures_.data() + m.firstCapture, m.captureCount));
    }

private:
    struct Recorded {
        std::uint16_t pattern;
        std::uint32_t firstCapture;
        std::uint16_t captureCount;
    };
    std::vector<std::string_view> names_;
    std::vector<Recorded> matches_;
    std::vector<TSQueryCapture> captures_;
};

}  // namespace vantrel
