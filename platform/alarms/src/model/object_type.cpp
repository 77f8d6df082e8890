#include <map>

#include "kelp/alarms/alarm.h"

namespace kelp::alarms {

std::optional<ObjectType> objectTypeOf(const Name& objectName) {
    static const std::map<std::string, ObjectType> types = {
        {"EMS", ObjectType::Ems},
        {"ManagedElement", ObjectType::ManagedElement},
        {"MultiLayerSubnetwork", ObjectType::MultilayerSubnetwork},
        {"TopologicalLink", ObjectType::TopologicalLink},
        {"SubnetworkConnection", ObjectType::SubnetworkConnection},
        {"PTP", ObjectType::PhysicalTerminationPoint},
        {"CTP", ObjectType::ConnectionTerminationPoint},
        {"TPPool", ObjectType::TerminationPointPool},
        {"EquipmentHolder", ObjectType::EquipmentHolder},
        {"Equipment", ObjectType::Equipment},
        {"PGP", ObjectType::ProtectionGroup},
        {"TrafficDescriptor", ObjectType::TrafficDescriptor},
        {"AID", ObjectType::Aid},
    };
    if (objectName.empty())
        return std::nullopt;
    const auto known = types.find(objectName.back().first);
    return known == types.end() ? std::nullopt : std::optional(known->second);
}

}  // namespace kelp::alarms
