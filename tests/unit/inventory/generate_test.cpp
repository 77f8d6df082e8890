#include <kelp/inventory/generate.h>

#include <functional>
#include <map>
#include <set>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::HasSubstr;

class GeneratedNetwork : public InventoryTest {
  protected:
    static NetworkPlan plan(std::uint64_t elements, std::uint64_t ports, std::uint64_t seed = 1) {
        NetworkPlan plan;
        plan.elements = elements;
        plan.ports = ports;
        plan.seed = seed;
        return plan;
    }
    std::string textOf(const NetworkPlan& plan, const char* file) {
        generateNetwork(folder / file, plan);
        std::ostringstream out;
        exportJsonLines(folder / file, out);
        return out.str();
    }
};

TEST_F(GeneratedNetwork, HasTheRequestedObjects) {
    for (const auto& [elements, ports] :
         {std::pair(1, 0), {1, 1}, {2, 9}, {3, 7}, {50, 49}, {100, 2345}}) {
        NetworkPlan each =
            plan(static_cast<std::uint64_t>(elements), static_cast<std::uint64_t>(ports));
        each.replace = true;
        const Statistics counts = generateNetwork(database, each);
        EXPECT_EQ(counts.elements, each.elements);
        EXPECT_EQ(counts.ptps, each.ports);
    }
}

TEST_F(GeneratedNetwork, IsTheSameForTheSameSeed) {
    const std::string first = textOf(plan(60, 900, 7), "a.db");
    EXPECT_EQ(textOf(plan(60, 900, 7), "b.db"), first);
    EXPECT_NE(textOf(plan(60, 900, 8), "c.db"), first);
}

/// Return the FNV-1a hash of a text, which is the same on every machine.
std::uint64_t hashOf(const std::string& text) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char each : text)
        hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001B3u;
    return hash;
}

TEST_F(GeneratedNetwork, IsTheSameEverywhere) {
    EXPECT_EQ(hashOf(textOf(plan(60, 900, 7), "a.db")), 8725975910623406786u);
}

TEST_F(GeneratedNetwork, IsConsistent) {
    generateNetwork(database, plan(100, 2000));
    std::map<std::string, std::set<std::string>> neighbours;
    std::set<std::string> ends;
    for (const TopologicalLink& link : open().read<TopologicalLink>(open().links())) {
        neighbours[link.aEnd.managedElement].insert(link.zEnd.managedElement);
        neighbours[link.zEnd.managedElement].insert(link.aEnd.managedElement);
        for (const TpName& end : {link.aEnd, link.zEnd}) {
            EXPECT_TRUE(ends.insert(end.managedElement + " " + end.port).second)
                << "one link a port";
            EXPECT_FALSE(open().find(end)->edgePoint) << end.port;
        }
    }
    std::set<std::string> reached;
    const std::function<void(const std::string&)> reach = [&](const std::string& name) {
        if (reached.insert(name).second) {
            for (const std::string& each : neighbours[name])
                reach(each);
        }
    };
    reach("NE-0001");
    EXPECT_EQ(reached.size(), 100u);
    EXPECT_GT(open().links().count(), 100u) << "rings and a mesh, not a tree";
}

TEST_F(GeneratedNetwork, HasItsRingsAsSubnetworks) {
    generateNetwork(database, plan(100, 2000));
    EXPECT_EQ(open().statistics().subnetworks, open().subnetworks().count());
    std::size_t elements = 0;
    std::uint64_t inside = 0;
    for (const Subnetwork& ring : open().read<Subnetwork>(open().subnetworks())) {
        const std::uint64_t size = open().elementsOf(ring.id).count();
        EXPECT_LE(size, 12u) << ring.name;
        elements += size;
        if (size > 2) {
            EXPECT_EQ(open().linksInside(ring.id).count(), size) << ring.name;
            EXPECT_THAT(ring.subnetworkType, testing::AnyOf(Topology::Psr, Topology::Spring));
        }
        inside += open().linksInside(ring.id).count();
        EXPECT_FALSE(open().edgePointsOf(ring.id).empty());
    }
    EXPECT_EQ(elements, 100u) << "each element is in its ring";
    EXPECT_EQ(open().topLevelLinks().count(), open().links().count() - inside);
    EXPECT_GT(open().topLevelLinks().count(), 5u) << "the mesh of the hubs";
}

TEST_F(GeneratedNetwork, HasPortsOnCardsInSlots) {
    generateNetwork(database, plan(30, 900));
    std::set<std::string> products;
    for (const ManagedElement& element : open().read<ManagedElement>(open().elements())) {
        products.insert(element.productName);
        EXPECT_FALSE(element.location.empty());
        for (const TerminationPoint& port :
             open().read<TerminationPoint>(open().portsOf(element.id))) {
            EXPECT_THAT(port.name.port,
                        testing::StartsWith(port.supportingEquipmentHolder + "/port="));
            EXPECT_GE(port.transmissionParams.size(), 2u);
        }
        for (const Equipment& board : open().read<Equipment>(open().equipmentOf(element.id)))
            EXPECT_GT(open().portsOn(board.id).count(), 0u) << board.holder;
    }
    EXPECT_GE(products.size(), 3u);
}

TEST_F(GeneratedNetwork, HasConnectionPointsWhenTheyAreAskedFor) {
    NetworkPlan with = plan(10, 100);
    with.ctpsPerLine = 4;
    generateNetwork(database, with);
    const TopologicalLink link = open().read<TopologicalLink>(open().links()).at(0);
    EXPECT_EQ(open().tpsIn(open().find(link.aEnd)->id, {15}, Depth::Direct).count(), 4u);
}

TEST_F(GeneratedNetwork, DoesNotMixWithAnExistingInventory) {
    takeRight(kSmallNetwork);
    const std::string before = exported();
    EXPECT_THAT([&] { generateNetwork(database, plan(5, 5)); },
                testing::ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db is not empty")));
    EXPECT_EQ(exported(), before);
}

TEST_F(GeneratedNetwork, CanBeImportedAgain) {
    const auto file = folder.write("network.jsonl", textOf(plan(20, 300), "a.db"));
    EXPECT_THAT(importInventory(database, file, {}).problems, testing::IsEmpty());
    EXPECT_EQ(exported(), contentOf(file));
}

}  // namespace
}  // namespace kelp::test
