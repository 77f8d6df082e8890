#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/inventory/object_name.h>

namespace kelp::inventory {
namespace {

const ObjectName kNames[] = {ManagedElementName{"A"},
                             HolderName{"A", "/shelf=1"},
                             EquipmentName{"A", "/shelf=1", "1"},
                             TpName{"A", TpKind::Ptp, "p", ""},
                             TpName{"A", TpKind::Ftp, "f", ""},
                             TpName{"A", TpKind::Ptp, "p", "/sts3c_au4-j=1"},
                             LinkName{"L"},
                             SubnetworkName{"S"},
                             EmsName{}};

TEST(ObjectNames, BeginWithTheEms) {
    EXPECT_THAT(namingAttributes("Kelp/EMS", TpName{"A", TpKind::Ftp, "f", "/sts3c_au4-j=1"}),
                testing::ElementsAre(NameValue{"EMS", "Kelp/EMS"}, NameValue{"ManagedElement", "A"},
                                     NameValue{"FTP", "f"}, NameValue{"CTP", "/sts3c_au4-j=1"}));
}

TEST(ObjectNames, TheEmsHasNothingBeyondItsOwn) {
    EXPECT_THAT(namingAttributes("Kelp/EMS", EmsName{}),
                testing::ElementsAre(NameValue{"EMS", "Kelp/EMS"}));
    EXPECT_THAT(
        namingAttributes("E", SubnetworkName{"S"}),
        testing::ElementsAre(NameValue{"EMS", "E"}, NameValue{"MultiLayerSubnetwork", "S"}));
}

TEST(ObjectNames, ComeBackFromTheirNamingAttributes) {
    for (const ObjectName& name : kNames)
        EXPECT_EQ(objectNameOf("Kelp/EMS", namingAttributes("Kelp/EMS", name)), name);
}

TEST(ObjectNames, OfAnotherEmsOrFormAreRefused) {
    for (const ObjectName& name : kNames)
        EXPECT_FALSE(objectNameOf("Kelp/Other", namingAttributes("Kelp/EMS", name)));
    const NameValues wrong[] = {
        {},
        {{"EMS", ""}},
        {{"EMS", "E"}, {"EMS", "E"}},
        {{"ems", "E"}, {"ManagedElement", "A"}},
        {{"EMS", "E"}, {"ManagedElement", ""}},
        {{"EMS", "E"}, {"PTP", "p"}},
        {{"EMS", "E"}, {"ManagedElement", "A"}, {"CTP", "c"}},
        {{"EMS", "E"}, {"ManagedElement", "A"}, {"PTP", "p"}, {"CTP", ""}},
        {{"EMS", "E"}, {"ManagedElement", "A"}, {"PTP.CTP", "p"}, {"CTP", "c"}}};
    for (const NameValues& attributes : wrong)
        EXPECT_FALSE(objectNameOf("E", attributes)) << attributes.size();
}

}  // namespace
}  // namespace kelp::inventory
