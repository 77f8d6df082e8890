#include "naming_tls_renewal.h"

#include "start_failure.h"

#include <kelp/corbabase/tls_settings.h>
#include <kelp/util/trace_log.h>

#include <exception>
#include <string>

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::kConfigurationReadEvent;
using NS_BUNDLEMGR1::LightEventMgr;

void traceKept(const std::string& whyNot) {
    util::traceFrom("kelpd", "the naming service goes on with the certificates that it has: " + whyNot);
}

}  // namespace

NamingTlsRenewal::NamingTlsRenewal(NamingSupervisor& supervisor) : supervisor_(supervisor) {
    LightEventMgr::Instance()->RegisterHandler(kConfigurationReadEvent, this);
}

NamingTlsRenewal::~NamingTlsRenewal() {
    LightEventMgr::Instance()->DeregisterHandler(kConfigurationReadEvent, this);
}

void NamingTlsRenewal::DoWork(int, const NS_BUNDLEMGR1::LightEventData*) {
    try {
        const auto problems = NS_CORBA::problemsOfConfiguredTls();
        if (!problems.empty()) {
            traceKept(problems.front().text());
            return;
        }
        std::string whyNot;
        const NamingSettings settings = configuredNaming();
        if (settings.tls && !supervisor_.renewTls(*settings.tls, whyNot))
            traceKept(whyNot);
    } catch (const StartFailure& failure) {
        traceKept(failure.why);
    } catch (const std::exception& failure) {
        traceKept(failure.what());
    }
}

}  // namespace kelp::host
