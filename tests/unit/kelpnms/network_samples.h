#pragma once

#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElement.h>
#include <mtnm/terminationPoint.h>
#include <mtnm/topologicalLink.h>

#include <initializer_list>
#include <utility>

namespace kelp::nms {

/// Structures as an EMS returns them, with every attribute set.

inline globaldefs::NVSList_T pairs(
    std::initializer_list<std::pair<const char*, const char*>> parts) {
    globaldefs::NVSList_T list;
    list.length(static_cast<CORBA::ULong>(parts.size()));
    CORBA::ULong i = 0;
    for (const auto& [name, value] : parts) {
        list[i].name = name;
        list[i++].value = value;
    }
    return list;
}

inline managedElement::ManagedElement_T sampleElement() {
    managedElement::ManagedElement_T element;
    element.name = pairs({{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-1"}});
    element.userLabel = "North, \"old\" exchange";
    element.nativeEMSName = "native";
    element.owner = "owner";
    element.location = "Street 1\r\nTown";
    element.version = "R4";
    element.productName = "KX";
    element.communicationState = managedElement::CS_UNAVAILABLE;
    element.emsInSyncState = true;
    element.supportedRates.length(2);
    element.supportedRates[0] = 15;
    element.supportedRates[1] = 11;
    element.additionalInfo = pairs({{"b", "1"}, {"a", "2"}, {"b", "3"}});
    return element;
}

inline terminationPoint::TerminationPoint_T samplePort() {
    terminationPoint::TerminationPoint_T port;
    port.name =
        pairs({{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-1"}, {"PTP", "/shelf=1/port=1"}});
    port.userLabel = "to NE-2";
    port.ingressTrafficDescriptorName = pairs({{"EMS", "Kelp/EMS"}, {"TrafficDescriptor", "in"}});
    port.egressTrafficDescriptorName = pairs({{"EMS", "Kelp/EMS"}, {"TrafficDescriptor", "out"}});
    port.type = terminationPoint::TPT_PTP;
    port.connectionState = terminationPoint::TPCS_BI_CONNECTED;
    port.tpMappingMode = terminationPoint::TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING;
    port.direction = terminationPoint::D_SINK;
    port.transmissionParams.length(2);
    port.transmissionParams[0].layer = 47;
    port.transmissionParams[1].layer = 22;
    port.transmissionParams[1].transmissionParams = pairs({{"TrailTraceExpectedRx", "x"}});
    port.tpProtectionAssociation = terminationPoint::TPPA_PSR_RELATED;
    port.edgePoint = true;
    return port;
}

inline equipment::EquipmentHolder_T sampleHolder() {
    equipment::EquipmentHolder_T holder;
    holder.name = pairs(
        {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-1"}, {"EquipmentHolder", "/shelf=1/slot=1"}});
    holder.alarmReportingIndicator = true;
    holder.holderType = "slot";
    holder.expectedOrInstalledEquipment = pairs({{"Equipment", "1"}});
    holder.acceptableEquipmentTypeList.length(2);
    holder.acceptableEquipmentTypeList[0] = "LN16";
    holder.acceptableEquipmentTypeList[1] = "LN64";
    holder.holderState = equipment::MISMATCH_OF_INSTALLED_AND_EXPECTED;
    return holder;
}

inline equipment::Equipment_T sampleEquipment() {
    equipment::Equipment_T card;
    card.name = pairs({{"EMS", "Kelp/EMS"},
                       {"ManagedElement", "NE-1"},
                       {"EquipmentHolder", "/shelf=1/slot=1"},
                       {"Equipment", "1"}});
    card.alarmReportingIndicator = false;
    card.serviceState = equipment::OUT_OF_SERVICE_BY_MAINTENANCE;
    card.expectedEquipmentObjectType = "LN16";
    card.installedEquipmentObjectType = "LN64";
    card.installedPartNumber = "P";
    card.installedVersion = "V";
    card.installedSerialNumber = "S";
    return card;
}

inline topologicalLink::TopologicalLink_T sampleLink() {
    topologicalLink::TopologicalLink_T link;
    link.name = pairs({{"EMS", "Kelp/EMS"}, {"TopologicalLink", "1"}});
    link.direction = globaldefs::CD_UNI;
    link.rate = 10007;
    link.aEndTP = pairs({{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-1"}, {"PTP", "/port=1"}});
    link.zEndTP = pairs(
        {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-2"}, {"FTP", "/ftp=2"}, {"CTP", "/e1=3"}});
    return link;
}

}  // namespace kelp::nms
