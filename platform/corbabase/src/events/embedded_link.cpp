#include "events/embedded_link.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/session_callers.h>
#include <kelp/corbabase/trace.h>

#include <string>
#include <vector>

#include "access/connection_log_ins.h"
#include "access/session_name_parts.h"

namespace NS_CORBA {

namespace {

using kelp::notification::ChannelSettings;

std::size_t size(const char* key) {
    return static_cast<std::size_t>(NS_BUNDLEMGR1::ConfigStore::instance().integer(key));
}

ChannelSettings channelSettings(const kelp::notification::Guard& guard) {
    ChannelSettings settings;
    settings.guard = &guard;
    settings.grace = std::chrono::seconds(size("session.ping_interval_s"));
    settings.queueEventsMax = size("notification.queue_events_max");
    settings.deliveryThreadsMax = size("notification.delivery_threads_max");
    settings.perAddress = {size("notification.consumers_per_address_max"),
                           size("notification.suppliers_per_address_max"),
                           size("notification.admins_per_address_max"),
                           size("notification.filters_per_address_max")};
    settings.perOwner = {size("notification.consumers_per_login_max"),
                         size("notification.admins_per_login_max"),
                         size("notification.filters_per_login_max"),
                         size("notification.constraints_per_login_max"),
                         size("notification.constraint_bytes_max"),
                         size("notification.constraint_cost_max"),
                         size("notification.evaluation_cost_max")};
    settings.filterThreads = size("notification.filter_threads");
    settings.delivery.pushTimeout = std::chrono::seconds(size("notification.push_timeout_s"));
    settings.delivery.deadAfter = std::chrono::seconds(size("notification.dead_consumer_after_s"));
    return settings;
}

}  // namespace

EmbeddedLink::EmbeddedLink(CORBA::ORB_ptr orb, kelp::notification::LossListener& listener)
    : channel_(orb, channelSettings(guard_), &listener) {}

EmbeddedLink::LoggedInPeers::LoggedInPeers() {
    std::string whyNot;
    if (suppliers_.parse(NS_BUNDLEMGR1::ConfigStore::instance().texts("notification.suppliers"),
                         whyNot))
        return;
    tracePoint("embeddedlink");
    TaTrace("[EmbeddedLink] notification.suppliers: %s! Nobody may supply.", whyNot.c_str());
}

bool EmbeddedLink::LoggedInPeers::maySupply(const kelp::util::PeerAddress& peer) const {
    return suppliers_.contains(peer);
}

std::vector<kelp::notification::LogIn> EmbeddedLink::LoggedInPeers::logInsOf(
    const kelp::orb::RequestInfo& request) const {
    std::vector<kelp::notification::LogIn> logIns;
    for (std::string& name : ConnectionLogIns::Instance().Of(request)) {
        const SessionNameParts parts = partsOfSessionName(name);
        std::string text = std::string(parts.user) + " at " + std::string(parts.nmsAddress);
        logIns.push_back({std::move(name), std::move(text)});
    }
    return logIns;
}

bool EmbeddedLink::LoggedInPeers::isLive(const std::string& logIn) const {
    return SessionCallers::Instance().IsLive(logIn);
}

bool EmbeddedLink::LoggedInPeers::mayUse(const kelp::util::PeerAddress& peer) const {
    return CorbaSecurityMgr::Instance()->IsLoggedInFrom(peer);
}

bool EmbeddedLink::LoggedInPeers::mayCall(CORBA::Object_ptr reference) const {
    return CorbaBaseAgentConfig::Instance()->IsValidConsumer(reference);
}

EventChannelLink::Outcome EmbeddedLink::handOver(const std::vector<StructuredEventPtr>& events) {
    for (const StructuredEventPtr& each : events)
        channel_.push(each);
    return Outcome::Accepted;
}

}  // namespace NS_CORBA
