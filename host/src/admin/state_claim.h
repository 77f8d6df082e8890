#pragma once

#include <kelp/util/descriptor.h>

#include <filesystem>

namespace kelp::host {

/// The right to open the operator's interface in a state directory: one process at a time has it.
/// The system takes it back when the process ends, however it ends, so what another one left there
/// is known to be stale.
class StateClaim {
  public:
    /// Makes the folder if need be. Throws std::runtime_error with one sentence when another host
    /// has it.
    explicit StateClaim(const std::filesystem::path& folder);

  private:
    util::Descriptor lock_;
};

}  // namespace kelp::host
