#pragma once

#include <kelp/inventory/inventory.h>

namespace kelp::managedelement {

/// Return the connection points inside a termination point that exist under its current mapping
/// (TMF 814, getContainedCurrentTPs). A connection point that is neither terminated nor available
/// for mapping hides all points inside it. The result contains the points that are not hidden, at
/// one of the layer rates, or at any rate when `layers` is empty.
inventory::RowIds currentPoints(inventory::Inventory& in, const inventory::TerminationPoint& around,
                                const inventory::LayerRates& layers);

}  // namespace kelp::managedelement
