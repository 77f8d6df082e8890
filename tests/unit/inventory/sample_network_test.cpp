#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;

using SampleNetwork = InventoryTest;

TEST_F(SampleNetwork, IsARingOfFour) {
    const ImportResult result = importInventory(database, SAMPLE_NETWORK, {});
    EXPECT_THAT(result.problems, testing::IsEmpty());
    EXPECT_THAT(namesOf<ManagedElement>(open().elements()),
                testing::ElementsAre("Northquay", "Eastholm", "Southport", "Westering"));
    for (const ManagedElement& element : open().read<ManagedElement>(open().elements())) {
        EXPECT_EQ(open().linksOf(element.id).count(), 2u) << element.name;
        EXPECT_EQ(open().portsOf(element.id, {{}, {}, true, false}).count(), 8u) << element.name;
        EXPECT_EQ(open().equipmentOf(element.id).count(), 3u) << element.name;
    }
    const Statistics counts = open().statistics();
    EXPECT_EQ(counts.links, 4u);
    EXPECT_EQ(counts.subnetworks, 2u);
    EXPECT_EQ(open().topLevelLinks().count(), 2u) << "from one side to the other";
    EXPECT_NE(open().ems().userLabel, "");
    EXPECT_EQ(counts.ftps, 1u);
    EXPECT_GT(counts.ctps, 0u);
}

}  // namespace
}  // namespace kelp::test
