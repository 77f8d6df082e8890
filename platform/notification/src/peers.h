#pragma once

#include <string>

#include "type_feed.h"

namespace kelp::notification {

// Peers of a TypeFeed. The reference is not nil, and whether its object has the operation is asked for with
// each call only: a peer may be of the older event service, which has none. Such a call is a BAD_OPERATION.

/// One with offer_change.
TypeFeed::Peer toldOfOffers(std::string name, CORBA::Object_ptr consumer);
/// One with subscription_change: a supplier, or the callback of a filter.
TypeFeed::Peer toldOfSubscriptions(std::string name, CORBA::Object_ptr subscriber);

}  // namespace kelp::notification
