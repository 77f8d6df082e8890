#pragma once

#include <kelp/inventory/model.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <optional>

namespace kelp::ems {

/// The inventory's attributes of the EMS itself. They are read at most once per second, because
/// many requests need them. While the inventory cannot be read, the attributes read last are
/// returned, or default ones. Any thread may call it.
class KnownEmsAttributes {
  public:
    inventory::EmsAttributes get() KELP_EXCLUDES(mutex_);
    /// Read the attributes again at the next get(), after this process has changed them.
    void forget() KELP_EXCLUDES(mutex_);

  private:
    util::Mutex mutex_{util::LockRank::Agent, "KnownEmsAttributes::mutex_"};
    inventory::EmsAttributes known_ KELP_GUARDED_BY(mutex_);
    /// None before the first read, and after forget().
    std::optional<std::chrono::steady_clock::time_point> read_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::ems
