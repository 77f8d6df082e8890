#include "channel/peers.h"

#include <cos/CosNotifyComm.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/trace_log.h>

namespace kelp::notification {

namespace {

/// A peer that does not answer its farewell blocks a thread for 1 s at most.
constexpr std::chrono::milliseconds kFarewellTimeout{1000};

template <class Reference>
void requireOperation(const Reference& reference) {
    if (CORBA::is_nil(reference.in()))
        throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_NO);
}

}  // namespace

void say(const Farewell& farewell, const std::string& name) {
    try {
        const kelp::orb::ScopedThreadTimeout limit(kFarewellTimeout);
        farewell();
    } catch (const CORBA::Exception& failure) {
        kelp::util::traceFrom(
            "notification",
            name + " could not be disconnected: " + kelp::orb::exceptionText(failure),
            kelp::util::TraceKind::Exception);
    }
}

FollowedTypes::Peer toldOfOffers(std::string name, CORBA::Object_ptr consumer) {
    const CORBA::Object_var object = CORBA::Object::_duplicate(consumer);
    return {std::move(name), [object](const auto& added, const auto& removed) {
                const CosNotifyComm::NotifyPublish_var peer =
                    CosNotifyComm::NotifyPublish::_narrow(object.in());
                requireOperation(peer);
                peer->offer_change(added, removed);
            }};
}

FollowedTypes::Peer toldOfSubscriptions(std::string name, CORBA::Object_ptr subscriber) {
    const CORBA::Object_var object = CORBA::Object::_duplicate(subscriber);
    return {std::move(name), [object](const auto& added, const auto& removed) {
                const CosNotifyComm::NotifySubscribe_var peer =
                    CosNotifyComm::NotifySubscribe::_narrow(object.in());
                requireOperation(peer);
                peer->subscription_change(added, removed);
            }};
}

}  // namespace kelp::notification
