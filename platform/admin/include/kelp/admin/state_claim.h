#pragma once

#include <kelp/util/descriptor.h>
#include <kelp/util/export.h>

#include <filesystem>

namespace kelp::admin {

/// The exclusive right to open the operator's interface in a state directory. Only one process at a
/// time holds it. The system releases it when the process ends for any reason, so files that an
/// earlier process left in the directory are known to be stale.
class KELP_EXPORT StateClaim {
  public:
    /// Claim the right. Make the folder if needed. Throws std::runtime_error with a one-sentence
    /// text when another host holds the right.
    explicit StateClaim(const std::filesystem::path& folder);

  private:
    util::Descriptor lock_;
};

}  // namespace kelp::admin
