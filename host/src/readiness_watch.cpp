#include "readiness_watch.h"

#include <kelp/corbabase/naming_findings.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <utility>

#include "naming_readiness.h"
#include "service_manager.h"

namespace kelp::host {

namespace {

/// The naming monitor checks the entry every 3 s.
constexpr std::chrono::seconds kCheckInterval{1};
/// How long systemd waits for the next notification.
constexpr std::chrono::seconds kPatience{30};

}  // namespace

ReadinessWatch::ReadinessWatch(std::string address)
    : address_(std::move(address)), thread_(util::startThread("readiness", [this] { run(); })) {}

ReadinessWatch::~ReadinessWatch() {
    ending_.raise();
    thread_.join();
}

void ReadinessWatch::run() {
    do {
        const NS_CORBA::NamingEntryState entry = NS_CORBA::NamingFindings::Instance().State();
        if (entry.isBound) {
            tellReady("ready, naming service at " + address_);
            return;
        }
        tellNotReady("not ready: the session factory is not found at " + address_ + ": " +
                         util::escaped(whyNotBound(entry), 200),
                     kPatience);
    } while (ending_.pause(kCheckInterval));
}

}  // namespace kelp::host
