#pragma once

#include <kelp/inventory/model.h>

#include <array>
#include <string>
#include <type_traits>
#include <vector>

namespace kelp::inventory {

/// Describes a kind of row: its table, its name in files, and its attributes in their order. An
/// attribute has the standard's name everywhere: as column of the table, as column of a CSV file
/// and as key in JSON.
template <class Row>
struct Table;

/// The attributes that every object has (TMF 814): user label, native name and owner.
template <class AnyRow, class Visitor>
void visitLabels(AnyRow& row, Visitor& attribute) {
    attribute("userLabel", row.userLabel);
    attribute("nativeEMSName", row.nativeEMSName);
    attribute("owner", row.owner);
}

template <>
struct Table<ManagedElement> {
    static constexpr ObjectKind kKind = ObjectKind::ManagedElement;
    static constexpr const char* kName = "managed_element";
    static constexpr const char* kWord = "ManagedElement";
    static constexpr std::array<const char*, 1> kNameColumns = {"name"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitLabels(row, attribute);
        attribute("location", row.location);
        attribute("version", row.version);
        attribute("productName", row.productName);
        attribute("communicationState", row.communicationState);
        attribute("emsInSyncState", row.emsInSyncState);
        attribute("supportedRates", row.supportedRates);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<EquipmentHolder> {
    static constexpr ObjectKind kKind = ObjectKind::EquipmentHolder;
    static constexpr const char* kName = "equipment_holder";
    static constexpr const char* kWord = "EquipmentHolder";
    static constexpr std::array<const char*, 2> kNameColumns = {"element_id", "name"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitLabels(row, attribute);
        attribute("alarmReportingIndicator", row.alarmReportingIndicator);
        attribute("holderType", row.holderType);
        attribute("expectedOrInstalledEquipment", row.expectedOrInstalledEquipment);
        attribute("acceptableEquipmentTypeList", row.acceptableEquipmentTypeList);
        attribute("holderState", row.holderState);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<Equipment> {
    static constexpr ObjectKind kKind = ObjectKind::Equipment;
    static constexpr const char* kName = "equipment";
    static constexpr const char* kWord = "Equipment";
    static constexpr std::array<const char*, 2> kNameColumns = {"holder_id", "name"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitLabels(row, attribute);
        attribute("alarmReportingIndicator", row.alarmReportingIndicator);
        attribute("serviceState", row.serviceState);
        attribute("expectedEquipmentObjectType", row.expectedEquipmentObjectType);
        attribute("installedEquipmentObjectType", row.installedEquipmentObjectType);
        attribute("installedPartNumber", row.installedPartNumber);
        attribute("installedVersion", row.installedVersion);
        attribute("installedSerialNumber", row.installedSerialNumber);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<TerminationPoint> {
    static constexpr ObjectKind kKind = ObjectKind::TerminationPoint;
    static constexpr const char* kName = "termination_point";
    static constexpr const char* kWord = "TerminationPoint";
    static constexpr std::array<const char*, 5> kNameColumns = {"element_id", "port_id", "kind",
                                                                "name", "equipment_id"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitStandard(row, attribute);
        attribute("connectableRates", row.connectableRates);
    }
    /// The attributes of the standard's structure.
    template <class AnyRow, class Visitor>
    static void visitStandard(AnyRow& row, Visitor& attribute) {
        visitLabels(row, attribute);
        attribute("ingressTrafficDescriptorName", row.ingressTrafficDescriptorName);
        attribute("egressTrafficDescriptorName", row.egressTrafficDescriptorName);
        attribute("connectionState", row.connectionState);
        attribute("tpMappingMode", row.tpMappingMode);
        attribute("direction", row.direction);
        attribute("transmissionParams", row.transmissionParams);
        attribute("tpProtectionAssociation", row.tpProtectionAssociation);
        attribute("edgePoint", row.edgePoint);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<TopologicalLink> {
    static constexpr ObjectKind kKind = ObjectKind::TopologicalLink;
    static constexpr const char* kName = "topological_link";
    static constexpr const char* kWord = "TopologicalLink";
    static constexpr std::array<const char*, 3> kNameColumns = {"name", "a_end_id", "z_end_id"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitLabels(row, attribute);
        attribute("direction", row.direction);
        attribute("rate", row.rate);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<Subnetwork> {
    static constexpr ObjectKind kKind = ObjectKind::Subnetwork;
    static constexpr const char* kName = "subnetwork";
    static constexpr const char* kWord = "MultiLayerSubnetwork";
    static constexpr std::array<const char*, 1> kNameColumns = {"name"};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        visitLabels(row, attribute);
        attribute("subnetworkType", row.subnetworkType);
        attribute("supportedRates", row.supportedRates);
        attribute("additionalInfo", row.additionalInfo);
    }
};

template <>
struct Table<EmsAttributes> {
    static constexpr ObjectKind kKind = ObjectKind::Ems;
    static constexpr const char* kName = "ems";
    static constexpr const char* kWord = "EMS";
    static constexpr std::array<const char*, 0> kNameColumns = {};

    template <class AnyRow, class Visitor>
    static void visit(AnyRow& row, Visitor&& attribute) {
        attribute("userLabel", row.userLabel);
        attribute("owner", row.owner);
        attribute("additionalInfo", row.additionalInfo);
    }
};

/// Whether the rows of a kind have an encoded form: all except the EMS, which is in no list.
template <class Row>
inline constexpr bool kIsEncoded = !std::is_same_v<Row, EmsAttributes>;

/// The table of the encoded forms of a kind's rows, which have the ids of the rows.
template <class Row>
std::string encodedTable() {
    return std::string(Table<Row>::kName) + "_encoded";
}

/// Call `body` with a default-constructed row of each kind, parents before children.
template <class Body>
void forEachKind(Body&& body) {
    body(EmsAttributes());
    body(Subnetwork());
    body(ManagedElement());
    body(EquipmentHolder());
    body(Equipment());
    body(TerminationPoint());
    body(TopologicalLink());
}

/// Call `body` with a default-constructed row of that kind.
template <class Body>
void withKind(ObjectKind kind, Body&& body) {
    switch (kind) {
        case ObjectKind::ManagedElement:
            return body(ManagedElement());
        case ObjectKind::EquipmentHolder:
            return body(EquipmentHolder());
        case ObjectKind::Equipment:
            return body(Equipment());
        case ObjectKind::TerminationPoint:
            return body(TerminationPoint());
        case ObjectKind::TopologicalLink:
            return body(TopologicalLink());
        case ObjectKind::Subnetwork:
            return body(Subnetwork());
        case ObjectKind::Ems:
            return body(EmsAttributes());
    }
}

/// The names of a kind's attributes in their order.
template <class Row>
std::vector<std::string> attributeNames() {
    std::vector<std::string> names;
    Row row;
    Table<Row>::visit(row, [&](const char* name, const auto&) { names.emplace_back(name); });
    return names;
}

}  // namespace kelp::inventory
