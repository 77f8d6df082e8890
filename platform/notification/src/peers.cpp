#include "peers.h"

#include <cos/CosNotifyComm.h>

namespace kelp::notification {

namespace {

template <class Reference>
void requireOperation(const Reference& reference) {
    if (CORBA::is_nil(reference.in()))
        throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_NO);
}

}  // namespace

TypeFeed::Peer toldOfOffers(std::string name, CORBA::Object_ptr consumer) {
    const CORBA::Object_var object = CORBA::Object::_duplicate(consumer);
    return {std::move(name), [object](const auto& added, const auto& removed) {
                const CosNotifyComm::NotifyPublish_var peer =
                    CosNotifyComm::NotifyPublish::_narrow(object.in());
                requireOperation(peer);
                peer->offer_change(added, removed);
            }};
}

TypeFeed::Peer toldOfSubscriptions(std::string name, CORBA::Object_ptr subscriber) {
    const CORBA::Object_var object = CORBA::Object::_duplicate(subscriber);
    return {std::move(name), [object](const auto& added, const auto& removed) {
                const CosNotifyComm::NotifySubscribe_var peer =
                    CosNotifyComm::NotifySubscribe::_narrow(object.in());
                requireOperation(peer);
                peer->subscription_change(added, removed);
            }};
}

}  // namespace kelp::notification
