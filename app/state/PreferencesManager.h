// The global scan settings as the preferences give them, and their merge with a
// project's own configuration file. Stateless: every call reads the preferences anew.
#pragma once

#include <functional>

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/config/VantrelConfig.h"

namespace vantrel {

struct PreferencesManager {
    PreferencesManager() = delete;

    // The stored patterns; the three default patterns when the data is missing or
    // unreadable. An empty list stays empty: nothing is excluded globally.
    static std::vector<std::string> globalExcludePatterns();

    // The stored language ids; nothing (all languages) for missing, unreadable or empty data.
    static std::optional<std::vector<std::string>> enabledLanguageIds();
    // The stored linking mode; names for anything else.
    static LinkingMode linkingMode();

    // The stored depth with 0 read as 3, then limited to 1 to 12.
    static std::int64_t defaultMaxDepth();

    // A depth the user sets is limited to 1 to 12 (a project file's is not).
    static std::int64_t limitUserDepth(std::int64_t depth);

    static VantrelConfig globalConfig();

    // The project's file laid over globalConfig() by the same merge the headless tool uses.
    static VantrelConfig mergedConfig(const QString& projectRoot);

    // What a live project scans with: `current` first, then, each time a settings file
    // changed, the project's file read again over the global settings of now. Called on
    // the main thread; the loader may run on any thread, since it reads no preferences.
    static std::function<VantrelConfig()> liveConfigLoader(const QString& projectRoot, VantrelConfig current);

    // Whether first launch should show the sample project: onboarding not completed and
    // `showOnboardingOnLaunch` not turned off (a non-Boolean value counts as on).
    static bool wantsOnboardingAtLaunch();
};

}  // namespace vantrel
