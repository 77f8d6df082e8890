#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/inventory/generate.h>

#include <atomic>
#include <thread>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;
using testing::SizeIs;

class InventoryReading : public InventoryTest {
  protected:
    void makeElements(int count) {
        std::string lines;
        for (int i = 1; i <= count; ++i)
            lines += R"({"object":"ManagedElement","productName":"P","ManagedElement":"E)" +
                     std::to_string(i) + "\"}\n";
        takeRight(lines);
    }
};

TEST_F(InventoryReading, RowsComeInTheOrderOfTheIds) {
    makeElements(5);
    RowIds ids;
    for (const std::int64_t id : {4, 5, 1, 2})
        ids.append(id);
    EXPECT_THAT(namesOf<ManagedElement>(ids), ElementsAre("E4", "E5", "E1", "E2"));
}

TEST_F(InventoryReading, BatchesGoThroughASnapshotToItsEnd) {
    makeElements(25);
    RowIds left = open().elements();
    makeElements(30);
    std::vector<std::string> names;
    while (!left.empty()) {
        for (const ManagedElement& element : open().read<ManagedElement>(left.take(10)))
            names.push_back(element.name);
    }
    EXPECT_THAT(names, SizeIs(25)) << "what came later is not in the snapshot";
    EXPECT_EQ(names.back(), "E25");
}

TEST_F(InventoryReading, RowsThatWereRemovedMeanwhileAreLeftOut) {
    makeElements(5);
    const RowIds ids = open().elements();
    SQLite::Database(database.string(), SQLite::OPEN_READWRITE)
        .exec("DELETE FROM managed_element WHERE name IN ('E2', 'E5')");
    EXPECT_THAT(namesOf<ManagedElement>(ids), ElementsAre("E1", "E3", "E4"));
}

TEST_F(InventoryReading, ASnapshotNeverRefersToOtherRows) {
    makeElements(5);
    const RowIds ids = open().elements();
    ImportOptions replace;
    replace.replace = true;
    takeRight(R"({"object":"ManagedElement","productName":"P","ManagedElement":"New"})", replace);
    EXPECT_THAT(namesOf<ManagedElement>(ids), testing::IsEmpty());
    EXPECT_THAT(namesOf<ManagedElement>(open().elements()), ElementsAre("New"));
}

TEST_F(InventoryReading, NamesAloneAreReadWithoutTheRest) {
    takeRight(kSmallNetwork);
    const RowIds ids = open().portsOf(elementId("A"));
    const std::vector<TerminationPoint> names = open().readNames<TerminationPoint>(ids);
    ASSERT_THAT(names, SizeIs(3));
    EXPECT_EQ(names[0].name, (TpName{"A", TpKind::Ptp, "p1", ""}));
    EXPECT_EQ(names[0].nativeEMSName, "");
    EXPECT_THAT(names[0].transmissionParams, testing::IsEmpty());
    EXPECT_EQ(open().readNames<TopologicalLink>(open().links())[0].name, "A-B");
}

TEST_F(InventoryReading, AllThatAPortHasIsRead) {
    takeRight(kSmallNetwork);
    const TerminationPoint port = open().find(TpName{"A", TpKind::Ptp, "p1", ""}).value();
    EXPECT_EQ(port.transmissionParams, (LayeredParameterList{{47, {}}, {22, {{"Trace", "x"}}}}));
    EXPECT_EQ(port.connectableRates, LayerRates{15});
    EXPECT_EQ(port.supportingEquipmentHolder, "/rack=1/shelf=1/slot=1");
    EXPECT_EQ(port.supportingEquipment, "1");
    EXPECT_EQ(port.nativeEMSName, "p1");
    EXPECT_EQ(port.direction, Directionality::Bidirectional);
    EXPECT_FALSE(port.edgePoint);
}

TEST_F(InventoryReading, EachRowIsPassedOnWithoutAnythingOfTheOneBefore) {
    takeRight(kSmallNetwork);
    takeRight(R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S"}
{"object":"ManagedElement","ManagedElement":"A","subnetworks":["S"],"supportedRates":[5],"additionalInfo":{"x":"y"}}
)");
    RowIds points;
    for (const std::int64_t id : {1, 4, 2, 5, 3, 1, 6, 2, 7, 8})
        points.append(id);
    const std::vector<TerminationPoint> listed = open().read<TerminationPoint>(points);
    ASSERT_THAT(listed, SizeIs(10));
    std::size_t at = 0;
    open().readEach<TerminationPoint>(points, Detail::All, [&](const TerminationPoint& point) {
        const TerminationPoint& same = listed.at(at++);
        EXPECT_EQ(point.id, same.id);
        EXPECT_EQ(point.name, same.name);
        EXPECT_EQ(point.transmissionParams, same.transmissionParams);
        EXPECT_EQ(point.connectableRates, same.connectableRates);
        EXPECT_EQ(point.supportingEquipmentHolder, same.supportingEquipmentHolder);
        EXPECT_EQ(point.supportingEquipment, same.supportingEquipment);
    });
    EXPECT_EQ(at, listed.size());

    std::vector<ManagedElement> elements;
    open().readEach<ManagedElement>(open().elements(), Detail::All,
                                    [&](const ManagedElement& each) { elements.push_back(each); });
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_THAT(elements[0].subnetworks, ElementsAre("S"));
    EXPECT_EQ(elements[0].supportedRates, LayerRates{5});
    EXPECT_THAT(elements[1].subnetworks, SizeIs(0));
    EXPECT_THAT(elements[1].supportedRates, SizeIs(0));
    EXPECT_THAT(elements[1].additionalInfo, SizeIs(0));
}

TEST_F(InventoryReading, StandardAttributesAreReadWithoutOtherTables) {
    takeRight(kSmallNetwork);
    RowIds port;
    port.append(1);
    int count = 0;
    open().readEach<TerminationPoint>(port, Detail::Standard, [&](const TerminationPoint& point) {
        ++count;
        EXPECT_EQ(point.name.port, "p1");
        EXPECT_EQ(point.nativeEMSName, "p1");
        EXPECT_THAT(point.transmissionParams, SizeIs(2));
        EXPECT_EQ(point.supportingEquipment, "");
    });
    open().readEach<TerminationPoint>(port, Detail::Name, [&](const TerminationPoint& point) {
        ++count;
        EXPECT_EQ(point.name.port, "p1");
        EXPECT_EQ(point.nativeEMSName, "");
    });
    EXPECT_EQ(count, 2);
}

TEST_F(InventoryReading, ManyThreadsReadWhileAnotherProcessesImportIsWritten) {
    NetworkPlan plan;
    plan.elements = 20;
    plan.ports = 400;
    generateNetwork(database, plan);
    open();
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::atomic<int> rounds{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i)
        readers.emplace_back([&] {
            while (!isOver) {
                // each read returns either one complete network or the other
                if (open().read<TerminationPoint>(open().allPorts()).size() % 400 != 0)
                    ++wrong;
                ++rounds;
            }
        });
    plan.replace = true;
    for (plan.seed = 2; plan.seed < 6; ++plan.seed)
        generateNetwork(database, plan);
    while (rounds < 8)
        std::this_thread::yield();
    isOver = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(open().allPorts().count(), 400u);
}

}  // namespace
}  // namespace kelp::test
