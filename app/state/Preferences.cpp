#include "app/state/Preferences.h"

#include <QSettings>
#include <QVariantMap>
#include <nlohmann/json.hpp>

#include "core/config/GlobalDefaults.h"

namespace vantrel {

namespace {

constexpr char kOrganisation[] = "Vantrel";
constexpr char kApplication[] = "Vantrel";

// The registered defaults, in one place. `hasCompletedOnboarding` and `recentProjects`
// are deliberately absent: they read as false and as no list.
const QVariantMap& defaultsTable() {
    static const QVariantMap table{
        {prefkeys::kShowOnboardingOnLaunch, true},
        {prefkeys::kRestoreLastSession, true},
        {prefkeys::kWatchProject, true},
        {prefkeys::kDefaultMaxDepth, static_cast<qlonglong>(kDefaultMaxDepth)},
        {prefkeys::kDefaultExportFormat, QStringLiteral("json")},
        {prefkeys::kEdgeOpacity, 0.55},
        {prefkeys::kGraphNodeSize, QStringLiteral("medium")},
        {prefkeys::kColorScheme, QStringLiteral("system")},
        {prefkeys::kGlobalExcludePatternsJSON, encodeJSON(defaultGlobalExcludePatterns())},
        {prefkeys::kEnabledLanguageIdsJSON, encodeJSON(defaultEnabledLanguageIds())},
        {prefkeys::kLinkingMode, QStringLiteral("names")},
        {prefkeys::kPreferencesSelectedTab, QStringLiteral("general")},
        {prefkeys::kEditorPreset, QStringLiteral("system")},
        {prefkeys::kEditorCommandTemplate, QStringLiteral("code -g {file}:{line}")},
    };
    return table;
}

}  // namespace

QByteArray encodeJSON(const std::vector<std::string>& list) {
    try {
        std::string text = nlohmann::json(list).dump();
        return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
    } catch (const std::exception&) {
        return {};  // invalid UTF-8 in a pattern: empty data, as the format allows
    }
}

std::optional<std::vector<std::string>> decodeJSONArray(const std::optional<QByteArray>& data) {
    if (!data) return std::nullopt;
    auto parsed = nlohmann::json::parse(data->begin(), data->end(), nullptr, false);
    if (parsed.is_discarded() || !parsed.is_array()) return std::nullopt;
    std::vector<std::string> strings;
    for (const auto& element : parsed)
        if (element.is_string()) strings.push_back(element.get<std::string>());
    return strings;
}

QVariant Preferences::registeredDefault(const QString& key) { return defaultsTable().value(key); }

QVariant Preferences::value(const QString& key) {
    QSettings settings(kOrganisation, kApplication);
    return settings.value(key, registeredDefault(key));
}

std::optional<bool> Preferences::boolValue(const QString& key) {
    QVariant stored = value(key);
    if (stored.typeId() == QMetaType::Bool) return stored.toBool();
    // The settings file gives Booleans back as text.
    if (stored.typeId() == QMetaType::QString) {
        if (stored.toString() == QLatin1String("true")) return true;
        if (stored.toString() == QLatin1String("false")) return false;
    }
    return std::nullopt;
}

std::optional<std::int64_t> Preferences::integerValue(const QString& key) {
    QVariant stored = value(key);
    switch (stored.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::UInt:
        case QMetaType::ULongLong:
        case QMetaType::Double: return stored.toLongLong();
        case QMetaType::QString: {
            bool ok = false;
            qlonglong parsed = stored.toString().toLongLong(&ok);
            return ok ? std::optional<std::int64_t>(parsed) : std::nullopt;
        }
        default: return std::nullopt;
    }
}

std::optional<QByteArray> Preferences::dataValue(const QString& key) {
    QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QByteArray) return stored.toByteArray();
    return std::nullopt;
}

QStringList Preferences::textListValue(const QString& key) {
    QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QStringList) return stored.toStringList();
    // The settings file gives a one-element list back as plain text.
    if (stored.typeId() == QMetaType::QString) return {stored.toString()};
    return {};
}

void Preferences::setValue(const QString& key, const QVariant& value) {
    QSettings settings(kOrganisation, kApplication);
    settings.setValue(key, value);
}

void Preferences::remove(const QString& key) {
    QSettings settings(kOrganisation, kApplication);
    settings.remove(key);
}

}  // namespace vantrel
