#pragma once

#include <kelp/inventory/model.h>

#include <chrono>
#include <mutex>
#include <optional>

namespace kelp::ems {

/// The inventory's attributes of the EMS itself. They are read at most once per second, because
/// many requests need them. While the inventory cannot be read, the attributes read last are
/// returned, or default ones. Any thread may call it.
class KnownEmsAttributes {
  public:
    inventory::EmsAttributes get();
    /// Read the attributes again at the next get(), after this process has changed them.
    void forget();

  private:
    std::mutex mutex_;
    inventory::EmsAttributes known_;                             // guarded by mutex_
    std::optional<std::chrono::steady_clock::time_point> read_;  // guarded by mutex_
};

}  // namespace kelp::ems
