#include <SQLiteCpp/SQLiteCpp.h>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class InventoryImport : public InventoryTest {
  protected:
    static ImportOptions dryRun() {
        ImportOptions options;
        options.dryRun = true;
        return options;
    }
    static ImportOptions replace() {
        ImportOptions options;
        options.replace = true;
        return options;
    }
    std::string reversed(const std::string& text) {
        std::istringstream in(text);
        std::string result;
        for (std::string line; std::getline(in, line);)
            result = line + "\n" + result;
        return result;
    }
    ImportResult takeFolder() { return importInventory(database, folder / "csv", {}); }
    void csv(const std::string& name, const std::string& content) {
        std::filesystem::create_directory(folder / "csv");
        folder.write("csv/" + name, content);
    }
};

TEST_F(InventoryImport, CountsTheImportedObjects) {
    const ImportResult result = take(kSmallNetwork);
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.added, 16u);
    EXPECT_EQ(result.updated, 0u);
}

TEST_F(InventoryImport, RowsMayComeInAnyOrder) {
    const ImportResult result = take(reversed(kSmallNetwork));
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.added, 16u);
    EXPECT_EQ(open().find(LinkName{"A-B"})->aEnd.managedElement, "A");
}

TEST_F(InventoryImport, MissingValuesHaveTheirDefaults) {
    takeRight(kSmallNetwork);
    const ManagedElement element = open().find(ManagedElementName{"A"}).value();
    EXPECT_EQ(element.nativeEMSName, "A");
    EXPECT_EQ(element.userLabel, "A");
    EXPECT_EQ(element.communicationState, CommunicationState::Available);
    EXPECT_TRUE(element.emsInSyncState);
    takeRight(
        R"({"object":"ManagedElement","ManagedElement":"C","productName":"P","nativeEMSName":"native"})");
    EXPECT_EQ(open().find(ManagedElementName{"C"})->userLabel, "native");
    EXPECT_EQ(open().find(HolderName{"A", "/rack=1/shelf=1/slot=1"})->holderType, "slot");
}

TEST_F(InventoryImport, AnExistingObjectKeepsValuesThatAreNotGiven) {
    takeRight(kSmallNetwork);
    const std::int64_t id = elementId("A");
    const ImportResult result = take(
        R"({"object":"ManagedElement","ManagedElement":"A","owner":"North","userLabel":""}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","edgePoint":true})");
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.added, 0u);
    EXPECT_EQ(result.updated, 2u);
    const ManagedElement element = open().find(ManagedElementName{"A"}).value();
    EXPECT_EQ(element.id, id);
    EXPECT_EQ(element.owner, "North");
    EXPECT_EQ(element.userLabel, "");
    EXPECT_EQ(element.productName, "P1");
    const TerminationPoint port = open().find(TpName{"A", TpKind::Ptp, "p1", ""}).value();
    EXPECT_TRUE(port.edgePoint);
    EXPECT_EQ(port.supportingEquipment, "1");
    EXPECT_THAT(port.transmissionParams, SizeIs(2));
}

TEST_F(InventoryImport, ALinkMayBeMovedToOtherEnds) {
    takeRight(kSmallNetwork);
    takeRight(
        R"({"object":"TopologicalLink","TopologicalLink":"A-B","aEndManagedElement":"A","aEndPTP":"p2",)"
        R"("zEndManagedElement":"B","zEndPTP":"p1"})");
    EXPECT_EQ(open().find(LinkName{"A-B"})->aEnd.port, "p2");
    EXPECT_EQ(open().find(LinkName{"A-B"})->rate, 22);
}

TEST_F(InventoryImport, ReplacingRemovesEverythingFirst) {
    takeRight(kSmallNetwork);
    takeRight(R"({"object":"ManagedElement","ManagedElement":"B","productName":"P3"})", replace());
    EXPECT_THAT(namesOf<ManagedElement>(open().elements()), ElementsAre("B"));
    const Statistics counts = open().statistics();
    EXPECT_EQ(
        counts.holders + counts.equipment + counts.ptps + counts.ftps + counts.ctps + counts.links,
        0u);
}

TEST_F(InventoryImport, ADryRunChecksEverythingAndChangesNothing) {
    takeRight(kSmallNetwork);
    const std::string before = exported();
    EXPECT_EQ(
        take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"})", dryRun())
            .added,
        1u);
    ImportOptions both = dryRun();
    both.replace = true;
    EXPECT_EQ(
        take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"})", both).added,
        1u);
    EXPECT_THAT(take(R"({"object":"ManagedElement","ManagedElement":"D"})", dryRun()).problems,
                SizeIs(1));
    EXPECT_EQ(exported(), before);
}

TEST_F(InventoryImport, ADryRunMakesNoInventory) {
    EXPECT_EQ(take(kSmallNetwork, dryRun()).added, 16u);
    EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(InventoryImport, NothingIsImportedWhenSomethingIsWrong) {
    takeRight(kSmallNetwork);
    const std::string before = exported();
    for (const bool isReplacing : {false, true}) {
        ImportOptions options;
        options.replace = isReplacing;
        const ImportResult result = take(
            R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"}
{"object":"ManagedElement","ManagedElement":"D"})",
            options);
        EXPECT_EQ(result.problemCount, 1u);
        EXPECT_EQ(exported(), before);
    }
}

TEST_F(InventoryImport, CsvColumnsMayComeInAnyOrder) {
    csv("ManagedElement.csv",
        "productName,location,ManagedElement,emsInSyncState,supportedRates,additionalInfo\r\n"
        "P,\"Quay, 1\",A,false,LR_E1_2M 15,\"{\"\"Manufacturer\"\":\"\"M\"\"}\"\r\n"
        "\r\n"
        "P,,B,,,\r\n");
    csv("TerminationPoint.csv",
        "ManagedElement,PTP,CTP,transmissionParams,direction\n"
        "A,p1,,\"{\"\"22\"\":{\"\"Trace\"\":\"\"x\"\"}}\",D_SOURCE\n"
        "A,p1,/sts3c_au4-j=1,15,\n");
    const ImportResult result = takeFolder();
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.added, 4u);
    const ManagedElement element = open().find(ManagedElementName{"A"}).value();
    EXPECT_EQ(element.location, "Quay, 1");
    EXPECT_FALSE(element.emsInSyncState);
    EXPECT_EQ(element.supportedRates, (LayerRates{5, 15}));
    EXPECT_EQ(element.additionalInfo, (NameValues{{"Manufacturer", "M"}}));
    EXPECT_TRUE(open().find(ManagedElementName{"B"})->emsInSyncState);
    const TerminationPoint port = open().find(TpName{"A", TpKind::Ptp, "p1", ""}).value();
    EXPECT_EQ(port.transmissionParams, (LayeredParameterList{{22, {{"Trace", "x"}}}}));
    EXPECT_EQ(port.direction, Directionality::Source);
}

TEST_F(InventoryImport, OneCsvFileMayComeAlone) {
    const auto file =
        folder.write("ManagedElement.csv", "\xEF\xBB\xBFManagedElement,productName\nA,P\n");
    EXPECT_EQ(importInventory(database, file, {}).added, 1u);
    EXPECT_THAT([&] { importInventory(database, folder.write("elements.csv", "a\n"), {}); },
                testing::ThrowsMessage<InventoryFailure>(
                    HasSubstr("elements.csv is not named as ManagedElement.csv")));
}

TEST_F(InventoryImport, AMissingSourceIsAnError) {
    EXPECT_THAT([&] { importInventory(database, folder / "none.jsonl", {}); },
                testing::ThrowsMessage<InventoryFailure>(HasSubstr("none.jsonl does not exist")));
    std::filesystem::create_directory(folder / "csv");
    EXPECT_THAT([&] { takeFolder(); }, testing::ThrowsMessage<InventoryFailure>(
                                           HasSubstr("has no file such as ManagedElement.csv")));
}

TEST_F(InventoryImport, ProgressEndsWithTheWhole) {
    ImportOptions options;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
    options.progress = [&](std::uint64_t done, std::uint64_t total) {
        told.emplace_back(done, total);
    };
    takeRight(kSmallNetwork, options);
    const std::uint64_t bytes = std::string(kSmallNetwork).size();
    ASSERT_THAT(told, testing::Not(IsEmpty()));
    EXPECT_EQ(told.back(), std::pair(bytes, bytes));
}

TEST_F(InventoryImport, WaitsForAnotherWriterForALimitedTime) {
    takeRight(kSmallNetwork);
    SQLite::Database other(database.string(), SQLite::OPEN_READWRITE);
    SQLite::Transaction writing(other, SQLite::TransactionBehavior::IMMEDIATE);
    EXPECT_THAT(
        [&] { take(kSmallNetwork); },
        testing::ThrowsMessage<InventoryFailure>(HasSubstr("is being written by another process")));
}

}  // namespace
}  // namespace kelp::test
