#pragma once

#include <cstddef>
#include <filesystem>

#include "harness/scratch_dir.h"

namespace kelp::bench {

/// Inventories made up for a run, or kept in a folder from an earlier one.
class Networks {
  public:
    /// Empty: they go with this object.
    explicit Networks(std::filesystem::path kept) : kept_(std::move(kept)) {}

    /// The database of a network of so many elements and ports, made when it is not there. Throws
    /// inventory::InventoryFailure.
    std::filesystem::path of(std::size_t elements, std::size_t ports);

  private:
    const std::filesystem::path kept_;
    const test::ScratchDir scratch_;
};

}  // namespace kelp::bench
