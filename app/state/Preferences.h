// The application's key-value preferences (QSettings, organisation and application
// "Vantrel"): the keys, their registered defaults and the encoding of the two list keys.
// Registered defaults are a fallback layer under every read and are never written into
// the stored values, so a user's setting and "never set" stay distinguishable. QSettings
// has no such layer; every read goes through `Preferences`, which supplies it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

namespace prefkeys {
inline constexpr char kShowOnboardingOnLaunch[] = "showOnboardingOnLaunch";        // Boolean, true
inline constexpr char kHasCompletedOnboarding[] = "hasCompletedOnboarding";        // Boolean, not registered
inline constexpr char kDefaultMaxDepth[] = "defaultMaxDepth";                      // integer, 3
inline constexpr char kDefaultExportFormat[] = "defaultExportFormat";              // "json" "dot" "svg" "png"
inline constexpr char kEdgeOpacity[] = "edgeOpacity";                              // double, 0.55
inline constexpr char kGraphNodeSize[] = "graphNodeSize";                          // "small" "medium" "large"
inline constexpr char kColorScheme[] = "colorScheme";                              // "system" "light" "dark"
inline constexpr char kGlobalExcludePatternsJSON[] = "globalExcludePatternsJSON";  // JSON array data
inline constexpr char kEnabledLanguageIdsJSON[] = "enabledLanguageIdsJSON";        // JSON array data
inline constexpr char kLinkingMode[] = "linkingMode";                              // "names" "precise"
inline constexpr char kPreferencesSelectedTab[] = "preferencesSelectedTab";        // "general" "scanning" "appearance"
inline constexpr char kRecentProjects[] = "recentProjects";                        // list of text, not registered
inline constexpr char kLastPanelFolder[] = "lastPanelFolder";                      // text, not registered
inline constexpr char kRestoreLastSession[] = "restoreLastSession";                // Boolean, true
inline constexpr char kWindowGeometry[] = "windowGeometry";                        // bytes, not registered
inline constexpr char kSidebarWidth[] = "sidebarWidth";                            // integer, not registered
inline constexpr char kLastProject[] = "lastProject";                              // text, not registered
inline constexpr char kEditorPreset[] = "editorPreset";                            // "vscode" "terminal" "system" "custom"
inline constexpr char kEditorCommandTemplate[] = "editorCommandTemplate";          // text with {file} and {line}
inline constexpr char kWatchProject[] = "watchProject";                            // Boolean, true
}  // namespace prefkeys

// Compact JSON text of a list of strings, as the two data keys hold it.
QByteArray encodeJSON(const std::vector<std::string>& list);

// Reader of the two data keys: nothing for missing data, text that is not JSON or a
// top-level value that is not an array; otherwise the array's strings in order, other
// elements dropped (so an array without strings gives an empty list, not nothing).
std::optional<std::vector<std::string>> decodeJSONArray(const std::optional<QByteArray>& data);

struct Preferences {
    Preferences() = delete;

    // The registered default of a key; an invalid QVariant for a key without one.
    static QVariant registeredDefault(const QString& key);

    // The stored value, else the registered default, else an invalid QVariant.
    static QVariant value(const QString& key);

    // Typed reads in the manner of the platform's store: nothing when the value (stored
    // or registered) is missing or not of the type.
    static std::optional<bool> boolValue(const QString& key);
    static std::optional<std::int64_t> integerValue(const QString& key);
    static std::optional<QByteArray> dataValue(const QString& key);
    static QStringList textListValue(const QString& key);  // empty when missing

    static void setValue(const QString& key, const QVariant& value);
    static void remove(const QString& key);
};

}  // namespace vantrel
