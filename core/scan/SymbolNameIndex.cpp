#include "scan/SymbolNameIndex.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <optional>

namespace vantrel {

std::optional<std::pair<std::string_view, std::size_t>> idNameAndFileLength(std::string_view id) {
    auto kindColon = id.rfind(':');
    if (kindColon == std::string_view::npos || kindColon == 0) return std::nullopt;
    auto nameColon = id.rfind(':', kindColon - 1);
    if (nameColon == std::string_view::npos) return std::nullopt;
    return std::make_pair(id.substr(nameColon + 1, kindColon - nameColon - 1), nameColon);
}

void SymbolNameIndex::add(const std::string& id, const Symbol& symbol) {
    auto parts = idNameAndFileLength(id);
    if (!parts) return;
    added_.push_back(Entry{std::hash<std::string_view>{}(parts->first), parts->first,
                           NameCandidate{id, parts->second, &symbol}});
}

namespace {

bool byFileThenId(const NameCandidate& a, const NameCandidate& b) {
    if (int byFile = a.filePath().compare(b.filePath())) return byFile < 0;
    return a.id < b.id;
}

// The eight bytes of `text` from `from` on as a number that orders as they do, zeros
// after its end: a shorter text sorts first, as it does among strings.
std::uint64_t orderKey(std::string_view text, std::size_t from) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        unsigned char byte = from + i < text.size() ? static_cast<unsigned char>(text[from + i]) : 0;
        key = (key << 8) | byte;
    }
    return key;
}

// Sorts one name's candidates by file, then id. A common name (`get`, `__init__`) has
// thousands of candidates in files all over the project; comparing their paths would
// read each one from memory many times over. So each candidate first gets a number made
// of the first bytes after the prefix that all the group's paths share, and the paths
// are compared only where those numbers tie.
void sortGroup(std::span<NameCandidate> group) {
    if (group.size() < 64) {
        std::sort(group.begin(), group.end(), byFileThenId);
        return;
    }
    std::string_view first = group.front().filePath();
    std::size_t shared = first.size();
    for (const NameCandidate& candidate : group) {
        std::string_view path = candidate.filePath();
        std::size_t n = 0;
        while (n < shared && n < path.size() && path[n] == first[n]) ++n;
        shared = n;
    }
    struct Keyed {
        std::uint64_t key;
        NameCandidate candidate;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(group.size());
    for (const NameCandidate& candidate : group) keyed.push_back(Keyed{orderKey(candidate.filePath(), shared), candidate});
    std::sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) {
        if (a.key != b.key) return a.key < b.key;
        return byFileThenId(a.candidate, b.candidate);
    });
    for (std::size_t i = 0; i < group.size(); ++i) group[i] = keyed[i].candidate;
}

}  // namespace

void SymbolNameIndex::finish() {
    // Groups by name through the table itself (no sort of all entries: that cost more
    // than the rest of the index), then each name's candidates are placed together and
    // ordered by file, then id. That order is total, so the index does not depend on
    // the order of the additions. The table is at most half full.
    std::size_t size = std::bit_ceil(std::max<std::size_t>(16, added_.size() * 2));
    std::size_t mask = size - 1;
    slots_.assign(size, 0);
    groups_.clear();
    groups_.reserve(added_.size());  // at most one group per entry: no copying as they come
    std::vector<std::uint32_t> groupOf(added_.size());
    for (std::size_t i = 0; i < added_.size(); ++i) {
        const Entry& entry = added_[i];
        std::size_t slot = entry.hash & mask;
        while (slots_[slot] != 0) {
            const Group& group = groups_[slots_[slot] - 1];
            if (group.hash == entry.hash && group.name == entry.name) break;
            slot = (slot + 1) & mask;
        }
        if (slots_[slot] == 0) {
            groups_.push_back(Group{entry.hash, entry.name, 0, 0});
            slots_[slot] = static_cast<std::uint32_t>(groups_.size());
        }
        groupOf[i] = slots_[slot] - 1;
        ++groups_[groupOf[i]].end;  // a count until the groups are laid out
    }
    std::uint32_t next = 0;
    for (Group& group : groups_) {
        group.begin = next;
        next += group.end;
        group.end = group.begin;  // the fill position from here on
    }
    candidates_.resize(added_.size());
    for (std::size_t i = 0; i < added_.size(); ++i) candidates_[groups_[groupOf[i]].end++] = added_[i].candidate;
    for (const Group& group : groups_) {
        if (group.end - group.begin < 2) continue;
        sortGroup(std::span<NameCandidate>(candidates_.data() + group.begin, group.end - group.begin));
    }
    added_ = {};
}

std::span<const NameCandidate> SymbolNameIndex::candidates(std::string_view name) const {
    if (slots_.empty()) return {};
    std::uint64_t hash = std::hash<std::string_view>{}(name);
    std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = hash & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const Group& group = groups_[slots_[slot] - 1];
        if (group.hash == hash && group.name == name)
            return std::span<const NameCandidate>(candidates_.data() + group.begin, group.end - group.begin);
    }
    return {};
}

SymbolNameIndex symbolNameIndex(const ProjectIR& ir) {
    SymbolNameIndex index;
    for (const auto& [id, symbol] : ir.symbols) index.add(id, symbol);
    index.finish();
    return index;
}

}  // namespace vantrel
