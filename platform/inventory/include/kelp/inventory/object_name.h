#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>
#include <variant>

namespace kelp::inventory {

// The naming attributes of the inventory's objects (globaldefs::NamingAttributes_T): "EMS" first,
// then the components of the object.

struct ManagedElementName {
    std::string managedElement;
    bool operator==(const ManagedElementName&) const = default;
};
struct HolderName {
    std::string managedElement;
    std::string holder;
    bool operator==(const HolderName&) const = default;
};
struct EquipmentName {
    std::string managedElement;
    std::string holder;
    std::string equipment;
    bool operator==(const EquipmentName&) const = default;
};
struct LinkName {
    std::string link;
    bool operator==(const LinkName&) const = default;
};
struct SubnetworkName {
    std::string subnetwork;
    bool operator==(const SubnetworkName&) const = default;
};
/// The EMS itself, which has no component but its own.
struct EmsName {
    bool operator==(const EmsName&) const = default;
};
using ObjectName = std::variant<ManagedElementName, HolderName, EquipmentName, TpName, LinkName,
                                SubnetworkName, EmsName>;

// The components of a name after the EMS, in order: `take` is given the name and the value of each.
template <class Take>
void eachComponent(const ManagedElementName& name, Take&& take) {
    take("ManagedElement", name.managedElement);
}
template <class Take>
void eachComponent(const HolderName& name, Take&& take) {
    take("ManagedElement", name.managedElement);
    take("EquipmentHolder", name.holder);
}
template <class Take>
void eachComponent(const EquipmentName& name, Take&& take) {
    take("ManagedElement", name.managedElement);
    take("EquipmentHolder", name.holder);
    take("Equipment", name.equipment);
}
template <class Take>
void eachComponent(const TpName& name, Take&& take) {
    take("ManagedElement", name.managedElement);
    take(name.portKind == TpKind::Ftp ? "FTP" : "PTP", name.port);
    if (!name.ctp.empty())
        take("CTP", name.ctp);
}
template <class Take>
void eachComponent(const LinkName& name, Take&& take) {
    take("TopologicalLink", name.link);
}
template <class Take>
void eachComponent(const SubnetworkName& name, Take&& take) {
    take("MultiLayerSubnetwork", name.subnetwork);
}
template <class Take>
void eachComponent(const EmsName&, Take&&) {}

// The same of a row's object.
template <class Take>
void eachComponent(const ManagedElement& row, Take&& take) {
    take("ManagedElement", row.name);
}
template <class Take>
void eachComponent(const EquipmentHolder& row, Take&& take) {
    take("ManagedElement", row.managedElement);
    take("EquipmentHolder", row.name);
}
template <class Take>
void eachComponent(const Equipment& row, Take&& take) {
    take("ManagedElement", row.managedElement);
    take("EquipmentHolder", row.holder);
    take("Equipment", row.name);
}
template <class Take>
void eachComponent(const TerminationPoint& row, Take&& take) {
    eachComponent(row.name, take);
}
template <class Take>
void eachComponent(const TopologicalLink& row, Take&& take) {
    take("TopologicalLink", row.name);
}
template <class Take>
void eachComponent(const Subnetwork& row, Take&& take) {
    take("MultiLayerSubnetwork", row.name);
}

KELP_EXPORT NameValues namingAttributes(const std::string& ems, const ObjectName& name);

KELP_EXPORT ObjectName nameOf(const ManagedElement& row);
KELP_EXPORT ObjectName nameOf(const EquipmentHolder& row);
KELP_EXPORT ObjectName nameOf(const Equipment& row);
KELP_EXPORT ObjectName nameOf(const TerminationPoint& row);
KELP_EXPORT ObjectName nameOf(const TopologicalLink& row);
KELP_EXPORT ObjectName nameOf(const Subnetwork& row);

/// The object that naming attributes of this EMS stand for; none when their components are those of
/// no object of the inventory, or of another EMS. Says nothing about whether the object is there.
KELP_EXPORT std::optional<ObjectName> objectNameOf(const std::string& ems,
                                                   const NameValues& attributes);

}  // namespace kelp::inventory
