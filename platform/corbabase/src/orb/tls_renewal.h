#pragma once

#include <kelp/bundlemgr/light_event.h>

namespace NS_CORBA {

/// Reloads the files of [tls] each time the configuration has been re-read, even if only their
/// content changed. Files that cannot be used are traced and change nothing.
class TlsRenewal : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    TlsRenewal() = default;
    ~TlsRenewal() override;
    TlsRenewal(const TlsRenewal&) = delete;
    TlsRenewal& operator=(const TlsRenewal&) = delete;

    void start();
    void stop();
    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;
};

}  // namespace NS_CORBA
