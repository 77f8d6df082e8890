#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>
#include <string_view>

namespace kelp::inventory {

/// The lowest of the numbers that the standard leaves to vendors.
constexpr LayerRate kProprietaryRates = 10000;

/// Return whether the number is a layer rate of the standard (its supporting document on layer
/// rates) or one that is left to vendors.
KELP_EXPORT bool isLayerRate(int number);

/// The standard's name, such as "LR_PHYSICAL_OPTICAL". For a rate without a name, the number.
KELP_EXPORT std::string layerRateText(LayerRate rate);

/// The rate with that name or number. Empty if the text is neither.
KELP_EXPORT std::optional<LayerRate> layerRateOf(std::string_view text);

}  // namespace kelp::inventory
