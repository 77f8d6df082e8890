#pragma once

#include <string>
#include <vector>

namespace kelp::test {

/// The standard's managers (TMF 814, SD1-15), in the order in which getSupportedManagers lists
/// them.
inline const std::vector<std::string>& standardManagers() {
    static const std::vector<std::string> names = {"EMS",
                                                   "EquipmentInventory",
                                                   "FlowDomain",
                                                   "GuiCutThrough",
                                                   "MLSNPP",
                                                   "Maintenance",
                                                   "ManagedElement",
                                                   "MultiLayerSNPPLink",
                                                   "MultiLayerSubnetwork",
                                                   "PerformanceManagement",
                                                   "Protection",
                                                   "TrafficConditioningProfile",
                                                   "TrafficDescriptor",
                                                   "softwareAndDataManager",
                                                   "transmissionDescriptor"};
    return names;
}

/// Return the managers' names, each between `before` and `after`.
inline std::string standardManagersText(const std::string& before, const std::string& after) {
    std::string text;
    for (const std::string& name : standardManagers())
        text += before + name + after;
    return text;
}

}  // namespace kelp::test
