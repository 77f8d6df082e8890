#pragma once

#include <kelp/inventory/inventory.h>

#include <memory>

namespace kelp::inventory {

/// Return the inventory of the configured file, which the whole process shares. The first call
/// opens it. A later call opens it anew if the file was deleted or replaced; row ids are valid only
/// for the inventory that returned them. A failed attempt is repeated at the next call. Any thread
/// may call it. Throws InventoryFailure.
KELP_EXPORT std::shared_ptr<Inventory> sharedInventory();

}  // namespace kelp::inventory
