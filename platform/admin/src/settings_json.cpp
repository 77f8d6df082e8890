#include <kelp/admin/settings_json.h>
#include <kelp/bundlemgr/config_store.h>

namespace kelp::admin {

Json settingsJson() {
    const auto& config = NS_BUNDLEMGR1::ConfigStore::instance();
    Json all = Json::array();
    for (const auto& each : config.settings())
        all.push_back({{"key", each.key},
                       {"value", each.value},
                       {"file", each.file},
                       {"line", each.line},
                       {"waiting", each.waiting},
                       {"problem", each.problem}});
    return {{"file", config.file().string()}, {"settings", all}};
}

}  // namespace kelp::admin
