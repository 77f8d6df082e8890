#pragma once

#include <kelp/inventory/transfer.h>

#include <cstdint>
#include <filesystem>

namespace kelp::inventory {

/// What the generated network consists of.
struct NetworkPlan {
    std::uint64_t elements = 0;
    std::uint64_t ports =
        0;  ///< in the whole network; each element gets a share that depends on its type
    std::uint64_t seed = 1;    ///< the same plan gives the same network on every machine
    unsigned ctpsPerLine = 0;  ///< connection points in each line port, at most 16
    bool replace = false;      ///< empty the inventory first
};

/// Fill the inventory with a plausible network: rings of elements of several products, joined by a
/// mesh of hubs, with racks, shelves, slots, cards and ports. Writes everything or nothing. Apart
/// from about 100 bytes a ring, the memory that it needs does not depend on the size of the
/// network. Throws InventoryFailure, also when the inventory is not empty and `replace` is not set.
KELP_EXPORT Statistics generateNetwork(const std::filesystem::path& database,
                                       const NetworkPlan& plan, const Progress& progress = {});

}  // namespace kelp::inventory
