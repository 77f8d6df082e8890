#pragma once

#include <kelp/inventory/inventory.h>

#include <memory>

namespace kelp::inventory {

/// The inventory of the configured file as all of this process share it: opened by the first call,
/// kept open, and opened anew when the file was deleted or replaced. Row ids are good for the
/// inventory alone that gave them. While it cannot be opened, every call tries again. Any thread.
/// Throws InventoryFailure.
KELP_EXPORT std::shared_ptr<Inventory> sharedInventory();

}  // namespace kelp::inventory
