#pragma once

#include <kelp/inventory/model.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelp::inventory {

// Lists as they are stored in a column of a row. A number is stored in groups of 7 bits, the lowest
// group first. A text is stored as its length and its bytes. An empty list takes no bytes.

std::string packed(const NameValues& values);
std::string packed(const LayerRates& rates);
std::string packed(const LayeredParameterList& layers);
std::string packed(const std::vector<std::string>& texts);

// Replace the content of `values`. Throw InventoryFailure for bytes that packed() did not write.
void unpack(std::string_view bytes, NameValues& values);
void unpack(std::string_view bytes, LayerRates& rates);
void unpack(std::string_view bytes, LayeredParameterList& layers);
void unpack(std::string_view bytes, std::vector<std::string>& texts);

/// Return whether any of the layers is wanted. `packedLayers` are packed layered parameters,
/// `packedRates` packed rates.
bool hasLayerOf(std::string_view packedLayers, const LayerRates& wanted);
bool hasRateOf(std::string_view packedRates, const LayerRates& wanted);

}  // namespace kelp::inventory
