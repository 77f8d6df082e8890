#pragma once

#include <functional>
#include <string>

#include "types/type_feed.h"

namespace kelp::notification {

// Peers of a TypeFeed. The reference is not nil, and whether its object has the operation is asked
// for with each call only: a peer may be of the older event service, which has none. Such a call is
// a BAD_OPERATION.

/// Tells the peer of a proxy that the proxy has ended. Raises anything of CORBA. Empty for a nil
/// peer.
using Farewell = std::function<void()>;

/// `disconnect` makes the call.
template <class Interface, class Disconnect>
Farewell farewellTo(typename Interface::_ptr_type peer, Disconnect disconnect) {
    if (CORBA::is_nil(peer))
        return nullptr;
    const typename Interface::_var_type kept = Interface::_duplicate(peer);
    return [kept, disconnect] { disconnect(kept.in()); };
}

/// Has it make the call, for 1 s at most; a failure is traced. `name` is of whom it tells.
void say(const Farewell& farewell, const std::string& name);

/// One with offer_change.
TypeFeed::Peer toldOfOffers(std::string name, CORBA::Object_ptr consumer);
/// One with subscription_change: a supplier, or the callback of a filter.
TypeFeed::Peer toldOfSubscriptions(std::string name, CORBA::Object_ptr subscriber);

}  // namespace kelp::notification
