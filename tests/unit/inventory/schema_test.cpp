#include "schema.h"

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
    EXPECT_EQ(plain().execAndGet("PRAGMA user_version").getInt(), 1);
    SQLite::Database writer = plain();
    writer.exec("PRAGMA foreign_keys = ON");
    EXPECT_THROW(writer.exec("DELETE FROM managed_element"), SQLite::Exception);
    EXPECT_THROW(writer.exec("UPDATE topological_link SET a_end_id = 999"), SQLite::Exception);
}

TEST_F(InventorySchema, ALaterVersionIsRefused) {
    Inventory{database};
    change("PRAGMA user_version = 2");
    EXPECT_THAT([&] { Inventory{database}; },
                ThrowsMessage<InventoryFailure>(
                    HasSubstr("inventory.db has schema version 2; this program knows version 1")));
}

TEST_F(InventorySchema, AnotherProgramsFileIsRefusedAndStaysAsItIs) {
    change("CREATE TABLE theirs (a); PRAGMA user_version = 1");
    const std::string before = content();
    EXPECT_THAT([&] { Inventory{database}; },
                ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db is no inventory")));
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
    steps.push_back(
        [](SQLite::Database& db) { db.exec("ALTER TABLE managed_element ADD COLUMN colour TEXT"); });
    SQLite::Database db = plain();
    prepareSchema(db, database, steps);
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 2);
    EXPECT_EQ(db.execAndGet("SELECT count(*) FROM managed_element WHERE colour IS NULL").getInt(), 2);
    prepareSchema(db, database, steps);
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 2);
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
    EXPECT_EQ(db.execAndGet("PRAGMA user_version").getInt(), 1);
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
