#pragma once

#include <kelp/bundlemgr/light_event.h>

namespace NS_KELPCORBA {

/// Reads the agent's options again whenever the host has read its configuration again, on the light
/// event manager's thread.
class OptionsRereading : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    static OptionsRereading& instance();

    void begin();
    /// Returns after a running re-read has ended. Harmless without begin(); hold no lock.
    void end();

    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;
};

}  // namespace NS_KELPCORBA
