#include "attribute_any.h"

#include <kelp/inventory/failure.h>

#include <string_view>
#include <type_traits>
#include <variant>

#include "ems_label.h"
#include "idl_rows.h"

namespace kelp::managers {

namespace {

/// Inserts the member whose name is wanted into an Any.
class MemberPicker {
  public:
    MemberPicker(std::string_view wanted, CORBA::Any& any) : wanted_(wanted), any_(any) {}

    template <class Member>
    MemberPicker& operator()(std::string_view name, const Member& member) {
        if (name != wanted_)
            return *this;
        isFound_ = true;
        if constexpr (requires { member.in(); })
            any_ <<= member.in();
        else
            any_ <<= member;
        return *this;
    }
    // a boolean has the same C++ type as an octet
    MemberPicker& flag(std::string_view name, bool value) {
        if (name == wanted_) {
            isFound_ = true;
            any_ <<= CORBA::Any::from_boolean(value);
        }
        return *this;
    }
    bool isFound() const { return isFound_; }

  private:
    const std::string_view wanted_;
    CORBA::Any& any_;
    bool isFound_ = false;
};

template <class Idl>
void pickCommon(const Idl& object, MemberPicker& pick) {
    pick("userLabel", object.userLabel)("nativeEMSName", object.nativeEMSName)(
        "owner", object.owner)("additionalInfo", object.additionalInfo);
}

// Pick a member that is no part of the name.
void pickMember(const managedElement::ManagedElement_T& element, MemberPicker& pick) {
    pickCommon(element, pick);
    pick("location", element.location)("version", element.version)(
        "productName", element.productName)("communicationState", element.communicationState)(
        "supportedRates", element.supportedRates);
    pick.flag("emsInSyncState", element.emsInSyncState);
}
void pickMember(const equipment::EquipmentHolder_T& holder, MemberPicker& pick) {
    pickCommon(holder, pick);
    pick("holderType", holder.holderType)("expectedOrInstalledEquipment",
                                          holder.expectedOrInstalledEquipment)(
        "acceptableEquipmentTypeList", holder.acceptableEquipmentTypeList)("holderState",
                                                                           holder.holderState);
    pick.flag("alarmReportingIndicator", holder.alarmReportingIndicator);
}
void pickMember(const equipment::Equipment_T& board, MemberPicker& pick) {
    pickCommon(board, pick);
    pick("serviceState", board.serviceState)("expectedEquipmentObjectType",
                                             board.expectedEquipmentObjectType)(
        "installedEquipmentObjectType", board.installedEquipmentObjectType)(
        "installedPartNumber", board.installedPartNumber)(
        "installedVersion", board.installedVersion)("installedSerialNumber",
                                                    board.installedSerialNumber);
    pick.flag("alarmReportingIndicator", board.alarmReportingIndicator);
}
void pickMember(const terminationPoint::TerminationPoint_T& point, MemberPicker& pick) {
    pickCommon(point, pick);
    pick("ingressTrafficDescriptorName", point.ingressTrafficDescriptorName)(
        "egressTrafficDescriptorName", point.egressTrafficDescriptorName)(
        "connectionState", point.connectionState)("tpMappingMode", point.tpMappingMode)(
        "direction", point.direction)("transmissionParams", point.transmissionParams)(
        "tpProtectionAssociation", point.tpProtectionAssociation);
    pick.flag("edgePoint", point.edgePoint);
}
void pickMember(const topologicalLink::TopologicalLink_T& link, MemberPicker& pick) {
    pickCommon(link, pick);
    pick("direction", link.direction)("rate", CORBA::Short(link.rate))("aEndTP", link.aEndTP)(
        "zEndTP", link.zEndTP);
}
void pickMember(const multiLayerSubnetwork::MultiLayerSubnetwork_T& subnetwork,
                MemberPicker& pick) {
    pickCommon(subnetwork, pick);
    pick("subnetworkType", subnetwork.subnetworkType)("supportedRates", subnetwork.supportedRates);
}

// The standard's structure of a row.
managedElement::ManagedElement_T structureOf(const inventory::ManagedElement& row) {
    managedElement::ManagedElement_T element;
    toIdl(row, element);
    return element;
}
equipment::EquipmentHolder_T structureOf(const inventory::EquipmentHolder& row) {
    equipment::EquipmentHolder_T holder;
    toIdl(row, holder);
    return holder;
}
equipment::Equipment_T structureOf(const inventory::Equipment& row) {
    equipment::Equipment_T board;
    toIdl(row, board);
    return board;
}
terminationPoint::TerminationPoint_T structureOf(const inventory::TerminationPoint& row) {
    terminationPoint::TerminationPoint_T point;
    toIdl(row, point);
    return point;
}
topologicalLink::TopologicalLink_T structureOf(const inventory::TopologicalLink& row) {
    topologicalLink::TopologicalLink_T link;
    toIdl(row, link);
    return link;
}
multiLayerSubnetwork::MultiLayerSubnetwork_T structureOf(const inventory::Subnetwork& row) {
    multiLayerSubnetwork::MultiLayerSubnetwork_T subnetwork;
    toIdl(row, subnetwork);
    return subnetwork;
}

/// The members of emsMgr::EMS_T that are not configured.
struct EmsMembers {
    CORBA::String_var userLabel;
    CORBA::String_var owner;
    globaldefs::NVSList_T additionalInfo;
};
EmsMembers structureOf(const inventory::EmsAttributes& row) {
    EmsMembers ems;
    ems.userLabel = emsUserLabel(row).c_str();
    ems.owner = row.owner.c_str();
    toIdl(row.additionalInfo, ems.additionalInfo);
    return ems;
}
void pickMember(const EmsMembers& ems, MemberPicker& pick) {
    pick("userLabel", ems.userLabel)("owner", ems.owner)("additionalInfo", ems.additionalInfo);
}

}  // namespace

notifications::NVList_T attributeList(const inventory::AnyRow& row,
                                      const std::vector<std::string>& names) {
    notifications::NVList_T list;
    list.length(static_cast<CORBA::ULong>(names.size()));
    std::visit(
        [&](const auto& each) {
            const auto object = structureOf(each);
            for (CORBA::ULong i = 0; i < list.length(); ++i) {
                list[i].name = CORBA::string_dup(names[i].c_str());
                MemberPicker pick(names[i], list[i].value);
                pickMember(object, pick);
                if (!pick.isFound())
                    throw inventory::InventoryFailure("'" + names[i] +
                                                      "' is not an attribute of the object");
            }
        },
        row);
    return list;
}

void insertStructure(const inventory::AnyRow& row, CORBA::Any& any) {
    std::visit(
        [&](const auto& each) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(each)>, inventory::EmsAttributes>)
                any <<= structureOf(each);
        },
        row);
}

}  // namespace kelp::managers
