#pragma once

#include <kelp/nms/session.h>
#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElementManager.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "scripted_iterator.h"
#include "support/orb_fixture.h"

namespace kelp::test {

using Name = std::vector<std::pair<std::string, std::string>>;

/// A network as an EMS shows it, and how that EMS behaves.
struct FakeNetwork {
    std::vector<Name> elements;
    int portsEach = 5;
    int links = 4;  ///< in no subnetwork, named from 1 on
    std::map<std::string, std::vector<std::string>>
        subnetworks;                  ///< the names of the links in each
    bool subnetworksAreGone = false;  ///< when they are asked for their links
    bool hasEquipment = true;
    bool implementsEquipment = true;  ///< otherwise the manager refuses everything
    bool implementsSubnetworks = true;
    IteratorScript iterators;
    /// Run when an element's ports are asked for; may throw.
    std::function<void(const std::string& element)> onPorts = [](const std::string&) {};
    std::function<void()> onLinks = [] {};

    /// NE-1 and so on.
    void addElements(int count) {
        for (int i = 1; i <= count; ++i)
            elements.push_back(
                {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-" + std::to_string(i)}});
    }
};

/// A session with an EMS that has this network, which is borrowed.
std::unique_ptr<nms::NmsSession> sessionWith(FakeNetwork& network, const RunningOrb& orb);

}  // namespace kelp::test
