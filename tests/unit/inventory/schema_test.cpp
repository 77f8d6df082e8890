#include "database/schema.h"

#include <kelp/bundlemgr/config_store.h>
#include <sys/stat.h>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::HasSubstr;
using testing::ThrowsMessage;

class InventorySchema : public InventoryTest {
  protected:
    SQLite::Database plain() {
        return SQLite::Database(database.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    }
    void change(const std::string& sql) { plain().exec(sql); }
    std::string content() { return contentOf(database); }
};

/// A file of version 1 with two elements, a port in each and a link between them.
class InventoryOfVersion1 : public InventorySchema {
  protected:
    InventoryOfVersion1() {
        SQLite::Database db = plain();
        prepareSchema(db, database, schemaSteps().first(1));
        db.exec(R"(
INSERT INTO managed_element VALUES (1, 'A', '', 'A', '', '', '', 'P1', 0, 1, x'', x'');
INSERT INTO managed_element VALUES (2, 'B', '', 'B', '', '', '', 'P2', 0, 1, x'', x'');
INSERT INTO termination_point VALUES (1, 1, NULL, 0, 'p', NULL, '', 'p', '', '', '', 0, 0, 1, x'', 0, 0, x'', x'');
INSERT INTO termination_point VALUES (2, 2, NULL, 0, 'p', NULL, '', 'p', '', '', '', 0, 0, 1, x'', 0, 0, x'', x'');
INSERT INTO topological_link VALUES (1, 'A-B', 1, 2, '', 'A-B', '', 1, 22, x'');
)");
    }
};

TEST_F(InventorySchema, AMissingFileIsMadeForItsOwnerOnly) {
    const std::filesystem::path below = folder / "new" / "inventory.db";
    Inventory made(below);
    EXPECT_TRUE(made.elements().empty());
    struct stat status {};
    ASSERT_EQ(::stat(below.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(InventorySchema, AMissingFileMayBeAnError) {
    EXPECT_THAT([&] { Inventory(database, Inventory::Missing::IsAnError); },
                ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db does not exist")));
    EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(InventorySchema, KeepsForeignKeysAndAWriteAheadLog) {
    takeRight(kSmallNetwork);
    EXPECT_EQ(plain().execAndGet("PRAGMA journal_mode").getString(), "wal");
    EXPECT_EQ(plain().execAndGet("PRAGMA user_version").getInt(), 4);
    SQLite::Database writer = plain();
    writer.exec("PRAGMA foreign_keys = ON");
    EXPECT_THROW(writer.exec("DELETE FROM managed_element"), SQLite::Exception);
    EXPECT_THROW(writer.exec("UPDATE topological_link SET a_end_id = 999"), SQLite::Exception);
}

TEST_F(InventorySchema, ALaterVersionIsRefused) {
    Inventory{database};
    change("PRAGMA user_version = 5");
    EXPECT_THAT([&] { Inventory{database}; },
                ThrowsMessage<InventoryFailure>(
                    HasSubstr("inventory.db has schema version 5; this program knows version 4")));
}

TEST_F(InventorySchema, AnotherProgramsFileIsRefusedAndStaysAsItIs) {
    change("CREATE TABLE theirs (a); PRAGMA user_version = 1");
    const std::string before = content();
    EXPECT_THAT([&] { Inventory{database}; },
                ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db is not an inventory")));
    EXPECT_EQ(content(), before);
}

TEST_F(InventorySchema, AFileThatIsNoDatabaseIsDamaged) {
    folder.write("inventory.db", std::string(10000, 'g'));
    EXPECT_THAT([&] { Inventory{database}; },
                ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db is damaged")));
}

TEST_F(InventorySchema, AnEarlierVersionIsBroughtUpToDateByItsSteps) {
    takeRight(kSmallNetwork);
    std::vector<SchemaStep> steps(schemaSteps().begin(), schemaSteps().end());
    steps.push_back([](SQLite::Database& db) {
        db.exec("ALTER TABLE managed_element ADD COLUMN colour TEXT");
    });
    SQLite::Database db = plain();
    prepareSchema(db, database, steps);
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 5);
    EXPECT_EQ(db.execAndGet("SELECT count(*) FROM managed_element WHERE colour IS NULL").getInt(),
              2);
    prepareSchema(db, database, steps);
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 5);
}

TEST_F(InventoryOfVersion1, IsBroughtUpToDateWhenItIsOpened) {
    EXPECT_THAT(namesOf<ManagedElement>(open().elements()), testing::ElementsAre("A", "B"));
    EXPECT_EQ(plain().execAndGet("PRAGMA user_version").getInt(), 4);
    EXPECT_TRUE(open().subnetworks().empty());
    EXPECT_EQ(open().ems().userLabel, "");
    EXPECT_EQ(open().linksOf(elementId("A")).count(), 1u);
    EXPECT_EQ(open().linksOf(elementId("B")).count(), 1u);
    EXPECT_EQ(open().topLevelLinks().count(), 1u);
    EXPECT_EQ(open().find(ManagedElementName{"B"})->productName, "P2");
    takeRight(R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S"}
{"object":"ManagedElement","ManagedElement":"A","subnetworks":["S"]}
{"object":"ManagedElement","ManagedElement":"B","subnetworks":["S"]})");
    EXPECT_EQ(open().linksInside(1).count(), 1u);
    EXPECT_TRUE(open().topLevelLinks().empty());
}

TEST_F(InventoryOfVersion1, IsLeftAtItsVersionByADryRun) {
    const std::string before = content();
    for (const bool isReplacing : {false, true}) {
        ImportOptions options;
        options.dryRun = true;
        options.replace = isReplacing;
        const ImportResult result = take(
            R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S"}
{"object":"ManagedElement","ManagedElement":"A","productName":"P1","subnetworks":["S"]})",
            options);
        EXPECT_THAT(result.problems, testing::IsEmpty());
        EXPECT_EQ(result.added, 1u);
        EXPECT_EQ(result.updated, 1u);
        EXPECT_EQ(plain().execAndGet("PRAGMA user_version").getInt(), 1);
        EXPECT_EQ(plain()
                      .execAndGet("SELECT count(*) FROM sqlite_schema WHERE name = 'subnetwork'")
                      .getInt(),
                  0);
    }
    EXPECT_EQ(content(), before);
}

TEST_F(InventorySchema, ADryRunLeavesAnEmptyFileEmpty) {
    folder.write("inventory.db", "");
    ImportOptions options;
    options.dryRun = true;
    EXPECT_EQ(take(kSmallNetwork, options).added, 16u);
    EXPECT_EQ(content(), "");
}

TEST_F(InventorySchema, ADryRunRefusesAnotherProgramsFile) {
    change("CREATE TABLE theirs (a)");
    const std::string before = content();
    ImportOptions options;
    options.dryRun = true;
    EXPECT_THAT([&] { take(kSmallNetwork, options); },
                ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db is not an inventory")));
    EXPECT_EQ(content(), before);
}

TEST_F(InventorySchema, AStepThatFailsChangesNothing) {
    takeRight(kSmallNetwork);
    std::vector<SchemaStep> steps(schemaSteps().begin(), schemaSteps().end());
    steps.push_back([](SQLite::Database& db) {
        db.exec("DROP TABLE topological_link");
        db.exec("no statement");
    });
    SQLite::Database db = plain();
    EXPECT_THROW(prepareSchema(db, database, steps), SQLite::Exception);
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 4);
    EXPECT_EQ(open().links().count(), 1u);
}

TEST_F(InventorySchema, TheDatabaseIsWhereTheConfigurationSays) {
    const ScopedEnvironment state("STATE_DIRECTORY", folder.path().c_str());
    EXPECT_EQ(configuredInventory(), folder / "inventory.db");
    ASSERT_TRUE(NS_BUNDLEMGR1::ConfigStore::instance()
                    .loadText("[inventory]\ndatabase = \"/data/network.db\"\n", "kelp.toml")
                    .empty());
    EXPECT_EQ(configuredInventory(), "/data/network.db");
}

}  // namespace
}  // namespace kelp::test
