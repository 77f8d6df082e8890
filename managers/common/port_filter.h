#pragma once

#include <kelp/inventory/inventory.h>
#include <mtnm/transmissionParameters.h>

namespace kelp::managers {

/// A list of layer rates and the name of the operation's parameter that holds it.
struct RatesGiven {
    const transmissionParameters::LayerRateList_T& rates;
    const char* parameter;
};

/// Return the filter for the ports that have one of the rates and can be connected at one of the
/// connection rates (the parameter "connectionLayerRateList"). An empty list stands for any rate.
/// Refuse a number that is not a layer rate.
inventory::PortFilter portFilter(const RatesGiven& rates,
                                 const transmissionParameters::LayerRateList_T& connectionRates);

}  // namespace kelp::managers
