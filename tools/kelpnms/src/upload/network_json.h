#pragma once

#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElement.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <mtnm/terminationPoint.h>
#include <mtnm/topologicalLink.h>
#include <nlohmann/json.hpp>

namespace kelp::nms {

// Converts the standard's structures to JSON objects. Every attribute appears in the structure's
// order and under its name. The first key is "object", the kind: EMS, MultiLayerSubnetwork,
// ManagedElement, EquipmentHolder, Equipment, TerminationPoint or TopologicalLink. Names and other
// lists of pairs become lists of {"name", "value"}, which keeps their order. Enumerators are
// written by name, layer rates as numbers.

nlohmann::ordered_json jsonOf(const globaldefs::NVSList_T& pairs);
nlohmann::ordered_json jsonOf(const emsMgr::EMS_T& ems);
nlohmann::ordered_json jsonOf(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork);
nlohmann::ordered_json jsonOf(const managedElement::ManagedElement_T& element);
nlohmann::ordered_json jsonOf(const equipment::EquipmentHolder_T& holder);
nlohmann::ordered_json jsonOf(const equipment::Equipment_T& equipment);
nlohmann::ordered_json jsonOf(const equipment::EquipmentOrHolder_T& either);
nlohmann::ordered_json jsonOf(const terminationPoint::TerminationPoint_T& point);
nlohmann::ordered_json jsonOf(const topologicalLink::TopologicalLink_T& link);

}  // namespace kelp::nms
