#pragma once

#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElement.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <mtnm/terminationPoint.h>
#include <mtnm/topologicalLink.h>
#include <nlohmann/json.hpp>

namespace kelp::nms {

// The standard's structures as JSON objects, with every attribute in the structure's order and
// under its name. First comes "object", the kind: EMS, MultiLayerSubnetwork, ManagedElement,
// EquipmentHolder, Equipment, TerminationPoint or TopologicalLink. Names and other lists of pairs
// are lists of {"name", "value"}, so that nothing of their order is lost; enumerators stand by
// their names, layer rates by their numbers.

nlohmann::ordered_json jsonOf(const globaldefs::NVSList_T& pairs);
nlohmann::ordered_json jsonOf(const emsMgr::EMS_T& ems);
nlohmann::ordered_json jsonOf(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork);
nlohmann::ordered_json jsonOf(const managedElement::ManagedElement_T& element);
nlohmann::ordered_json jsonOf(const equipment::EquipmentHolder_T& holder);
nlohmann::ordered_json jsonOf(const equipment::Equipment_T& equipment);
nlohmann::ordered_json jsonOf(const equipment::EquipmentOrHolder_T& either);
nlohmann::ordered_json jsonOf(const terminationPoint::TerminationPoint_T& point);
nlohmann::ordered_json jsonOf(const topologicalLink::TopologicalLink_T& link);

/// As one line of text, without its end. What is no UTF-8 is replaced.
std::string lineOf(const nlohmann::ordered_json& json);

}  // namespace kelp::nms
