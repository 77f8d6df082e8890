#include <kelp/inventory/shared_inventory.h>
#include <kelp/util/mutex.h>

namespace kelp::inventory {

std::shared_ptr<Inventory> sharedInventory() {
    static util::Mutex mutex{util::LockRank::Service, "sharedInventory"};
    static std::shared_ptr<Inventory> shared KELP_GUARDED_BY(mutex);
    const util::MutexLock lock(mutex);
    if (!shared || !shared->isCurrent())
        shared = std::make_shared<Inventory>(configuredInventory());
    return shared;
}

}  // namespace kelp::inventory
