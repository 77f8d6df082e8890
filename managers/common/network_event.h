#pragma once

#include <cos/CosNotification.h>
#include <kelp/alarms/change.h>
#include <kelp/inventory/change_feed.h>

#include <string>
#include <vector>

namespace kelp::managers {

/// A change of the network as it enters the change log, with its idempotency key.
struct KeyedNetworkChange {
    std::string key;
    alarms::NetworkChange change;
};

/// Return what an NMS is notified of when the inventory has changed: one notification, two if both
/// a state and another attribute have changed, or none if changes were lost.
std::vector<KeyedNetworkChange> networkChanges(const inventory::ObjectChange& change);

/// Fill `event` with a change of the network: NT_OBJECT_CREATION, NT_OBJECT_DELETION,
/// NT_ATTRIBUTE_VALUE_CHANGE or NT_STATE_CHANGE with the fields of TMF 814 in the standard's order.
/// The content of the change is that which networkChanges() wrote; throws
/// inventory::InventoryFailure for another one. neTime is left out, because the inventory does not
/// know it, and edgePointRelated is left out when it is false. The event is filled in place,
/// because copying an Any needs an ORB.
void fillNetworkEvent(CosNotification::StructuredEvent& event, const alarms::NetworkChange& change,
                      const std::string& notificationId, const std::string& emsTime);

}  // namespace kelp::managers
