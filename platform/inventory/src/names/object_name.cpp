#include <kelp/inventory/object_name.h>

namespace kelp::inventory {

namespace {

/// The names of the components, joined by dots.
std::string formOf(const NameValues& attributes) {
    std::string form;
    for (const NameValue& component : attributes)
        form += (form.empty() ? "" : ".") + component.name;
    return form;
}

}  // namespace

NameValues namingAttributes(const std::string& ems, const ObjectName& name) {
    NameValues attributes = {{"EMS", ems}};
    const auto append = [&](const char* component, const std::string& value) {
        attributes.push_back({component, value});
    };
    std::visit([&](const auto& each) { eachComponent(each, append); }, name);
    return attributes;
}

ObjectName nameOf(const ManagedElement& row) {
    return ManagedElementName{row.name};
}
ObjectName nameOf(const EquipmentHolder& row) {
    return HolderName{row.managedElement, row.name};
}
ObjectName nameOf(const Equipment& row) {
    return EquipmentName{row.managedElement, row.holder, row.name};
}
ObjectName nameOf(const TerminationPoint& row) {
    return row.name;
}
ObjectName nameOf(const TopologicalLink& row) {
    return LinkName{row.name};
}
ObjectName nameOf(const Subnetwork& row) {
    return SubnetworkName{row.name};
}

std::optional<ObjectName> objectNameOf(const std::string& ems, const NameValues& attributes) {
    if (attributes.empty() || attributes[0].value != ems)
        return std::nullopt;
    for (const NameValue& component : attributes) {
        if (component.value.empty())
            return std::nullopt;
    }
    const std::string form = formOf(attributes);
    const auto value = [&](std::size_t place) { return attributes[place].value; };
    if (form == "EMS.ManagedElement")
        return ManagedElementName{value(1)};
    if (form == "EMS.ManagedElement.EquipmentHolder")
        return HolderName{value(1), value(2)};
    if (form == "EMS.ManagedElement.EquipmentHolder.Equipment")
        return EquipmentName{value(1), value(2), value(3)};
    if (form == "EMS.ManagedElement.PTP" || form == "EMS.ManagedElement.PTP.CTP")
        return TpName{value(1), TpKind::Ptp, value(2), attributes.size() > 3 ? value(3) : ""};
    if (form == "EMS.ManagedElement.FTP" || form == "EMS.ManagedElement.FTP.CTP")
        return TpName{value(1), TpKind::Ftp, value(2), attributes.size() > 3 ? value(3) : ""};
    if (form == "EMS.TopologicalLink")
        return LinkName{value(1)};
    if (form == "EMS.MultiLayerSubnetwork")
        return SubnetworkName{value(1)};
    if (form == "EMS")
        return EmsName{};
    return std::nullopt;
}

}  // namespace kelp::inventory
