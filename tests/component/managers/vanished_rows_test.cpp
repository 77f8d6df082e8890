// Lists whose rows have all disappeared, as after the import of another network.

#include <gtest/gtest.h>
#include <kelp/util/stopping.h>

#include <filesystem>
#include <memory>

#include "common/row_lists.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

class VanishedRows : public testing::Test {
  protected:
    ~VanishedRows() override { util::endStop(); }

    /// Return a list of a million rows that the inventory, now empty, no longer contains.
    managers::NameList<inventory::ManagedElement> list() {
        inventory::RowIds ids;
        for (std::int64_t id = 1; id <= 1'000'000; ++id)
            ids.append(id);
        return {inventory_, ids};
    }

    TemporaryDirectory folder_;
    const std::shared_ptr<inventory::Inventory> inventory_ =
        std::make_shared<inventory::Inventory>(folder_.path() / "inventory.db");
    globaldefs::NamingAttributesList_T names_;
};

TEST_F(VanishedRows, AreSkipped) {
    auto names = list();
    names.read(100'000, names_);
    EXPECT_EQ(names.left(), 0u);
    EXPECT_EQ(names_.length(), 0u);
}

TEST_F(VanishedRows, AreNotReadToTheirEndByAProcessThatStops) {
    auto names = list();
    util::beginStop();
    ASSERT_TRUE(waitUntil([] { return util::isStopGraceOver(); }));
    EXPECT_THROW(names.read(64, names_), CORBA::TRANSIENT);
    EXPECT_EQ(names.left(), 1'000'000u);
}

TEST_F(VanishedRows, ComeFirstAgainWhenTheListGoesBack) {
    auto names = list();
    EXPECT_TRUE(names.keepWayBack(true));
    names.read(100'000, names_);
    names.goBack();
    EXPECT_EQ(names.left(), 1'000'000u);
}

}  // namespace
}  // namespace kelp::test
