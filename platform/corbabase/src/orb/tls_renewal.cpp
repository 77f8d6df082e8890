#include "orb/tls_renewal.h"

#include <kelp/corbabase/tls_settings.h>
#include <kelp/corbabase/trace.h>

#include <exception>

namespace NS_CORBA {

namespace {

using NS_BUNDLEMGR1::kConfigurationReadEvent;
using NS_BUNDLEMGR1::LightEventMgr;

void traceKept(const std::string& whyNot) {
    tracePoint("tlsrenewal");
    TaTrace("[TlsRenewal] TLS goes on with the certificates that it has: %s", whyNot.c_str());
}

}  // namespace

TlsRenewal::~TlsRenewal() {
    stop();
}

void TlsRenewal::start() {
    LightEventMgr::Instance()->RegisterHandler(kConfigurationReadEvent, this);
}

void TlsRenewal::stop() {
    LightEventMgr::Instance()->DeregisterHandler(kConfigurationReadEvent, this);
}

void TlsRenewal::DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData*) {
    if (eventId != kConfigurationReadEvent)
        return;
    try {
        std::string whyNot;
        const std::optional<kelp::orb::TlsFiles> files = configuredTlsFiles(whyNot);
        if (!files || !kelp::orb::renewTls(*files, whyNot))
            traceKept(whyNot);
    } catch (const std::exception& failure) {
        traceKept(failure.what());
    }
}

}  // namespace NS_CORBA
