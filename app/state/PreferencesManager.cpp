#include "app/state/PreferencesManager.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "app/state/Preferences.h"
#include "core/config/GlobalDefaults.h"

namespace vantrel {

namespace {
constexpr std::int64_t kMinUserDepth = 1;
constexpr std::int64_t kMaxUserDepth = 12;
}  // namespace

std::vector<std::string> PreferencesManager::globalExcludePatterns() {
    return decodeJSONArray(Preferences::dataValue(prefkeys::kGlobalExcludePatternsJSON))
        .value_or(defaultGlobalExcludePatterns());
}

std::optional<std::vector<std::string>> PreferencesManager::enabledLanguageIds() {
    auto ids = decodeJSONArray(Preferences::dataValue(prefkeys::kEnabledLanguageIdsJSON));
    if (!ids || ids->empty()) return std::nullopt;
    return ids;
}

LinkingMode PreferencesManager::linkingMode() {
    const QString stored = Preferences::value(QString::fromUtf8(prefkeys::kLinkingMode)).toString();
    return linkingModeFromRaw(stored.toStdString()).value_or(LinkingMode::names);
}

std::int64_t PreferencesManager::defaultMaxDepth() {
    // A value that is no integer reads as 0, like a missing one without a default.
    std::int64_t depth = Preferences::integerValue(prefkeys::kDefaultMaxDepth).value_or(0);
    if (depth == 0) depth = kDefaultMaxDepth;
    return limitUserDepth(depth);
}

std::int64_t PreferencesManager::limitUserDepth(std::int64_t depth) {
    return std::clamp(depth, kMinUserDepth, kMaxUserDepth);
}

VantrelConfig PreferencesManager::globalConfig() {
    // Names is what an absent setting means, so the default settings stay the defaults.
    const LinkingMode linking = linkingMode();
    return VantrelConfig{globalExcludePatterns(), defaultMaxDepth(), enabledLanguageIds(),
                         linking == LinkingMode::names ? std::nullopt : std::optional<LinkingMode>(linking)};
}

VantrelConfig PreferencesManager::mergedConfig(const QString& projectRoot) {
    return mergeConfig(globalConfig(), VantrelConfig::loadIfPresent(projectRoot.toStdString()));
}

std::function<VantrelConfig()> PreferencesManager::liveConfigLoader(const QString& projectRoot, VantrelConfig current) {
    auto first = std::make_shared<std::optional<VantrelConfig>>(std::move(current));
    return [first, global = globalConfig(), root = projectRoot.toStdString()] {
        if (*first) {
            VantrelConfig config = std::move(**first);
            first->reset();
            return config;
        }
        return mergeConfig(global, VantrelConfig::loadIfPresent(root));
    };
}

bool PreferencesManager::wantsOnboardingAtLaunch() {
    bool completed = Preferences::boolValue(prefkeys::kHasCompletedOnboarding).value_or(false);
    bool showOnLaunch = Preferences::boolValue(prefkeys::kShowOnboardingOnLaunch).value_or(true);
    return !completed && showOnLaunch;
}

}  // namespace vantrel
