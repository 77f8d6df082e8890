#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class InventoryQueries : public InventoryTest {
  protected:
    InventoryQueries() { takeRight(kSmallNetwork); }

    std::int64_t tpId(const std::string& port, const std::string& ctp = "") {
        return open().find(TpName{"A", TpKind::Ptp, port, ctp}).value().id;
    }
    std::int64_t holderId(const std::string& name) {
        return open().find(HolderName{"A", name}).value().id;
    }
    std::vector<std::string> ports(const PortFilter& filter) {
        return namesOf<TerminationPoint>(open().portsOf(elementId("A"), filter));
    }
    std::vector<std::string> ctpsIn(std::int64_t id, Depth depth, const LayerRates& layers = {},
                                    ContainedTps which = ContainedTps::All) {
        return namesOf<TerminationPoint>(open().tpsIn(id, layers, depth, which));
    }
};

TEST_F(InventoryQueries, ElementsAreInTheOrderOfTheirImport) {
    EXPECT_THAT(namesOf<ManagedElement>(open().elements()), ElementsAre("A", "B"));
}

TEST_F(InventoryQueries, ObjectsAreFoundByTheirNames) {
    EXPECT_EQ(open().find(ManagedElementName{"B"})->productName, "P2");
    EXPECT_EQ(open().find(HolderName{"A", "/rack=1/shelf=1"})->holderType, "shelf");
    EXPECT_EQ(open().find(EquipmentName{"A", "/rack=1/shelf=1/slot=1", "1"})->holder,
              "/rack=1/shelf=1/slot=1");
    EXPECT_EQ(open().find(TpName{"A", TpKind::Ftp, "f1", ""})->name.kind(), TpKind::Ftp);
    const TpName ctp{"A", TpKind::Ptp, "p1", "/sts3c_au4-j=1"};
    EXPECT_EQ(open().find(ctp)->name, ctp);
    EXPECT_EQ(open().find(LinkName{"A-B"})->zEnd, (TpName{"B", TpKind::Ptp, "p1", ""}));
}

TEST_F(InventoryQueries, MissingObjectsAreNotFound) {
    EXPECT_FALSE(open().find(ManagedElementName{"a"}));
    EXPECT_FALSE(open().find(HolderName{"B", "/rack=1"}));
    EXPECT_FALSE(open().find(EquipmentName{"A", "/rack=1", "1"}));
    EXPECT_FALSE(open().find(TpName{"A", TpKind::Ftp, "p1", ""}));
    EXPECT_FALSE(open().find(TpName{"A", TpKind::Ptp, "p2", "/sts3c_au4-j=1"}));
    EXPECT_FALSE(open().find(TpName{"C", TpKind::Ptp, "p1", ""}));
    EXPECT_FALSE(open().find(LinkName{"B-A"}));
}

TEST_F(InventoryQueries, PortsArePhysicalAndFloatingOnesButNoCtps) {
    EXPECT_THAT(ports({}), ElementsAre("p1", "p2", "f1"));
    EXPECT_THAT(ports({{}, {}, true, false}), ElementsAre("p1", "p2"));
    EXPECT_THAT(ports({{}, {}, false, true}), ElementsAre("f1"));
    EXPECT_THAT(ports({{}, {}, false, false}), IsEmpty());
    EXPECT_EQ(open().allPorts().count(), 4u);
}

TEST_F(InventoryQueries, PortsAreFilteredByTheirLayersAndByTheRatesTheyConnectAt) {
    EXPECT_THAT(ports({{22, 5}, {}}), ElementsAre("p1", "p2"));
    EXPECT_THAT(ports({{5}, {}}), ElementsAre("p2"));
    EXPECT_THAT(ports({{}, {15, 11}}), ElementsAre("p1", "p2"));
    EXPECT_THAT(ports({{}, {15}}), ElementsAre("p1"));
    EXPECT_THAT(ports({{5}, {15}}), IsEmpty());
}

TEST_F(InventoryQueries, TpsContainWhatTheirNamesBegin) {
    EXPECT_THAT(ctpsIn(tpId("p1"), Depth::All),
                ElementsAre("/sts3c_au4-j=1", "/sts3c_au4-j=1/vt2_tu12-k=1", "/sts3c_au4-j=10",
                            "/direction=src/sts3c_au4-j=2"));
    EXPECT_THAT(ctpsIn(tpId("p1"), Depth::Direct),
                ElementsAre("/sts3c_au4-j=1", "/sts3c_au4-j=10", "/direction=src/sts3c_au4-j=2"));
    EXPECT_THAT(ctpsIn(tpId("p1", "/sts3c_au4-j=1"), Depth::All),
                ElementsAre("/sts3c_au4-j=1/vt2_tu12-k=1"));
    EXPECT_THAT(ctpsIn(tpId("p1", "/sts3c_au4-j=10"), Depth::All), IsEmpty());
    EXPECT_THAT(ctpsIn(tpId("p2"), Depth::All), IsEmpty());
    EXPECT_THAT(ctpsIn(4711, Depth::All), IsEmpty());
}

TEST_F(InventoryQueries, ContainedTpsAreFilteredByLayerAndUse) {
    EXPECT_THAT(ctpsIn(tpId("p1"), Depth::All, {11}), ElementsAre("/sts3c_au4-j=1/vt2_tu12-k=1"));
    EXPECT_THAT(ctpsIn(tpId("p1"), Depth::All, {}, ContainedTps::InUse),
                ElementsAre("/sts3c_au4-j=1"));
    EXPECT_THAT(ctpsIn(tpId("p1"), Depth::All, {11}, ContainedTps::InUse), IsEmpty());
}

TEST_F(InventoryQueries, ContainingTpsGoFromTheInnermostToThePort) {
    EXPECT_THAT(
        namesOf<TerminationPoint>(open().tpsAround(tpId("p1", "/sts3c_au4-j=1/vt2_tu12-k=1"))),
        ElementsAre("/sts3c_au4-j=1", "p1"));
    EXPECT_THAT(namesOf<TerminationPoint>(open().tpsAround(tpId("p1", "/sts3c_au4-j=10"))),
                ElementsAre("p1"));
    EXPECT_THAT(namesOf<TerminationPoint>(open().tpsAround(tpId("p1"))), IsEmpty());
}

TEST_F(InventoryQueries, HoldersContainWhatTheirPathsBegin) {
    EXPECT_THAT(namesOf<EquipmentHolder>(open().holdersOf(elementId("A"), Depth::Direct)),
                ElementsAre("/rack=1", "/rack=10"));
    EXPECT_EQ(open().holdersOf(elementId("A"), Depth::All).count(), 4u);
    EXPECT_THAT(namesOf<EquipmentHolder>(open().holdersIn(holderId("/rack=1"), Depth::Direct)),
                ElementsAre("/rack=1/shelf=1"));
    EXPECT_THAT(namesOf<EquipmentHolder>(open().holdersIn(holderId("/rack=1"), Depth::All)),
                ElementsAre("/rack=1/shelf=1", "/rack=1/shelf=1/slot=1"));
}

TEST_F(InventoryQueries, EquipmentIsFoundByElementHolderAndPort) {
    EXPECT_EQ(open().equipmentOf(elementId("A")).count(), 1u);
    EXPECT_EQ(open().equipmentOf(elementId("B")).count(), 0u);
    EXPECT_EQ(open().equipmentIn(holderId("/rack=1"), Depth::Direct).count(), 0u);
    EXPECT_EQ(open().equipmentIn(holderId("/rack=1"), Depth::All).count(), 1u);
    EXPECT_EQ(open().equipmentIn(holderId("/rack=1/shelf=1/slot=1"), Depth::All).count(), 1u);
    EXPECT_EQ(open().equipmentIn(holderId("/rack=10"), Depth::All).count(), 0u);
    const Equipment board = open().find(EquipmentName{"A", "/rack=1/shelf=1/slot=1", "1"}).value();
    EXPECT_THAT(namesOf<TerminationPoint>(open().portsOn(board.id)), ElementsAre("p1"));
}

TEST_F(InventoryQueries, LinksAreFoundByTheElementsOfTheirEnds) {
    takeRight(
        R"({"object":"TopologicalLink","TopologicalLink":"inside","rate":15,"aEndManagedElement":"A",)"
        R"("aEndPTP":"p1","aEndCTP":"/sts3c_au4-j=1","zEndManagedElement":"A","zEndPTP":"p2"})");
    EXPECT_THAT(namesOf<TopologicalLink>(open().links()), ElementsAre("A-B", "inside"));
    EXPECT_THAT(namesOf<TopologicalLink>(open().linksOf(elementId("A"))),
                UnorderedElementsAre("A-B", "inside"));
    EXPECT_THAT(namesOf<TopologicalLink>(open().linksOf(elementId("B"))), ElementsAre("A-B"));
    EXPECT_EQ(open().find(LinkName{"inside"})->aEnd.ctp, "/sts3c_au4-j=1");
}

TEST_F(InventoryQueries, StatisticsCountEveryKind) {
    const Statistics counts = open().statistics();
    EXPECT_EQ(counts.elements, 2u);
    EXPECT_EQ(counts.holders, 4u);
    EXPECT_EQ(counts.equipment, 1u);
    EXPECT_EQ(counts.ptps, 3u);
    EXPECT_EQ(counts.ftps, 1u);
    EXPECT_EQ(counts.ctps, 4u);
    EXPECT_EQ(counts.links, 1u);
    EXPECT_THAT(counts.elementsByProduct,
                ElementsAre(testing::Pair("P1", 1u), testing::Pair("P2", 1u)));
    EXPECT_GT(counts.fileBytes, 0u);
}

}  // namespace
}  // namespace kelp::test
