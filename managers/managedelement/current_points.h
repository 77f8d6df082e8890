#pragma once

#include <kelp/inventory/inventory.h>

namespace kelp::managedelement {

/// The connection points in a termination point that there are with the mapping as it is now (TMF
/// 814, getContainedCurrentTPs): those which no connection point around them hides, one that is
/// neither terminated nor available for mapping; at one of the layer rates, or at any when none is
/// given.
inventory::RowIds currentPoints(inventory::Inventory& in, const inventory::TerminationPoint& around,
                                const inventory::LayerRates& layers);

}  // namespace kelp::managedelement
