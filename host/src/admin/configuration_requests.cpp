#include "admin/configuration_requests.h"

#include <kelp/admin/settings_json.h>
#include <kelp/bundlemgr/config_store.h>

#include <string>
#include <vector>

#include "reload.h"

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigChange;
using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigSetting;
using NS_BUNDLEMGR1::ConfigStore;

/// Maximum number of problems in a refusal.
constexpr std::size_t kProblemsMax = 20;

#if defined(__clang__)
constexpr const char* kCompiler = "clang " __clang_version__;
#else
constexpr const char* kCompiler = "gcc " __VERSION__;
#endif

#ifdef NDEBUG
constexpr bool kHasAssertions = false;
#else
constexpr bool kHasAssertions = true;
#endif

admin::Json jsonOfChanges(const std::vector<ConfigChange>& changes) {
    admin::Json all = admin::Json::array();
    for (const ConfigChange& each : changes)
        all.push_back({{"key", each.key}, {"before", each.before}, {"after", each.after}});
    return all;
}

std::string inOneLine(const std::vector<ConfigProblem>& problems) {
    std::string text;
    for (std::size_t i = 0; i < problems.size() && i < kProblemsMax; ++i)
        text += (i == 0 ? "" : "; ") + problems[i].text();
    if (problems.size() > kProblemsMax)
        text += "; and " + std::to_string(problems.size() - kProblemsMax) + " more";
    return text;
}

}  // namespace

admin::Json tellConfiguration(const admin::Json&) {
    return admin::settingsJson();
}

admin::Json reload(const admin::Json& request) {
    if (!request.is_null() && !(request.is_object() && request.empty()))
        throw admin::RequestError("a reload has no parameters: send no body, or {}");
    const ReloadResult result = reloadConfiguration();
    if (!result.problems.empty())
        throw admin::RequestError(
            "the configuration is kept as it was: " + inOneLine(result.problems),
            admin::RequestError::kConflict);
    return {{"file", ConfigStore::instance().file().string()},
            {"changes", jsonOfChanges(result.changes)},
            {"waiting", jsonOfChanges(result.waiting)}};
}

admin::Json tellVersion(const admin::Json&) {
    return {{"version", KELP_VERSION}, {"compiler", kCompiler}, {"assertions", kHasAssertions}};
}

}  // namespace kelp::host
