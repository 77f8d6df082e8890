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

/// A network as an EMS shows it, and the behaviour of that EMS.
struct FakeNetwork {
    std::vector<Name> elements;
    int portsEach = 5;
    int links = 4;  ///< links in no subnetwork, named from 1 on
    /// The names of the links in each subnetwork.
    std::map<std::string, std::vector<std::string>> subnetworks;
    bool subnetworksAreGone = false;  ///< whether requests for their links fail
    bool hasEquipment = true;
    bool implementsEquipment = true;  ///< if false, the manager refuses everything
    bool implementsSubnetworks = true;
    IteratorScript iterators;
    /// Run when an element's ports or the links are requested. May throw.
    std::function<void(const std::string& element)> onPorts = [](const std::string&) {};
    std::function<void()> onLinks = [] {};

    /// Add elements with the names NE-1, NE-2 and so on.
    void addElements(int count) {
        for (int i = 1; i <= count; ++i)
            elements.push_back(
                {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-" + std::to_string(i)}});
    }
};

/// Return a session with an EMS that has this network. The network is borrowed.
std::unique_ptr<nms::NmsSession> sessionWith(FakeNetwork& network, const RunningOrb& orb);

}  // namespace kelp::test
