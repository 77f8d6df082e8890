#include "upload/network_json.h"

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

const char* nameOf(managedElement::CommunicationState_T value) {
    static constexpr const char* kNames[] = {"CS_AVAILABLE", "CS_UNAVAILABLE"};
    return kNames[value];
}

const char* nameOf(multiLayerSubnetwork::Topology_T value) {
    static constexpr const char* kNames[] = {"TOPO_SINGLETON", "TOPO_CHAIN",  "TOPO_PSR",
                                             "TOPO_OPEN_PSR",  "TOPO_SPRING", "TOPO_OPEN_SPRING",
                                             "TOPO_MESH"};
    return kNames[value];
}

const char* nameOf(equipment::ServiceState_T value) {
    static constexpr const char* kNames[] = {"IN_SERVICE", "OUT_OF_SERVICE",
                                             "OUT_OF_SERVICE_BY_MAINTENANCE", "SERV_NA"};
    return kNames[value];
}

const char* nameOf(equipment::HolderState_T value) {
    static constexpr const char* kNames[] = {"EMPTY",
                                             "INSTALLED_AND_EXPECTED",
                                             "EXPECTED_AND_NOT_INSTALLED",
                                             "INSTALLED_AND_NOT_EXPECTED",
                                             "MISMATCH_OF_INSTALLED_AND_EXPECTED",
                                             "UNAVAILABLE",
                                             "UNKNOWN"};
    return kNames[value];
}

const char* nameOf(terminationPoint::TPType_T value) {
    static constexpr const char* kNames[] = {"TPT_PTP", "TPT_CTP", "TPT_TPPool"};
    return kNames[value];
}

const char* nameOf(terminationPoint::TPConnectionState_T value) {
    static constexpr const char* kNames[] = {"TPCS_NA", "TPCS_SOURCE_CONNECTED",
                                             "TPCS_SINK_CONNECTED", "TPCS_BI_CONNECTED",
                                             "TPCS_NOT_CONNECTED"};
    return kNames[value];
}

const char* nameOf(terminationPoint::TerminationMode_T value) {
    static constexpr const char* kNames[] = {"TM_NA",
                                             "TM_NEITHER_TERMINATED_NOR_AVAILABLE_FOR_MAPPING",
                                             "TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING"};
    return kNames[value];
}

const char* nameOf(terminationPoint::Directionality_T value) {
    static constexpr const char* kNames[] = {"D_NA", "D_BIDIRECTIONAL", "D_SOURCE", "D_SINK"};
    return kNames[value];
}

const char* nameOf(terminationPoint::TPProtectionAssociation_T value) {
    static constexpr const char* kNames[] = {"TPPA_NA", "TPPA_PSR_RELATED"};
    return kNames[value];
}

const char* nameOf(globaldefs::ConnectionDirection_T value) {
    static constexpr const char* kNames[] = {"CD_UNI", "CD_BI"};
    return kNames[value];
}

Json jsonOf(const transmissionParameters::LayerRateList_T& rates) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < rates.length(); ++i)
        list.push_back(rates[i]);
    return list;
}

Json jsonOf(const transmissionParameters::LayeredParameterList_T& layers) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < layers.length(); ++i) {
        Json layer = Json::object();
        layer["layer"] = layers[i].layer;
        layer["transmissionParams"] = kelp::nms::jsonOf(layers[i].transmissionParams);
        list.push_back(std::move(layer));
    }
    return list;
}

Json jsonOf(const equipment::EquipmentObjectTypeList_T& types) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < types.length(); ++i)
        list.push_back(static_cast<const char*>(types[i]));
    return list;
}

/// The attributes that all structures begin with.
template <class Structure>
Json begun(const char* kind, const Structure& structure) {
    Json json = Json::object();
    json["object"] = kind;
    json["name"] = kelp::nms::jsonOf(structure.name);
    json["userLabel"] = structure.userLabel.in();
    json["nativeEMSName"] = structure.nativeEMSName.in();
    json["owner"] = structure.owner.in();
    return json;
}

}  // namespace

Json jsonOf(const globaldefs::NVSList_T& pairs) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < pairs.length(); ++i) {
        Json pair = Json::object();
        pair["name"] = pairs[i].name.in();
        pair["value"] = pairs[i].value.in();
        list.push_back(std::move(pair));
    }
    return list;
}

Json jsonOf(const emsMgr::EMS_T& ems) {
    Json json = begun("EMS", ems);
    json["emsVersion"] = ems.emsVersion.in();
    json["type"] = ems.type.in();
    json["additionalInfo"] = jsonOf(ems.additionalInfo);
    return json;
}

Json jsonOf(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork) {
    Json json = begun("MultiLayerSubnetwork", subnetwork);
    json["subnetworkType"] = nameOf(subnetwork.subnetworkType);
    json["supportedRates"] = jsonOf(subnetwork.supportedRates);
    json["additionalInfo"] = jsonOf(subnetwork.additionalInfo);
    return json;
}

Json jsonOf(const managedElement::ManagedElement_T& element) {
    Json json = begun("ManagedElement", element);
    json["location"] = element.location.in();
    json["version"] = element.version.in();
    json["productName"] = element.productName.in();
    json["communicationState"] = nameOf(element.communicationState);
    json["emsInSyncState"] = static_cast<bool>(element.emsInSyncState);
    json["supportedRates"] = jsonOf(element.supportedRates);
    json["additionalInfo"] = jsonOf(element.additionalInfo);
    return json;
}

Json jsonOf(const equipment::EquipmentHolder_T& holder) {
    Json json = begun("EquipmentHolder", holder);
    json["alarmReportingIndicator"] = static_cast<bool>(holder.alarmReportingIndicator);
    json["holderType"] = holder.holderType.in();
    json["expectedOrInstalledEquipment"] = jsonOf(holder.expectedOrInstalledEquipment);
    json["acceptableEquipmentTypeList"] = jsonOf(holder.acceptableEquipmentTypeList);
    json["holderState"] = nameOf(holder.holderState);
    json["additionalInfo"] = jsonOf(holder.additionalInfo);
    return json;
}

Json jsonOf(const equipment::Equipment_T& equipment) {
    Json json = begun("Equipment", equipment);
    json["alarmReportingIndicator"] = static_cast<bool>(equipment.alarmReportingIndicator);
    json["serviceState"] = nameOf(equipment.serviceState);
    json["expectedEquipmentObjectType"] = equipment.expectedEquipmentObjectType.in();
    json["installedEquipmentObjectType"] = equipment.installedEquipmentObjectType.in();
    json["installedPartNumber"] = equipment.installedPartNumber.in();
    json["installedVersion"] = equipment.installedVersion.in();
    json["installedSerialNumber"] = equipment.installedSerialNumber.in();
    json["additionalInfo"] = jsonOf(equipment.additionalInfo);
    return json;
}

Json jsonOf(const equipment::EquipmentOrHolder_T& either) {
    return either._d() == equipment::EQT ? jsonOf(either.equip()) : jsonOf(either.holder());
}

Json jsonOf(const terminationPoint::TerminationPoint_T& point) {
    Json json = begun("TerminationPoint", point);
    json["ingressTrafficDescriptorName"] = jsonOf(point.ingressTrafficDescriptorName);
    json["egressTrafficDescriptorName"] = jsonOf(point.egressTrafficDescriptorName);
    json["type"] = nameOf(point.type);
    json["connectionState"] = nameOf(point.connectionState);
    json["tpMappingMode"] = nameOf(point.tpMappingMode);
    json["direction"] = nameOf(point.direction);
    json["transmissionParams"] = jsonOf(point.transmissionParams);
    json["tpProtectionAssociation"] = nameOf(point.tpProtectionAssociation);
    json["edgePoint"] = static_cast<bool>(point.edgePoint);
    json["additionalInfo"] = jsonOf(point.additionalInfo);
    return json;
}

Json jsonOf(const topologicalLink::TopologicalLink_T& link) {
    Json json = begun("TopologicalLink", link);
    json["direction"] = nameOf(link.direction);
    json["rate"] = link.rate;
    json["aEndTP"] = jsonOf(link.aEndTP);
    json["zEndTP"] = jsonOf(link.zEndTP);
    json["additionalInfo"] = jsonOf(link.additionalInfo);
    return json;
}

}  // namespace kelp::nms
