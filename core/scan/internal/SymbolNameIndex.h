// Symbol name -> every symbol with that name, across files and languages. Made once per
// scan and read by every call site of the link phase, so it is flat: one array of
// candidates grouped by name and ordered by file path within a name (so a file's
// candidates are found by binary search: common names such as `get`, `save` or
// `__init__` have thousands in a large project), and an open-addressed table of the
// groups. Ids and names are borrowed from the graph's keys: the index is valid while
// the graph keeps its set of symbols (edges may change).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

// One symbol a name may stand for: its id, the length of the id's file part, and the
// symbol itself in the graph the index was made from, whose edges its owner may change.
struct NameCandidate {
    std::string_view id;
    std::size_t fileLength = 0;
    Symbol* symbol = nullptr;
    std::string_view filePath() const { return id.substr(0, fileLength); }
};

class SymbolNameIndex {
public:
    // Adds one symbol of the graph; an id of fewer than three ':'-pieces has no name
    // and is left out. Additions are cheap, so they can follow the graph as it grows.
    void add(const std::string& id, Symbol& symbol);
    // Orders and groups what was added; done once, after the last addition.
    void finish();

    // The candidates of `name`, by file path then id; empty when the name is unknown.
    std::span<const NameCandidate> candidates(std::string_view name) const;
    // The symbol of exactly this id, when it was added; found through its name, which
    // costs one probe of the table where a search of the graph costs a string comparison
    // at each of its levels.
    const NameCandidate* find(std::string_view id) const;
    std::size_t nameCount() const { return groups_.size(); }

    // After the graph's symbols of some names changed (a live update), those names' groups
    // are replaced one by one, instead of the index being made again (40 ms at 70,000
    // symbols). First, while the graph still holds the old symbols, each such name is
    // lent storage of the caller's that outlives the replacement, since the key the group
    // borrowed its name from may be erased.
    void lendName(const std::string& name);
    // The candidates of `name` become `ids` (ids of `ir` with that name). False when the
    // table has no room for another name or replaced candidates have piled up: the caller
    // then makes the index again.
    [[nodiscard]] bool replaceName(std::string_view name, const std::vector<std::string>& ids, ProjectIR& ir);

private:
    struct Entry {
        std::uint64_t hash;
        std::string_view name;
        NameCandidate candidate;
    };
    struct Group {
        std::uint64_t hash;
        std::string_view name;
        std::uint32_t begin;
        std::uint32_t end;
    };
    std::vector<Entry> added_;
    std::vector<NameCandidate> candidates_;
    std::vector<Group> groups_;
    std::vector<std::uint32_t> slots_;  // group index + 1; 0 is free
    std::size_t abandoned_ = 0;         // candidates no group points at any more
};

// The index of all of a graph's symbols, finished.
[[nodiscard]] SymbolNameIndex symbolNameIndex(ProjectIR& ir);

// The name and the length of the file part of an id, read from its end; nothing for an
// id of fewer than three pieces.
std::optional<std::pair<std::string_view, std::size_t>> idNameAndFileLength(std::string_view id);

}  // namespace vantrel
