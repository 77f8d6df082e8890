#include <kelp/inventory/generate.h>

#include <set>
#include <thread>

#include "database/connection.h"
#include "feed_fixture.h"
#include "rows/outbox.h"

namespace kelp::test {
namespace {

using namespace inventory;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Operation = ObjectChange::Operation;

class InventoryFeed : public FeedTest {
  protected:
    /// A feed of the small network that has nothing to report.
    void followSmallNetwork() {
        takeRight(kSmallNetwork);
        EXPECT_THAT(lines(), IsEmpty());
    }
    std::int64_t entries() {
        SQLite::Database database_(database.string(), SQLite::OPEN_READWRITE);
        return database_.execAndGet("SELECT count(*) FROM change_outbox").getInt64();
    }
};

TEST_F(InventoryFeed, NothingIsRecordedBeforeAFeedIsOpened) {
    takeRight(kSmallNetwork);
    EXPECT_EQ(entries(), 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(InventoryFeed, AnImportReportsContainersBeforeWhatTheyContainAndNoCtps) {
    EXPECT_THAT(lines(), IsEmpty());
    takeRight(kSmallNetwork);
    EXPECT_THAT(
        lines(),
        ElementsAre("created ManagedElement=A", "created ManagedElement=B",
                    "created ManagedElement=A EquipmentHolder=/rack=1",
                    "created ManagedElement=A EquipmentHolder=/rack=1/shelf=1",
                    "created ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1",
                    "created ManagedElement=A EquipmentHolder=/rack=10",
                    "created ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1 Equipment=1",
                    "created ManagedElement=A PTP=p1", "created ManagedElement=A PTP=p2",
                    "created ManagedElement=A FTP=f1", "created ManagedElement=B PTP=p1",
                    "created TopologicalLink=A-B"));
}

TEST_F(InventoryFeed, AFirstImportNeedsOneEntryForEachKindOfObject) {
    feed();
    NetworkPlan plan;
    plan.elements = 30;
    plan.ports = 2000;
    generateNetwork(database, plan);
    EXPECT_LE(entries(), 6);
    const Statistics counts = open().statistics();
    EXPECT_EQ(drained(500).size(), counts.subnetworks + counts.elements + counts.holders +
                                       counts.equipment + counts.ptps + counts.ftps + counts.links);
    EXPECT_EQ(entries(), 0);
}

TEST_F(InventoryFeed, TheSameFileTwiceReportsNothingTheSecondTime) {
    followSmallNetwork();
    takeRight(kSmallNetwork);
    EXPECT_EQ(entries(), 0);
    replaceWith(kSmallNetwork);
    EXPECT_EQ(entries(), 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(InventoryFeed, LabelsNamesAndOwnersThatAreSetAreReported) {
    followSmallNetwork();
    const std::int64_t id = elementId("A");
    open().setUserLabel(ObjectKind::ManagedElement, id, "Harbour", true);
    open().setOwner(ObjectKind::Ems, EmsAttributes().id, "North");
    open().setNativeEmsName(ObjectKind::TerminationPoint,
                            open().find(TpName{"A", TpKind::Ptp, "p1", "/sts3c_au4-j=1"})->id,
                            "ctp");
    const std::vector<ObjectChange> changes = drained();
    ASSERT_THAT(changes, SizeIs(3));
    EXPECT_EQ(changeLine(changes[0]), "changed ManagedElement=A: userLabel");
    EXPECT_EQ(std::get<ManagedElement>(changes[0].row).userLabel, "Harbour");
    EXPECT_EQ(changeLine(changes[1]), "changed: owner");
    EXPECT_EQ(std::get<EmsAttributes>(changes[1].row).owner, "North");
    EXPECT_EQ(changeLine(changes[2]),
              "changed ManagedElement=A PTP=p1 CTP=/sts3c_au4-j=1: nativeEMSName");
    open().setUserLabel(ObjectKind::ManagedElement, id, "Harbour", false);
    EXPECT_THAT(lines(), IsEmpty()) << "it has that label already";
}

TEST_F(InventoryFeed, ChangesOfOneObjectCollapse) {
    followSmallNetwork();
    const std::int64_t id = elementId("A");
    for (int i = 0; i < 50; ++i)
        open().setUserLabel(ObjectKind::ManagedElement, id, std::to_string(i), false);
    open().setOwner(ObjectKind::ManagedElement, elementId("B"), "x");
    open().setOwner(ObjectKind::ManagedElement, id, "y");
    EXPECT_EQ(entries(), 2);
    const std::vector<ObjectChange> changes = drained();
    ASSERT_THAT(changes, SizeIs(2));
    EXPECT_EQ(changeLine(changes[0]), "changed ManagedElement=B: owner");
    EXPECT_EQ(changeLine(changes[1]), "changed ManagedElement=A: userLabel, owner");
    EXPECT_EQ(std::get<ManagedElement>(changes[1].row).userLabel, "49");
}

TEST_F(InventoryFeed, AChangeDuringTheHandOverIsReportedUnderAnotherKey) {
    followSmallNetwork();
    const std::int64_t id = elementId("A");
    open().setUserLabel(ObjectKind::ManagedElement, id, "one", false);
    const ObjectChange first = feed().next(10).at(0);
    open().setUserLabel(ObjectKind::ManagedElement, id, "two", false);
    feed().handedOver(first);
    const ObjectChange second = feed().next(10).at(0);
    EXPECT_EQ(std::get<ManagedElement>(second.row).userLabel, "two");
    EXPECT_NE(second.key, first.key);
}

TEST_F(InventoryFeed, WhatWasNotHandedOverIsReadAgainWithTheSameKey) {
    feed();
    takeRight(kSmallNetwork);
    std::vector<std::string> keys;
    for (const ObjectChange& change : feed().next(5))
        keys.push_back(change.key);
    ChangeFeed again(database);
    const std::vector<ObjectChange> changes = again.next(5);
    ASSERT_THAT(changes, SizeIs(5));
    for (std::size_t i = 0; i < keys.size(); ++i)
        EXPECT_EQ(changes[i].key, keys[i]);
    again.handedOver(changes[2]);
    EXPECT_EQ(ChangeFeed(database).next(1).at(0).key, keys[3]);
}

TEST_F(InventoryFeed, KeysDifferBetweenAllChangesAndFiles) {
    std::set<std::string> keys;
    std::size_t changes = 0;
    for (int round = 0; round < 2; ++round) {
        const std::filesystem::path file = folder / ("other" + std::to_string(round) + ".db");
        ChangeFeed other(file);
        importInventory(file, folder.write("network.jsonl", kSmallNetwork), {});
        for (const ObjectChange& change : other.next(100)) {
            keys.insert(change.key);
            ++changes;
        }
    }
    EXPECT_EQ(changes, 24u);
    EXPECT_EQ(keys.size(), changes);
}

TEST_F(InventoryFeed, AnUpdateReportsWhatItChanges) {
    followSmallNetwork();
    takeRight(
        R"({"object":"ManagedElement","ManagedElement":"A","version":"2","emsInSyncState":false}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","connectableRates":[11]}
{"object":"EquipmentHolder","ManagedElement":"B","EquipmentHolder":"/rack=1"}
{"object":"TopologicalLink","TopologicalLink":"A-B","aEndManagedElement":"A","aEndPTP":"p2","zEndManagedElement":"B","zEndPTP":"p1"})");
    EXPECT_THAT(lines(), ElementsAre("created ManagedElement=B EquipmentHolder=/rack=1",
                                     "changed ManagedElement=A: version, emsInSyncState",
                                     "changed TopologicalLink=A-B: aEndTP"));
}

TEST_F(InventoryFeed, ValuesOfListsAreReportedAlone) {
    followSmallNetwork();
    const auto take = [this](const std::string& values) {
        takeRight(R"({"object":"ManagedElement","ManagedElement":"A","additionalInfo":)" + values +
                  "}");
    };
    take(R"({"a":"1","b":"2","c":"3"})");
    drained();
    take(R"({"a":"1","b":"x","d":"4"})");
    take(R"({"a":"1","b":"x"})");
    const std::vector<ObjectChange> changes = drained();
    ASSERT_THAT(changes, SizeIs(1));
    NetworkCopy::Json info = NetworkCopy::Json::parse(encodeChange(changes[0]))["attributes"];
    EXPECT_EQ(info.dump(), R"({"additionalInfo":{"b":"x","c":"-","d":"-"}})");
}

TEST_F(InventoryFeed, LayersAreReportedWithTheirChangedParametersOnly) {
    followSmallNetwork();
    takeRight(
        R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":{"LR_PHYSICAL_OPTICAL":{"Power":"3"},"22":{}}})");
    const std::vector<ObjectChange> changes = drained();
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_THAT(changes[0].attributes, ElementsAre("transmissionParams"));
    EXPECT_EQ(std::get<TerminationPoint>(changes[0].row).transmissionParams,
              (LayeredParameterList{{47, {{"Power", "3"}}}, {22, {{"Trace", "-"}}}}));
}

TEST_F(InventoryFeed, ALayerThatWasAwayComesBackWithoutItsOldParameters) {
    followSmallNetwork();
    const auto take = [this](const std::string& layers) {
        takeRight(
            R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":)" +
            layers + "}");
    };
    take("[47]");
    take("[47,22]");
    const std::vector<ObjectChange> changes = drained();
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_EQ(std::get<TerminationPoint>(changes[0].row).transmissionParams,
              (LayeredParameterList{{47, {}}, {22, {{"Trace", "-"}}}}));
}

TEST_F(InventoryFeed, AReplacingImportKeepsIdsAndReportsTheDifferences) {
    followSmallNetwork();
    const std::int64_t id = elementId("B");
    replaceWith(
        R"({"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","transmissionParams":[47]}
{"object":"TerminationPoint","ManagedElement":"B","PTP":"p2","transmissionParams":[47]}
{"object":"ManagedElement","ManagedElement":"B","productName":"P2","owner":"x"})");
    EXPECT_EQ(elementId("B"), id);
    EXPECT_THAT(
        lines(),
        ElementsAre("created ManagedElement=B PTP=p2", "changed ManagedElement=B: owner",
                    "deleted TopologicalLink=A-B", "deleted ManagedElement=A PTP=p1",
                    "deleted ManagedElement=A PTP=p2", "deleted ManagedElement=A FTP=f1",
                    "deleted ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1 Equipment=1",
                    "deleted ManagedElement=A EquipmentHolder=/rack=1",
                    "deleted ManagedElement=A EquipmentHolder=/rack=1/shelf=1",
                    "deleted ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1",
                    "deleted ManagedElement=A EquipmentHolder=/rack=10",
                    "deleted ManagedElement=A"));
    replaceWith(R"({"object":"ManagedElement","ManagedElement":"B","productName":"P2"})");
    EXPECT_THAT(lines(),
                ElementsAre("changed ManagedElement=B: owner", "deleted ManagedElement=B PTP=p1",
                            "deleted ManagedElement=B PTP=p2"));
}

TEST_F(InventoryFeed, AReplacingImportMayReferOnlyToWhatItContains) {
    takeRight(kSmallNetwork);
    const std::string before = exported();
    ImportOptions options;
    options.replace = true;
    const ImportResult result = take(
        R"({"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","transmissionParams":[47]})",
        options);
    ASSERT_THAT(result.problems, SizeIs(1));
    EXPECT_THAT(result.problems[0].text(), HasSubstr("there is no managed element \"B\""));
    EXPECT_EQ(exported(), before);
}

TEST_F(InventoryFeed, AReplacingImportGivesTheSameInventoryAsAFirstOne) {
    const std::string other =
        R"({"object":"EMS","owner":"o"}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S"}
{"object":"ManagedElement","ManagedElement":"A","productName":"Other","subnetworks":["S"]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":[47]}
)";
    takeRight(other);
    const std::string expected = exported();
    replaceWith(kSmallNetwork);
    replaceWith(other);
    EXPECT_EQ(exported(), expected);
}

TEST_F(InventoryFeed, AnImportThatFailsOrIsATrialReportsNothing) {
    followSmallNetwork();
    ImportOptions trial;
    trial.dryRun = true;
    trial.replace = true;
    take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"})", trial);
    take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"}
{"object":"ManagedElement","ManagedElement":"D"})");
    EXPECT_EQ(entries(), 0);
}

TEST_F(InventoryFeed, ADeletedObjectsOtherChangesAreDropped) {
    followSmallNetwork();
    open().setOwner(ObjectKind::ManagedElement, elementId("A"), "x");
    replaceWith(R"({"object":"ManagedElement","ManagedElement":"B","productName":"P2"})");
    const std::vector<std::string> all = lines();
    EXPECT_EQ(all.back(), "deleted ManagedElement=A");
    EXPECT_THAT(all, testing::Not(testing::Contains(HasSubstr("changed"))));
}

TEST_F(InventoryFeed, AGeneratedNetworkThatReplacesAnotherReportsBoth) {
    followSmallNetwork();
    NetworkPlan plan;
    plan.elements = 2;
    plan.replace = true;
    generateNetwork(database, plan);
    const std::vector<std::string> all = lines();
    EXPECT_EQ(all.at(0), "deleted TopologicalLink=A-B");
    EXPECT_THAT(all, testing::Contains("deleted ManagedElement=A"));
    EXPECT_THAT(all, testing::Contains(HasSubstr("created ManagedElement=")));
}

TEST_F(InventoryFeed, TooManyEntriesBecomeOneThatSaysSo) {
    followSmallNetwork();
    Connection connection = openForWriting(database);
    for (const std::int64_t limit : {3, 3}) {
        SQLite::Transaction transaction(connection.database());
        Outbox outbox(connection, limit);
        for (std::int64_t id = 1; id <= 5; ++id)
            outbox.deleted(ObjectKind::ManagedElement, id, {{"ManagedElement", "x"}}, false);
        outbox.finish();
        transaction.commit();
        EXPECT_EQ(entries(), 1);
    }
    open().setOwner(ObjectKind::ManagedElement, elementId("A"), "x");
    EXPECT_THAT(lines(), ElementsAre("lost", "changed ManagedElement=A: owner"));
}

TEST_F(InventoryFeed, NewsOfThisAndOfOtherConnectionsEndTheWait) {
    followSmallNetwork();
    feed().waitForNews(0ms);
    std::thread setter(
        [this] { open().setOwner(ObjectKind::ManagedElement, elementId("A"), "x"); });
    feed().waitForNews(30s);
    setter.join();
    EXPECT_THAT(lines(), SizeIs(1));
    feed().waitForNews(0ms);
    std::thread importer(
        [this] { take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P"})"); });
    feed().waitForNews(30s);
    importer.join();
    EXPECT_THAT(lines(), SizeIs(1));
    std::thread stopper([this] { feed().stopWaiting(); });
    feed().waitForNews(600s);
    stopper.join();
}

TEST_F(InventoryFeed, AReplacedFileIsReported) {
    feed();
    EXPECT_TRUE(feed().isCurrent());
    std::filesystem::remove(database);
    EXPECT_FALSE(feed().isCurrent());
}

TEST_F(InventoryFeed, RecordedChangesAreReadBack) {
    feed();
    takeRight(kSmallNetwork);
    open().setUserLabel(ObjectKind::Ems, EmsAttributes().id, "the EMS", false);
    for (const ObjectChange& change : drained()) {
        ObjectChange again;
        again.operation = change.operation;
        again.name = change.name;
        decodeChange(encodeChange(change), again);
        EXPECT_EQ(encodeChange(again), encodeChange(change));
        EXPECT_EQ(again.kind, change.kind);
        EXPECT_EQ(again.isEdgePoint, change.isEdgePoint);
    }
    ObjectChange none;
    for (const char* const damaged :
         {"", "{", "[]", "{}", R"({"object":"Nothing"})", R"({"object":"TopologicalLink"})",
          R"({"object":"EMS","attributes":{"owner":7}})", R"({"object":"EMS","attributes":3})"})
        EXPECT_THROW(decodeChange(damaged, none), InventoryFailure) << damaged;
}

}  // namespace
}  // namespace kelp::test
