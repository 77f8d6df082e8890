#pragma once

#include <kelp/inventory/shared_inventory.h>

#include <memory>

namespace kelp::managers {

/// Traces why the inventory failed, for what goes on without it.
void traceFailure(const inventory::InventoryFailure& failure);

/// Traces why the inventory failed and fails the request: EXCPT_INTERNAL_ERROR, or
/// EXCPT_UNABLE_TO_COMPLY while somebody else is writing.
[[noreturn]] void refuseFailure(const inventory::InventoryFailure& failure);

/// What `use` returns, which is given the inventory as a shared pointer.
template <class Use>
auto withInventory(Use use) {
    try {
        return use(inventory::sharedInventory());
    } catch (const inventory::InventoryFailure& failure) {
        refuseFailure(failure);
    }
}

}  // namespace kelp::managers
