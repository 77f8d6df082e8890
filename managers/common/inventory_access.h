#pragma once

#include <kelp/inventory/shared_inventory.h>

#include <memory>

namespace kelp::managers {

/// Trace why the inventory failed. For callers that continue without it.
void traceFailure(const inventory::InventoryFailure& failure);

/// Trace why the inventory failed and fail the request: EXCPT_UNABLE_TO_COMPLY while another writer
/// has locked it, EXCPT_INTERNAL_ERROR otherwise.
[[noreturn]] void refuseFailure(const inventory::InventoryFailure& failure);

/// Call `use` with a shared pointer to the inventory and return its result.
template <class Use>
auto withInventory(Use use) {
    try {
        return use(inventory::sharedInventory());
    } catch (const inventory::InventoryFailure& failure) {
        refuseFailure(failure);
    }
}

}  // namespace kelp::managers
