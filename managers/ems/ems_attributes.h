#pragma once

#include <kelp/inventory/model.h>

#include <chrono>
#include <mutex>
#include <optional>

namespace kelp::ems {

/// What the inventory says of the EMS itself, read at most once a second: everybody asks for it.
/// While the inventory cannot be read, what was read last, or nothing. Any thread.
class KnownEmsAttributes {
  public:
    inventory::EmsAttributes get();
    /// They were changed here: the next get() reads them.
    void forget();

  private:
    std::mutex mutex_;
    inventory::EmsAttributes known_;                             // guarded by mutex_
    std::optional<std::chrono::steady_clock::time_point> read_;  // guarded by mutex_; none: not yet
};

}  // namespace kelp::ems
