#include "ems_attributes.h"

#include "common/inventory_access.h"

namespace kelp::ems {

inventory::EmsAttributes KnownEmsAttributes::get() {
    const util::MutexLock lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (!read_ || now - *read_ >= std::chrono::seconds(1)) {
        read_ = now;
        try {
            known_ = inventory::sharedInventory()->ems();
        } catch (const inventory::InventoryFailure& failure) {
            managers::traceFailure(failure);
        }
    }
    return known_;
}

void KnownEmsAttributes::forget() {
    const util::MutexLock lock(mutex_);
    read_.reset();
}

}  // namespace kelp::ems
