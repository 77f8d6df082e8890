#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>
#include <variant>

namespace kelp::inventory {

// The naming attributes of the inventory's objects (globaldefs::NamingAttributes_T). The component
// "EMS" comes first, then the components of the object.

/// The name of a managed element.
struct ManagedElementName {
    std::string managedElement;
    bool operator==(const ManagedElementName&) const = default;
};
/// The name of an equipment holder, such as a shelf or a slot.
struct HolderName {
    std::string managedElement;
    std::string holder;
    bool operator==(const HolderName&) const = default;
};
/// The name of equipment in a holder.
struct EquipmentName {
    std::string managedElement;
    std::string holder;
    std::string equipment;
    bool operator==(const EquipmentName&) const = default;
};
/// The name of a topological link.
struct LinkName {
    std::string link;
    bool operator==(const LinkName&) const = default;
};
/// The name of a multilayer subnetwork.
struct SubnetworkName {
    std::string subnetwork;
    bool operator==(const SubnetworkName&) const = default;
};
/// The EMS itself. Its name has no component after "EMS".
struct EmsName {
    bool operator==(const EmsName&) const = default;
};
using ObjectName = std::variant<ManagedElementName, HolderName, EquipmentName, TpName, LinkName,
                                SubnetworkName, EmsName>;

// Call `take` with the name and the value of each component of a name after the EMS, in their
// order.
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

// The same for the name of a row.
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

/// Parse naming attributes. Returns nothing if they belong to another EMS, or if their components
/// are not those of any kind of object in the inventory. Does not check whether the object exists.
KELP_EXPORT std::optional<ObjectName> objectNameOf(const std::string& ems,
                                                   const NameValues& attributes);

}  // namespace kelp::inventory
