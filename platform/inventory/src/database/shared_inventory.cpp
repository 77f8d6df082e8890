#include <kelp/inventory/shared_inventory.h>

#include <mutex>

namespace kelp::inventory {

std::shared_ptr<Inventory> sharedInventory() {
    static std::mutex mutex;
    static std::shared_ptr<Inventory> shared;  // guarded by mutex
    const std::lock_guard guard(mutex);
    if (!shared || !shared->isCurrent())
        shared = std::make_shared<Inventory>(configuredInventory());
    return shared;
}

}  // namespace kelp::inventory
