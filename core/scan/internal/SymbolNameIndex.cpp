#include "core/scan/internal/SymbolNameIndex.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <functional>
#include <optional>

#include "core/util/TextOrder.h"

namespace vantrel {

std::optional<std::pair<std::string_view, std::size_t>> idNameAndFileLength(std::string_view id) {
    auto kindColon = id.rfind(':');
    if (kindColon == std::string_view::npos || kindColon == 0) return std::nullopt;
    auto nameColon = id.rfind(':', kindColon - 1);
    if (nameColon == std::string_view::npos) return std::nullopt;
    return std::make_pair(id.substr(nameColon + 1, kindColon - nameColon - 1), nameColon);
}

void SymbolNameIndex::add(const std::string& id, Symbol& symbol) {
    assert(slots_.empty() && "additions come before finish");
    auto parts = idNameAndFileLength(id);
    if (!parts) return;
    added_.push_back(
        Entry{std::hash<std::string_view>{}(parts->first), parts->first, NameCandidate{id, parts->second, &symbol}});
}

namespace {

// By file, then id. A common name (`get`, `__init__`) has thousands of candidates in
// files all over the project, which are ordered by numbers made of their paths first.
void sortGroup(std::span<NameCandidate> group) {
    auto idLess = [](const NameCandidate& a, const NameCandidate& b) { return a.id < b.id; };
    if (group.size() < 64) {
        std::sort(group.begin(), group.end(), [&](const NameCandidate& a, const NameCandidate& b) {
            if (int byFile = a.filePath().compare(b.filePath())) return byFile < 0;
            return idLess(a, b);
        });
        return;
    }
    std::vector<NameCandidate> sorted;
    sorted.reserve(group.size());
    for (std::uint32_t i : orderByText(group, std::mem_fn(&NameCandidate::filePath), idLess))
        sorted.push_back(group[i]);
    std::copy(sorted.begin(), sorted.end(), group.begin());
}

}  // namespace

void SymbolNameIndex::finish() {
    assert(slots_.empty() && "finish is called once");
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

const NameCandidate* SymbolNameIndex::find(std::string_view id) const {
    auto parts = idNameAndFileLength(id);
    if (!parts) return nullptr;
    std::span<const NameCandidate> group = candidates(parts->first);
    std::string_view file = id.substr(0, parts->second);
    // In the group's order: by file, then id.
    auto at = std::partition_point(group.begin(), group.end(), [&](const NameCandidate& c) {
        if (int byFile = c.filePath().compare(file)) return byFile < 0;
        return c.id < id;
    });
    return at != group.end() && at->id == id ? &*at : nullptr;
}

void SymbolNameIndex::lendName(const std::string& name) {
    if (slots_.empty()) return;
    std::uint64_t hash = std::hash<std::string_view>{}(name);
    std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = hash & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
        Group& group = groups_[slots_[slot] - 1];
        if (group.hash == hash && group.name == name) {
            group.name = name;
            return;
        }
    }
}

bool SymbolNameIndex::replaceName(std::string_view name, const std::vector<std::string>& ids, ProjectIR& ir) {
    if (slots_.empty()) return false;
    std::vector<NameCandidate> fresh;
    fresh.reserve(ids.size());
    for (const auto& id : ids) {
        auto it = ir.symbols.find(id);
        auto parts = idNameAndFileLength(id);
        if (it == ir.symbols.end() || !parts || parts->first != name) continue;
        fresh.push_back(NameCandidate{it->first, parts->second, &it->second});
    }
    std::uint64_t hash = std::hash<std::string_view>{}(name);
    std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const Group& group = groups_[slots_[slot] - 1];
        if (group.hash == hash && group.name == name) break;
    }
    if (slots_[slot] == 0) {
        if (fresh.empty()) return true;
        if ((groups_.size() + 1) * 2 > slots_.size()) return false;
        groups_.push_back(Group{hash, {}, 0, 0});
        slots_[slot] = static_cast<std::uint32_t>(groups_.size());
    }
    Group& group = groups_[slots_[slot] - 1];
    abandoned_ += group.end - group.begin;
    if (abandoned_ > candidates_.size() / 2 + 1024) return false;
    sortGroup(fresh);
    group.begin = static_cast<std::uint32_t>(candidates_.size());
    candidates_.insert(candidates_.end(), fresh.begin(), fresh.end());
    group.end = static_cast<std::uint32_t>(candidates_.size());
    // Named after a key of the graph while it has candidates; an empty group keeps its
    // slot (the probes go past it) but matches no name.
    group.name = fresh.empty() ? std::string_view() : idNameAndFileLength(fresh.front().id)->first;
    return true;
}

SymbolNameIndex symbolNameIndex(ProjectIR& ir) {
    SymbolNameIndex index;
    for (auto& [id, symbol] : ir.symbols) index.add(id, symbol);
    index.finish();
    return index;
}

}  // namespace vantrel
