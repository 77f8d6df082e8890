#pragma once

#include <cstddef>
#include <filesystem>

#include "harness/scratch_dir.h"

namespace kelp::bench {

/// Inventories that are generated for a run, or kept in a folder from an earlier run.
class Networks {
  public:
    /// `kept` is the folder. Empty: the inventories are deleted together with this object.
    explicit Networks(std::filesystem::path kept) : kept_(std::move(kept)) {}

    /// Return the database of a network with `elements` and `ports`. It is generated if it does not
    /// exist. Throws inventory::InventoryFailure.
    std::filesystem::path of(std::size_t elements, std::size_t ports);

  private:
    const std::filesystem::path kept_;
    const test::ScratchDir scratch_;
};

}  // namespace kelp::bench
