#include "port_filter.h"

#include "idl_names.h"

namespace kelp::managers {

inventory::PortFilter portFilter(const RatesGiven& rates,
                                 const transmissionParameters::LayerRateList_T& connectionRates) {
    inventory::PortFilter filter;
    filter.layers = layerRates(rates.rates, rates.parameter);
    filter.connectableRates = layerRates(connectionRates, "connectionLayerRateList");
    return filter;
}

}  // namespace kelp::managers
