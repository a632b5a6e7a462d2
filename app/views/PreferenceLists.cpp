#include "app/views/PreferenceLists.h"

#include <set>

#include "app/state/Preferences.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

using Edit = void (*)(std::set<std::string>&, const std::string&);

void editStoredSet(const QString& key, const std::string& value, Edit edit) {
    std::vector<std::string> stored = storedJSONList(key);
    std::set<std::string> values(stored.begin(), stored.end());
    edit(values, value);
    Preferences::setValue(key, encodeJSON(std::vector<std::string>(values.begin(), values.end())));
}

void insertInto(std::set<std::string>& values, const std::string& value) { values.insert(value); }
void eraseFrom(std::set<std::string>& values, const std::string& value) { values.erase(value); }

}  // namespace

std::vector<std::string> storedJSONList(const QString& key) {
    return decodeJSONArray(Preferences::dataValue(key)).value_or(std::vector<std::string>{});
}

bool addExcludePattern(std::string_view text) {
    std::string pattern(trimWhitespace(text));
    if (pattern.empty()) return false;
    editStoredSet(prefkeys::kGlobalExcludePatternsJSON, pattern, insertInto);
    return true;
}

void removeExcludePattern(const std::string& pattern) {
    editStoredSet(prefkeys::kGlobalExcludePatternsJSON, pattern, eraseFrom);
}

void setLanguageEnabled(const std::string& id, bool enabled) {
    editStoredSet(prefkeys::kEnabledLanguageIdsJSON, id, enabled ? insertInto : eraseFrom);
}

}  // namespace vantrel
