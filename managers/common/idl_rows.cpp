#include "idl_rows.h"

#include "idl_text.h"

namespace kelp::managers {

namespace {

/// The inventory's enumerations have the values of the standard's, in the same order.
template <class Idl, class Row>
Idl sameValue(Row value) {
    return static_cast<Idl>(static_cast<int>(value));
}
static_assert(static_cast<int>(managedElement::CS_UNAVAILABLE) ==
              static_cast<int>(inventory::CommunicationState::Unavailable));
static_assert(static_cast<int>(equipment::UNKNOWN) ==
              static_cast<int>(inventory::HolderState::Unknown));
static_assert(static_cast<int>(equipment::SERV_NA) ==
              static_cast<int>(inventory::ServiceState::NotApplicable));
static_assert(static_cast<int>(terminationPoint::D_SINK) ==
              static_cast<int>(inventory::Directionality::Sink));
static_assert(static_cast<int>(terminationPoint::TPCS_NOT_CONNECTED) ==
              static_cast<int>(inventory::TpConnectionState::NotConnected));
static_assert(static_cast<int>(terminationPoint::TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING) ==
              static_cast<int>(inventory::TerminationMode::TerminatedAndAvailable));
static_assert(static_cast<int>(terminationPoint::TPPA_PSR_RELATED) ==
              static_cast<int>(inventory::TpProtection::PsrRelated));
static_assert(static_cast<int>(multiLayerSubnetwork::TOPO_MESH) ==
              static_cast<int>(inventory::Topology::Mesh));
static_assert(static_cast<int>(globaldefs::CD_BI) ==
              static_cast<int>(inventory::LinkDirection::Bidirectional));

/// Fill in what all objects have: name, labels, owner and additional information.
template <class Row, class Idl>
void describe(const Row& row, Idl& object) {
    nameToIdl(row, object.name);
    textToIdl(row.userLabel, object.userLabel);
    textToIdl(row.nativeEMSName, object.nativeEMSName);
    textToIdl(row.owner, object.owner);
    toIdl(row.additionalInfo, object.additionalInfo);
}

void layersToIdl(const inventory::LayeredParameterList& layers,
                 transmissionParameters::LayeredParameterList_T& list) {
    list.length(static_cast<CORBA::ULong>(layers.size()));
    CORBA::ULong at = 0;
    for (const inventory::LayeredParameters& each : layers) {
        list[at].layer = each.layer;
        toIdl(each.parameters, list[at].transmissionParams);
        ++at;
    }
}

void ratesToIdl(const inventory::LayerRates& rates, transmissionParameters::LayerRateList_T& list) {
    list.length(static_cast<CORBA::ULong>(rates.size()));
    CORBA::ULong at = 0;
    for (const inventory::LayerRate rate : rates)
        list[at++] = rate;
}

/// Fill in the name of a traffic descriptor. An empty value leaves the name empty.
void descriptorToIdl(const std::string& value, globaldefs::NamingAttributes_T& name) {
    if (!value.empty())
        toIdl(inventory::NameValues{{"EMS", emsName()}, {"TrafficDescriptor", value}}, name);
}

// Maximum size of a number and of a text, including the alignment before it. The size of a text
// also includes its length and its final zero.
constexpr std::size_t kNumber = 7;
std::size_t textSize(const char* text) {
    return kNumber + std::char_traits<char>::length(text) + 1;
}

std::size_t ratesSize(const transmissionParameters::LayerRateList_T& rates) {
    return kNumber + rates.length() * sizeof(transmissionParameters::LayerRate_T);
}

template <class Idl>
std::size_t describedSize(const Idl& object) {
    return encodedSize(object.name) + textSize(object.userLabel) + textSize(object.nativeEMSName) +
           textSize(object.owner) + encodedSize(object.additionalInfo);
}

std::size_t holderSize(const equipment::EquipmentHolder_T& holder) {
    std::size_t size = describedSize(holder) + textSize(holder.holderType) +
                       encodedSize(holder.expectedOrInstalledEquipment) + 3 * kNumber;
    for (CORBA::ULong i = 0; i < holder.acceptableEquipmentTypeList.length(); ++i)
        size += textSize(holder.acceptableEquipmentTypeList[i]);
    return size;
}

std::size_t boardSize(const equipment::Equipment_T& board) {
    return describedSize(board) + textSize(board.expectedEquipmentObjectType) +
           textSize(board.installedEquipmentObjectType) + textSize(board.installedPartNumber) +
           textSize(board.installedVersion) + textSize(board.installedSerialNumber) + 2 * kNumber;
}

}  // namespace

void toIdl(const inventory::ManagedElement& row, managedElement::ManagedElement_T& element) {
    describe(row, element);
    textToIdl(row.location, element.location);
    textToIdl(row.version, element.version);
    textToIdl(row.productName, element.productName);
    element.communicationState =
        sameValue<managedElement::CommunicationState_T>(row.communicationState);
    element.emsInSyncState = row.emsInSyncState;
    ratesToIdl(row.supportedRates, element.supportedRates);
}

void toIdl(const inventory::EquipmentHolder& row, equipment::EquipmentHolder_T& holder) {
    describe(row, holder);
    holder.alarmReportingIndicator = row.alarmReportingIndicator;
    textToIdl(row.holderType, holder.holderType);
    if (!row.expectedOrInstalledEquipment.empty())
        toIdl(inventory::EquipmentName{row.managedElement, row.name,
                                       row.expectedOrInstalledEquipment},
              holder.expectedOrInstalledEquipment);
    holder.acceptableEquipmentTypeList.length(
        static_cast<CORBA::ULong>(row.acceptableEquipmentTypeList.size()));
    CORBA::ULong at = 0;
    for (const std::string& type : row.acceptableEquipmentTypeList)
        holder.acceptableEquipmentTypeList[at++] = CORBA::string_dup(type.c_str());
    holder.holderState = sameValue<equipment::HolderState_T>(row.holderState);
}

void toIdl(const inventory::Equipment& row, equipment::Equipment_T& board) {
    describe(row, board);
    board.alarmReportingIndicator = row.alarmReportingIndicator;
    board.serviceState = sameValue<equipment::ServiceState_T>(row.serviceState);
    textToIdl(row.expectedEquipmentObjectType, board.expectedEquipmentObjectType);
    textToIdl(row.installedEquipmentObjectType, board.installedEquipmentObjectType);
    textToIdl(row.installedPartNumber, board.installedPartNumber);
    textToIdl(row.installedVersion, board.installedVersion);
    textToIdl(row.installedSerialNumber, board.installedSerialNumber);
}

void toIdl(const inventory::EquipmentHolder& row, equipment::EquipmentOrHolder_T& either) {
    either.holder(equipment::EquipmentHolder_T());
    toIdl(row, either.holder());
}

void toIdl(const inventory::Equipment& row, equipment::EquipmentOrHolder_T& either) {
    either.equip(equipment::Equipment_T());
    toIdl(row, either.equip());
}

void toIdl(const inventory::TerminationPoint& row, terminationPoint::TerminationPoint_T& point) {
    describe(row, point);
    descriptorToIdl(row.ingressTrafficDescriptorName, point.ingressTrafficDescriptorName);
    descriptorToIdl(row.egressTrafficDescriptorName, point.egressTrafficDescriptorName);
    // only the last component of its name distinguishes an FTP from a PTP
    point.type = row.name.kind() == inventory::TpKind::Ctp ? terminationPoint::TPT_CTP
                                                           : terminationPoint::TPT_PTP;
    point.connectionState = sameValue<terminationPoint::TPConnectionState_T>(row.connectionState);
    point.tpMappingMode = sameValue<terminationPoint::TerminationMode_T>(row.tpMappingMode);
    point.direction = sameValue<terminationPoint::Directionality_T>(row.direction);
    layersToIdl(row.transmissionParams, point.transmissionParams);
    point.tpProtectionAssociation =
        sameValue<terminationPoint::TPProtectionAssociation_T>(row.tpProtectionAssociation);
    point.edgePoint = row.edgePoint;
}

void toIdl(const inventory::TopologicalLink& row, topologicalLink::TopologicalLink_T& link) {
    describe(row, link);
    link.direction = sameValue<globaldefs::ConnectionDirection_T>(row.direction);
    link.rate = row.rate;
    toIdl(row.aEnd, link.aEndTP);
    toIdl(row.zEnd, link.zEndTP);
}

void toIdl(const inventory::Subnetwork& row,
           multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork) {
    describe(row, subnetwork);
    subnetwork.subnetworkType = sameValue<multiLayerSubnetwork::Topology_T>(row.subnetworkType);
    ratesToIdl(row.supportedRates, subnetwork.supportedRates);
}

std::size_t encodedSize(const globaldefs::NVSList_T& list) {
    std::size_t size = kNumber;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        size += textSize(list[i].name) + textSize(list[i].value);
    return size;
}

std::size_t encodedSize(const managedElement::ManagedElement_T& element) {
    return describedSize(element) + textSize(element.location) + textSize(element.version) +
           textSize(element.productName) + 2 * kNumber + ratesSize(element.supportedRates);
}

std::size_t encodedSize(const equipment::EquipmentOrHolder_T& either) {
    return kNumber + (either._d() == equipment::EQT ? boardSize(either.equip())
                                                    : holderSize(either.holder()));
}

std::size_t encodedSize(const terminationPoint::TerminationPoint_T& point) {
    std::size_t size = describedSize(point) + encodedSize(point.ingressTrafficDescriptorName) +
                       encodedSize(point.egressTrafficDescriptorName) + 7 * kNumber;
    for (CORBA::ULong i = 0; i < point.transmissionParams.length(); ++i)
        size += kNumber + encodedSize(point.transmissionParams[i].transmissionParams);
    return size;
}

std::size_t encodedSize(const topologicalLink::TopologicalLink_T& link) {
    return describedSize(link) + encodedSize(link.aEndTP) + encodedSize(link.zEndTP) + 2 * kNumber;
}

std::size_t encodedSize(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork) {
    return describedSize(subnetwork) + kNumber + ratesSize(subnetwork.supportedRates);
}

}  // namespace kelp::managers
