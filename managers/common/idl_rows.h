#pragma once

#include <kelp/inventory/model.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElement.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <mtnm/terminationPoint.h>
#include <mtnm/topologicalLink.h>

#include <cstddef>

#include "idl_names.h"

namespace kelp::managers {

// Convert rows of the inventory to the standard's structures, which must be default-constructed.
void toIdl(const inventory::ManagedElement& row, managedElement::ManagedElement_T& element);
void toIdl(const inventory::EquipmentHolder& row, equipment::EquipmentHolder_T& holder);
void toIdl(const inventory::Equipment& row, equipment::Equipment_T& board);
void toIdl(const inventory::EquipmentHolder& row, equipment::EquipmentOrHolder_T& either);
void toIdl(const inventory::Equipment& row, equipment::EquipmentOrHolder_T& either);
void toIdl(const inventory::TerminationPoint& row, terminationPoint::TerminationPoint_T& point);
void toIdl(const inventory::TopologicalLink& row, topologicalLink::TopologicalLink_T& link);
void toIdl(const inventory::Subnetwork& row,
           multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork);

// Return the size of a structure in a message, in bytes, including alignment. The estimate may be
// too large, but not too small.
std::size_t encodedSize(const globaldefs::NVSList_T& list);
std::size_t encodedSize(const managedElement::ManagedElement_T& element);
std::size_t encodedSize(const equipment::EquipmentOrHolder_T& either);
std::size_t encodedSize(const terminationPoint::TerminationPoint_T& point);
std::size_t encodedSize(const topologicalLink::TopologicalLink_T& link);
std::size_t encodedSize(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork);

}  // namespace kelp::managers
