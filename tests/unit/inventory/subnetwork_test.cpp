#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// Return a network with the elements "A" to "D". Each has two ports, of which the second is an
/// edge point. "A" and "B" are in subnetwork "North", "B" and "C" in "South", "D" in none.
std::string networkOfSubnetworks() {
    std::string lines =
        R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"North","supportedRates":[15]}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"South","subnetworkType":"TOPO_PSR"}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"Empty"}
)";
    const std::pair<const char*, const char*> elements[] = {
        {"A", R"("North")"}, {"B", R"("South","North")"}, {"C", R"("South")"}, {"D", ""}};
    for (const auto& [name, subnetworks] : elements) {
        const std::string element = std::string(R"(,"ManagedElement":")") + name + "\"";
        lines += R"({"object":"ManagedElement","productName":"P","subnetworks":[)" +
                 std::string(subnetworks) + "]" + element + "}\n";
        lines += R"({"object":"TerminationPoint","PTP":"line","transmissionParams":[22])" +
                 element + "}\n";
        lines +=
            R"({"object":"TerminationPoint","PTP":"edge","transmissionParams":[5],"connectableRates":[11],)"
            R"("edgePoint":true)" +
            element + "}\n";
    }
    for (const char* const ends : {"AB", "BC", "AC", "AA", "CD", "DD", "BA"}) {
        const std::string a(1, ends[0]);
        const std::string z(1, ends[1]);
        lines += R"({"object":"TopologicalLink","TopologicalLink":")" + a + z +
                 R"(","rate":22,"aEndManagedElement":")" + a +
                 R"(","aEndPTP":"line","zEndManagedElement":")" + z + "\",\"zEndPTP\":\"line\"}\n";
    }
    return lines;
}

class Subnetworks : public InventoryTest {
  protected:
    Subnetworks() { takeRight(networkOfSubnetworks()); }

    std::int64_t subnetworkId(const std::string& name) {
        return open().find(SubnetworkName{name}).value().id;
    }
    std::vector<std::string> elementsOf(const std::string& name) {
        return namesOf<ManagedElement>(open().elementsOf(subnetworkId(name)));
    }
    std::vector<std::string> linksInside(const std::string& name) {
        return namesOf<TopologicalLink>(open().linksInside(subnetworkId(name)));
    }
};

TEST_F(Subnetworks, AreFoundByTheirNames) {
    EXPECT_THAT(namesOf<Subnetwork>(open().subnetworks()), ElementsAre("North", "South", "Empty"));
    const Subnetwork north = open().find(SubnetworkName{"North"}).value();
    EXPECT_EQ(north.nativeEMSName, "North");
    EXPECT_EQ(north.userLabel, "North");
    EXPECT_EQ(north.supportedRates, LayerRates{15});
    EXPECT_EQ(open().find(SubnetworkName{"South"})->subnetworkType, Topology::Psr);
    EXPECT_FALSE(open().find(SubnetworkName{"A"}));
    EXPECT_EQ(open().readNames<Subnetwork>(open().subnetworks())[1].name, "South");
    EXPECT_THAT(open().readNames<Subnetwork>(open().subnetworks())[0].supportedRates, IsEmpty());
}

TEST_F(Subnetworks, AnElementMayBeInAnyNumberOfThem) {
    EXPECT_THAT(elementsOf("North"), ElementsAre("A", "B"));
    EXPECT_THAT(elementsOf("South"), ElementsAre("B", "C"));
    EXPECT_THAT(elementsOf("Empty"), IsEmpty());
    EXPECT_TRUE(open().elementsOf(4711).empty());
    EXPECT_THAT(namesOf<Subnetwork>(open().subnetworksOf(elementId("B"))),
                ElementsAre("North", "South"));
    EXPECT_THAT(namesOf<Subnetwork>(open().subnetworksOf(elementId("D"))), IsEmpty());
    EXPECT_TRUE(open().subnetworksOf(4711).empty());
    EXPECT_THAT(open().find(ManagedElementName{"B"})->subnetworks, ElementsAre("North", "South"));
    EXPECT_THAT(open().readNames<ManagedElement>(open().elements())[1].subnetworks, IsEmpty());
}

TEST_F(Subnetworks, LinksAreInsideWithBothTheirEnds) {
    EXPECT_THAT(linksInside("North"), ElementsAre("AB", "AA", "BA"));
    EXPECT_THAT(linksInside("South"), ElementsAre("BC"));
    EXPECT_THAT(linksInside("Empty"), IsEmpty());
    EXPECT_TRUE(open().linksInside(4711).empty());
}

TEST_F(Subnetworks, TopLevelLinksHaveTheirEndsInNoCommonSubnetwork) {
    EXPECT_THAT(namesOf<TopologicalLink>(open().topLevelLinks()), ElementsAre("AC", "CD", "DD"));
}

TEST_F(Subnetworks, ALinkThatIsMovedIsThatOfItsNewElements) {
    takeRight(
        R"({"object":"TopologicalLink","TopologicalLink":"AB","aEndManagedElement":"C","aEndPTP":"line",)"
        R"("zEndManagedElement":"B","zEndPTP":"line"})");
    EXPECT_THAT(linksInside("North"), ElementsAre("AA", "BA"));
    EXPECT_THAT(linksInside("South"), ElementsAre("AB", "BC"));
    EXPECT_THAT(namesOf<TopologicalLink>(open().linksOf(elementId("C"))),
                ElementsAre("AB", "BC", "AC", "CD"));
}

TEST_F(Subnetworks, EdgePointsAreThoseOfTheirElements) {
    const auto edgePoints = [this](const std::string& name, const PortFilter& filter = {}) {
        std::vector<std::string> points;
        for (const TerminationPoint& tp :
             open().read<TerminationPoint>(open().edgePointsOf(subnetworkId(name), filter)))
            points.push_back(tp.name.managedElement + " " + tp.name.port);
        return points;
    };
    EXPECT_THAT(edgePoints("North"), ElementsAre("A edge", "B edge"));
    EXPECT_THAT(edgePoints("North", {{5}, {11}}), ElementsAre("A edge", "B edge"));
    EXPECT_THAT(edgePoints("North", {{22}, {}}), IsEmpty());
    EXPECT_THAT(edgePoints("North", {{}, {15}}), IsEmpty());
    EXPECT_THAT(edgePoints("North", {{}, {}, false, true}), IsEmpty());
    EXPECT_THAT(edgePoints("Empty"), IsEmpty());
}

TEST_F(Subnetworks, AnElementStaysInThemUnlessItsRecordNamesOthers) {
    takeRight(R"({"object":"ManagedElement","ManagedElement":"B","owner":"x"})");
    EXPECT_THAT(open().find(ManagedElementName{"B"})->subnetworks, ElementsAre("North", "South"));
    takeRight(R"({"object":"ManagedElement","ManagedElement":"B","subnetworks":["Empty"]})");
    EXPECT_THAT(open().find(ManagedElementName{"B"})->subnetworks, ElementsAre("Empty"));
    EXPECT_THAT(elementsOf("South"), ElementsAre("C"));
    takeRight(R"({"object":"ManagedElement","ManagedElement":"B","subnetworks":[]})");
    EXPECT_THAT(open().find(ManagedElementName{"B"})->subnetworks, IsEmpty());
}

TEST_F(Subnetworks, MayFollowTheirElementsInTheFile) {
    takeRight(R"({"object":"ManagedElement","ManagedElement":"A","subnetworks":["New"]}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"New","owner":"o"})");
    EXPECT_THAT(elementsOf("New"), ElementsAre("A"));
}

TEST_F(Subnetworks, AreRemovedWhenEverythingIsReplaced) {
    ImportOptions replace;
    replace.replace = true;
    takeRight(R"({"object":"EMS","owner":"x"})");
    takeRight(R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"North"})", replace);
    EXPECT_THAT(namesOf<Subnetwork>(open().subnetworks()), ElementsAre("North"));
    EXPECT_THAT(elementsOf("North"), IsEmpty());
    EXPECT_EQ(open().ems().owner, "");
    EXPECT_EQ(open().statistics().subnetworks, 1u);
}

TEST_F(Subnetworks, CsvGivesAnElementsAsAList) {
    std::filesystem::create_directory(folder / "csv");
    folder.write("csv/MultiLayerSubnetwork.csv",
                 "MultiLayerSubnetwork,supportedRates\nWest Side,LR_E1_2M 15\n");
    folder.write("csv/EMS.csv", "owner,userLabel\nNOC,\n");
    folder.write("csv/ManagedElement.csv",
                 "ManagedElement,subnetworks\nA,\"[\"\"West Side\"\"]\"\nB,North Empty\nC,\n");
    const ImportResult result = importInventory(database, folder / "csv", {});
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.added, 2u);
    EXPECT_THAT(elementsOf("West Side"), ElementsAre("A"));
    EXPECT_THAT(open().find(ManagedElementName{"B"})->subnetworks, ElementsAre("North", "Empty"));
    EXPECT_THAT(open().find(ManagedElementName{"C"})->subnetworks, IsEmpty());
    EXPECT_EQ(open().find(SubnetworkName{"West Side"})->supportedRates, (LayerRates{5, 15}));
    EXPECT_EQ(open().ems().owner, "NOC");
}

using Ems = InventoryTest;

TEST_F(Ems, HasNoAttributesUntilTheyAreImported) {
    EXPECT_EQ(open().ems().userLabel, "");
    EXPECT_EQ(open().ems().owner, "");
    EXPECT_THAT(open().ems().additionalInfo, IsEmpty());
    EXPECT_EQ(open().find(EmsName{})->id, open().ems().id);
    EXPECT_EQ(exported(), "");
}

TEST_F(Ems, KeepsWhatIsImported) {
    takeRight(R"({"object":"EMS","userLabel":"Main","additionalInfo":{"a":"1"}})");
    takeRight(R"({"object":"EMS","owner":"NOC"})");
    EXPECT_EQ(open().ems().userLabel, "Main");
    EXPECT_EQ(open().ems().owner, "NOC");
    EXPECT_EQ(open().ems().additionalInfo, (NameValues{{"a", "1"}}));
}

TEST_F(Ems, ItsLabelAndOwnerCanBeSet) {
    const std::int64_t id = open().ems().id;
    EXPECT_EQ(open().setUserLabel(ObjectKind::Ems, id, "Main", true), Change::Made);
    EXPECT_EQ(open().setOwner(ObjectKind::Ems, id, "NOC"), Change::Made);
    EXPECT_EQ(open().setUserLabel(ObjectKind::Ems, id, "Main", true), Change::Made) << "its own";
    EXPECT_EQ(open().ems().userLabel, "Main");
    EXPECT_EQ(open().ems().owner, "NOC");
    EXPECT_THROW(open().setNativeEmsName(ObjectKind::Ems, id, "x"), InventoryFailure);
    EXPECT_EQ(open().setOwner(ObjectKind::Ems, 2, "x"), Change::NoSuchObject);
}

TEST_F(Subnetworks, TheirLabelNativeNameAndOwnerCanBeSet) {
    const std::int64_t id = subnetworkId("North");
    EXPECT_EQ(open().setUserLabel(ObjectKind::Subnetwork, id, "South", true), Change::LabelInUse);
    EXPECT_EQ(open().setUserLabel(ObjectKind::Subnetwork, id, "Upper", true), Change::Made);
    EXPECT_EQ(open().setNativeEmsName(ObjectKind::Subnetwork, id, "n"), Change::Made);
    EXPECT_EQ(open().setOwner(ObjectKind::Subnetwork, id, "o"), Change::Made);
    const Subnetwork changed = open().find(SubnetworkName{"North"}).value();
    EXPECT_EQ(changed.userLabel, "Upper");
    EXPECT_EQ(changed.nativeEMSName, "n");
    EXPECT_EQ(changed.owner, "o");
}

}  // namespace
}  // namespace kelp::test
