#pragma once

#include <kelp/inventory/transfer.h>

#include <cstdint>
#include <filesystem>

namespace kelp::inventory {

/// The network to make up.
struct NetworkPlan {
    std::uint64_t elements = 0;
    std::uint64_t ports = 0;   ///< altogether; elements have more or fewer by their type
    std::uint64_t seed = 1;    ///< the same plan gives the same network everywhere
    unsigned ctpsPerLine = 0;  ///< connection points in each line port, at most 16
    bool replace = false;      ///< everything that was there goes first
};

/// Fills the inventory of that file with a plausible network: rings of elements of several
/// products, joined by a mesh of hubs, with racks, shelves, slots, cards and ports. All or nothing.
/// Memory does not grow with the network but for about 100 bytes a ring. Throws InventoryFailure,
/// also when the inventory is not empty and `replace` is not set.
KELP_EXPORT Statistics generateNetwork(const std::filesystem::path& database,
                                       const NetworkPlan& plan, const Progress& progress = {});

}  // namespace kelp::inventory
