#pragma once

#include <kelp/bundlemgr/light_event.h>

namespace NS_KELPCORBA {

/// Reads the agent's options again each time the host has read its configuration again. Runs on the
/// thread of the light event manager.
class OptionsRereading : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    static OptionsRereading& instance();

    void begin();
    /// Stop re-reading. Waits for a re-read in progress, so the caller must hold no lock. Harmless
    /// without begin().
    void end();

    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;
};

}  // namespace NS_KELPCORBA
