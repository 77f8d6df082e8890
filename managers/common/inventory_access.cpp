#include "inventory_access.h"

#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/trace.h>

#include "refusal.h"

namespace kelp::managers {

void traceFailure(const inventory::InventoryFailure& failure) {
    NS_CORBA::tracePoint("inventory");
    NS_CORBA::TaTrace("[Inventory] %s", failure.what());
}

void refuseFailure(const inventory::InventoryFailure& failure) {
    traceFailure(failure);
    // the failure text names a file of the host and is not for the NMS
    if (failure.isLocked())
        refuse(kInventoryBusy);
    refuse(NS_KELPCORBA::kInternalFailure);
}

}  // namespace kelp::managers
