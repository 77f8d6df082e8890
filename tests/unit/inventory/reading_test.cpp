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

TEST_F(InventoryReading, ASnapshotNeverComesToMeanOtherRows) {
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
                // each is either the whole of one network or the whole of the next
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
