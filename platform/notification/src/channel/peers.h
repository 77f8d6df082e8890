#pragma once

#include <functional>
#include <string>

#include "event_types/followed_types.h"

namespace kelp::notification {

// Peers of a FollowedTypes. The reference must not be nil. Whether the object has the operation is
// only checked by each call, since a peer of the older Event Service lacks it. A call to such a
// peer raises BAD_OPERATION.

/// Calls a proxy's peer to disconnect it. May raise any CORBA exception. Empty for a nil peer.
using Farewell = std::function<void()>;

/// A farewell to `peer`. `disconnect` makes the call.
template <class Interface, class Disconnect>
Farewell farewellTo(typename Interface::_ptr_type peer, Disconnect disconnect) {
    if (CORBA::is_nil(peer))
        return nullptr;
    const typename Interface::_var_type kept = Interface::_duplicate(peer);
    return [kept, disconnect] { disconnect(kept.in()); };
}

/// Call the farewell, for 1 s at most. Traces a failure with the peer's `name`.
void say(const Farewell& farewell, const std::string& name);

/// A peer that is called by offer_change.
FollowedTypes::Peer toldOfOffers(std::string name, CORBA::Object_ptr consumer);
/// A peer that is called by subscription_change: a supplier, or the callback of a filter.
FollowedTypes::Peer toldOfSubscriptions(std::string name, CORBA::Object_ptr subscriber);

}  // namespace kelp::notification
