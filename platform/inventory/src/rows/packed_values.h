#pragma once

#include <kelp/inventory/model.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelp::inventory {

// Lists as they stand in a column of a row: numbers in groups of 7 bits, the lowest first; a text
// is its length and its bytes. An empty list is empty.

std::string packed(const NameValues& values);
std::string packed(const LayerRates& rates);
std::string packed(const LayeredParameterList& layers);
std::string packed(const std::vector<std::string>& texts);

// Replace what was there. Throw InventoryFailure for bytes that packed() did not make.
void unpack(std::string_view bytes, NameValues& values);
void unpack(std::string_view bytes, LayerRates& rates);
void unpack(std::string_view bytes, LayeredParameterList& layers);
void unpack(std::string_view bytes, std::vector<std::string>& texts);

/// Whether any of the layers (of packed layered parameters, of packed rates) is wanted.
bool hasLayerOf(std::string_view packedLayers, const LayerRates& wanted);
bool hasRateOf(std::string_view packedRates, const LayerRates& wanted);

}  // namespace kelp::inventory
