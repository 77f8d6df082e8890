#pragma once

#include "naming_supervisor.h"

#include <kelp/bundlemgr/light_event.h>

namespace kelp::host {

/// Starts the embedded naming service again when, at a re-read of the configuration, the files of [tls] hold
/// something new; it keeps its bindings. Files that cannot be used leave it as it is.
class NamingTlsRenewal : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    /// The supervisor has started and outlives this.
    explicit NamingTlsRenewal(NamingSupervisor& supervisor);
    ~NamingTlsRenewal() override;
    NamingTlsRenewal(const NamingTlsRenewal&) = delete;
    NamingTlsRenewal& operator=(const NamingTlsRenewal&) = delete;

    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;

  private:
    NamingSupervisor& supervisor_;
};

}  // namespace kelp::host
