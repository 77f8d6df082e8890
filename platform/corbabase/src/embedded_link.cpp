#include "embedded_link.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/security_mgr.h>

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
    settings.perAddress = {
        size("notification.consumers_per_address_max"), size("notification.suppliers_per_address_max"),
        size("notification.admins_per_address_max"), size("notification.filters_per_address_max")};
    settings.delivery.pushTimeout = std::chrono::seconds(size("notification.push_timeout_s"));
    settings.delivery.deadAfter = std::chrono::seconds(size("notification.dead_consumer_after_s"));
    return settings;
}

}  // namespace

EmbeddedLink::EmbeddedLink(CORBA::ORB_ptr orb, kelp::notification::LossListener& listener)
    : channel_(orb, channelSettings(guard_), &listener) {}

bool EmbeddedLink::LoggedInPeers::mayUse(const kelp::orb::PeerAddress& peer) const {
    return CorbaSecurityMgr::Instance()->IsLoggedInFrom(peer);
}

bool EmbeddedLink::LoggedInPeers::mayCall(CORBA::Object_ptr reference) const {
    return CorbaBaseAgentConfig::Instance()->IsValidConsumer(reference);
}

EventChannelLink::Outcome EmbeddedLink::deliver(const std::vector<EventPtr>& events) {
    for (const EventPtr& each : events)
        channel_.push(*each);
    return Outcome::Delivered;
}

}  // namespace NS_CORBA
