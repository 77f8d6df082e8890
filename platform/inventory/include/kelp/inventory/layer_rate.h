#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>
#include <string_view>

namespace kelp::inventory {

/// The first of the numbers that are left to vendors.
constexpr LayerRate kProprietaryRates = 10000;

/// Whether the standard has the rate (its supporting document on layer rates), or leaves it to
/// vendors.
KELP_EXPORT bool isLayerRate(int number);

/// The standard's name, such as "LR_PHYSICAL_OPTICAL"; of any other rate the number.
KELP_EXPORT std::string layerRateText(LayerRate rate);

/// The rate of that name or number; none for what is neither.
KELP_EXPORT std::optional<LayerRate> layerRateOf(std::string_view text);

}  // namespace kelp::inventory
