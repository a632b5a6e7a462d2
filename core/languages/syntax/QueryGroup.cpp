#include "languages/syntax/QueryGroup.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace vantrel {

const QueryGroup* QueryGroup::get(const TSLanguage* language, const std::vector<std::string_view>& passSources) {
    static std::mutex mutex;
    static std::map<std::pair<const TSLanguage*, std::vector<std::string>>, std::unique_ptr<QueryGroup>> cache;
    std::vector<std::string> key(passSources.begin(), passSources.end());
    {
        std::lock_guard lock(mutex);
        auto it = cache.find({language, key});
        if (it != cache.end()) return it->second.get();
    }
    // Each pass must compile alone too, so that the split by pattern counts is exact.
    std::vector<std::uint16_t> firstPattern;
    std::string joined;
    std::uint32_t patterns = 0;
    bool usable = true;
    for (auto source : passSources) {
        const SharedQuery* alone = SharedQuery::get(language, source);
        if (!alone) {
            usable = false;
            break;
        }
        firstPattern.push_back(static_cast<std::uint16_t>(patterns));
        patterns += ts_query_pattern_count(alone->query());
        if (!joined.empty()) joined.push_back('\n');
        joined.append(source);
    }
    const SharedQuery* combined = usable ? SharedQuery::get(language, joined) : nullptr;
    std::unique_ptr<QueryGroup> group;
    if (combined && ts_query_pattern_count(combined->query()) == patterns)
        group.reset(new QueryGroup(combined, std::move(firstPattern)));
    std::lock_guard lock(mutex);
    auto [it, inserted] = cache.emplace(std::make_pair(language, std::move(key)), std::move(group));
    return it->second.get();
}

std::size_t QueryGroup::passOf(std::uint16_t pattern) const {
    auto it = std::upper_bound(firstPattern_.begin(), firstPattern_.end(), pattern);
    return static_cast<std::size_t>(it - firstPattern_.begin()) - 1;
}

std::uint16_t QueryGroup::localPattern(std::uint16_t pattern) const {
    return static_cast<std::uint16_t>(pattern - firstPattern_[passOf(pattern)]);
}

PassMatches::PassMatches(const TSLanguage* language, const std::vector<std::string_view>& passSources, TSNode root)
    : language_(language),
      sources_(passSources),
      root_(root),
      group_(QueryGroup::get(language, passSources)),
      byPass_(passSources.size()) {
    if (!group_) return;
    forEachRawMatch(group_->combined(), root, [&](const TSQueryMatch& match) {
        // The cursor reuses its capture storage: keep copies.
        Recorded recorded{group_->localPattern(match.pattern_index), static_cast<std::uint32_t>(captures_.size()),
                          match.capture_count};
        captures_.insert(captures_.end(), match.captures, match.captures + match.capture_count);
        byPass_[group_->passOf(match.pattern_index)].push_back(recorded);
    });
}

std::optional<PassMatches::Feed> PassMatches::feed(std::size_t pass) const {
    if (group_) return Feed(*this, pass, &group_->combined());
    const SharedQuery* own = SharedQuery::get(language_, sources_[pass]);
    if (!own) return std::nullopt;
    return Feed(*this, pass, own);
}

}  // namespace vantrel
