#include <kelp/bundlemgr/config_store.h>
#include <kelp/inventory/generate.h>
#include <kelp/inventory/shared_inventory.h>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

class CurrentInventory : public InventoryTest {
  protected:
    CurrentInventory() { takeRight(kSmallNetwork); }

    void removeFile() {
        for (const char* const part : {"", "-wal", "-shm"})
            std::filesystem::remove(database.string() + part);
    }
    /// Replace the file with another inventory that has an element "New".
    void replaceFile() {
        const std::filesystem::path other = folder / "other.db";
        const auto lines =
            folder.write("other.jsonl",
                         R"({"object":"ManagedElement","ManagedElement":"New","productName":"P"})");
        ASSERT_THAT(importInventory(other, lines, {}).problems, testing::IsEmpty());
        removeFile();
        std::filesystem::rename(other, database);
    }
};

TEST_F(CurrentInventory, IsTheSameFileWhateverIsWrittenToIt) {
    EXPECT_TRUE(open().isCurrent());
    ImportOptions options;
    options.replace = true;
    takeRight(R"({"object":"ManagedElement","ManagedElement":"New","productName":"P"})", options);
    EXPECT_TRUE(open().isCurrent());
    Inventory made(folder / "made.db");
    EXPECT_TRUE(made.isCurrent());
}

TEST_F(CurrentInventory, ADeletedFileIsReported) {
    open();
    removeFile();
    EXPECT_FALSE(open().isCurrent());
    takeRight(kSmallNetwork);
    EXPECT_FALSE(open().isCurrent()) << "one that is made anew is another";
    EXPECT_TRUE(Inventory(database).isCurrent());
}

TEST_F(CurrentInventory, AReplacedFileIsReported) {
    open();
    replaceFile();
    EXPECT_FALSE(open().isCurrent());
    EXPECT_TRUE(Inventory(database).isCurrent());
}

TEST_F(CurrentInventory, RowsOfAnotherFileAreNeverTakenForItsOwn) {
    open();
    replaceFile();
    EXPECT_THAT([this] { open().elements(); },
                ThrowsMessage<InventoryFailure>(
                    HasSubstr("inventory.db is no longer the file that was opened")));
}

TEST_F(CurrentInventory, AChangeThatNobodyWouldSeeFails) {
    const std::int64_t id = elementId("A");
    replaceFile();
    EXPECT_THAT([&] { open().setOwner(ObjectKind::ManagedElement, id, "x"); },
                ThrowsMessage<InventoryFailure>(HasSubstr("is no longer the file")));
    EXPECT_THROW(open().setUserLabel(ObjectKind::ManagedElement, id, "x", true), InventoryFailure);
    EXPECT_THROW(open().setNativeEmsName(ObjectKind::ManagedElement, id, "x"), InventoryFailure);
    EXPECT_EQ(Inventory(database).find(ManagedElementName{"New"})->owner, "");
}

TEST_F(CurrentInventory, TheSharedInventoryIsReopened) {
    ASSERT_TRUE(
        NS_BUNDLEMGR1::ConfigStore::instance()
            .loadText("[inventory]\ndatabase = \"" + database.string() + "\"\n", "kelp.toml")
            .empty());
    const std::shared_ptr<Inventory> before = sharedInventory();
    EXPECT_EQ(sharedInventory(), before);
    EXPECT_TRUE(before->find(ManagedElementName{"A"}));
    replaceFile();
    EXPECT_TRUE(sharedInventory()->find(ManagedElementName{"New"}));
    EXPECT_FALSE(sharedInventory()->find(ManagedElementName{"A"}));
    EXPECT_NE(sharedInventory(), before);
}

}  // namespace
}  // namespace kelp::test
