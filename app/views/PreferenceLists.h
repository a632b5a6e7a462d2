// The two list preferences as the preferences window edits them: global exclude
// patterns and enabled language ids. Every write stores the whole list, sorted
// ascending and without duplicates, as compact JSON.
#pragma once

#include <QString>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// The stored list (or the registered default when never written); data that is not a
// JSON array reads as an empty list here.
std::vector<std::string> storedJSONList(const QString& key);

// Adds `text` without surrounding white space to the global exclude patterns. Returns
// false, storing nothing, when nothing remains after trimming.
bool addExcludePattern(std::string_view text);
void removeExcludePattern(const std::string& pattern);

void setLanguageEnabled(const std::string& id, bool enabled);

}  // namespace vantrel
