#include <SQLiteCpp/SQLiteCpp.h>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using namespace std::chrono_literals;

class InventoryChanges : public InventoryTest {
  protected:
    InventoryChanges() { takeRight(kSmallNetwork); }
    ManagedElement element(const std::string& name) {
        return open().find(ManagedElementName{name}).value();
    }
};

TEST_F(InventoryChanges, LabelsNamesAndOwnersAreKept) {
    const std::int64_t id = elementId("A");
    EXPECT_EQ(open().setUserLabel(ObjectKind::ManagedElement, id, "Harbour", false), Change::Made);
    EXPECT_EQ(open().setNativeEmsName(ObjectKind::ManagedElement, id, "ne-a"), Change::Made);
    EXPECT_EQ(open().setOwner(ObjectKind::ManagedElement, id, "North"), Change::Made);
    const ManagedElement changed = Inventory(database).find(ManagedElementName{"A"}).value();
    EXPECT_EQ(changed.userLabel, "Harbour");
    EXPECT_EQ(changed.nativeEMSName, "ne-a");
    EXPECT_EQ(changed.owner, "North");
    EXPECT_EQ(element("B").owner, "");
}

TEST_F(InventoryChanges, EveryKindOfObjectHasALabel) {
    const auto label = [this](ObjectKind kind, std::int64_t id) {
        EXPECT_EQ(open().setUserLabel(kind, id, "L", false), Change::Made);
    };
    const HolderName holder{"A", "/rack=1"};
    const EquipmentName board{"A", "/rack=1/shelf=1/slot=1", "1"};
    const TpName port{"A", TpKind::Ptp, "p1", ""};
    label(ObjectKind::EquipmentHolder, open().find(holder)->id);
    label(ObjectKind::Equipment, open().find(board)->id);
    label(ObjectKind::TerminationPoint, open().find(port)->id);
    label(ObjectKind::TopologicalLink, open().find(LinkName{"A-B"})->id);
    EXPECT_EQ(open().find(holder)->userLabel, "L");
    EXPECT_EQ(open().find(board)->userLabel, "L");
    EXPECT_EQ(open().find(port)->userLabel, "L");
    EXPECT_EQ(open().find(LinkName{"A-B"})->userLabel, "L");
}

TEST_F(InventoryChanges, ALabelThatMustBeUniqueIsRefusedWhenAnotherOfTheKindHasIt) {
    const std::int64_t a = elementId("A");
    const std::int64_t b = elementId("B");
    ASSERT_EQ(open().setUserLabel(ObjectKind::ManagedElement, a, "same", true), Change::Made);
    EXPECT_EQ(open().setUserLabel(ObjectKind::ManagedElement, b, "same", true), Change::LabelInUse);
    EXPECT_EQ(element("B").userLabel, "B");
    EXPECT_EQ(open().setUserLabel(ObjectKind::ManagedElement, a, "same", true), Change::Made)
        << "its own";
    EXPECT_EQ(open().setUserLabel(ObjectKind::ManagedElement, b, "same", false), Change::Made);
    EXPECT_EQ(open().setUserLabel(ObjectKind::TopologicalLink, open().find(LinkName{"A-B"})->id,
                                  "same", true),
              Change::Made)
        << "another kind";
}

TEST_F(InventoryChanges, AMissingObjectIsReported) {
    EXPECT_EQ(open().setUserLabel(ObjectKind::ManagedElement, 4711, "x", true),
              Change::NoSuchObject);
    EXPECT_EQ(open().setNativeEmsName(ObjectKind::Equipment, 4711, "x"), Change::NoSuchObject);
    EXPECT_EQ(open().setOwner(ObjectKind::TerminationPoint, 4711, "x"), Change::NoSuchObject);
}

TEST_F(InventoryChanges, AChangeWaitsForAnotherWriterForALimitedTime) {
    const std::int64_t id = elementId("A");
    SQLite::Database other(database.string(), SQLite::OPEN_READWRITE);
    open().setPatience(1ms);
    {
        SQLite::Transaction writing(other, SQLite::TransactionBehavior::IMMEDIATE);
        try {
            open().setOwner(ObjectKind::ManagedElement, id, "x");
            ADD_FAILURE() << "the file is locked";
        } catch (const InventoryFailure& failure) {
            EXPECT_TRUE(failure.isLocked());
            EXPECT_THAT(failure.what(), testing::HasSubstr("is being written by another process"));
        }
        EXPECT_EQ(element("A").owner, "") << "readers need not wait";
    }
    EXPECT_EQ(open().setOwner(ObjectKind::ManagedElement, id, "x"), Change::Made);
}

}  // namespace
}  // namespace kelp::test
