#include "config/rereading.h"

#include <kelp/agent/corba_agent_config.h>

namespace NS_KELPCORBA {

using NS_BUNDLEMGR1::kConfigurationReadEvent;
using NS_BUNDLEMGR1::LightEventMgr;

OptionsRereading& OptionsRereading::instance() {
    static OptionsRereading instance;
    return instance;
}

void OptionsRereading::begin() {
    LightEventMgr::Instance()->RegisterHandler(kConfigurationReadEvent, this);
}

void OptionsRereading::end() {
    LightEventMgr::Instance()->DeregisterHandler(kConfigurationReadEvent, this);
}

void OptionsRereading::DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData*) {
    if (eventId == kConfigurationReadEvent)
        CorbaAgentConfig::Instance()->ReConfig();
}

}  // namespace NS_KELPCORBA
