#include "equipment/equipment_mgr.h"
#include "manager_fixture.h"

namespace kelp::test {
namespace {

using equipment::EquipmentOrHolder_T_var;
using equipment::EquipmentOrHolderIterator_I_var;
using equipment::EquipmentOrHolderList_T_var;
using terminationPoint::TerminationPointIterator_I_var;
using terminationPoint::TerminationPointList_T_var;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kInA = "EMS=Kelp/EMS ManagedElement=A EquipmentHolder=/rack=1";
const std::string kSlot = kInA + "/shelf=1/slot=1";

std::vector<std::string> namesOfEither(const equipment::EquipmentOrHolderList_T& list) {
    std::vector<std::string> names;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        names.push_back(
            textOf(list[i]._d() == equipment::EQT ? list[i].equip().name : list[i].holder().name));
    return names;
}

class Equipment : public ManagerTest<equipmentinventory::EquipmentInventoryMgr_I,
                                     equipment::EquipmentInventoryMgr_I> {
  protected:
    Equipment() : ManagerTest("EquipmentInventory") {}

    std::vector<std::string> allIn(const NamingAttributes_T& elementOrHolder) {
        EquipmentOrHolderIterator_I_var none;
        manager_->getAllEquipment(elementOrHolder, 100, list_.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesOfEither(list_.in());
    }
    std::vector<std::string> containedIn(const NamingAttributes_T& holder) {
        manager_->getContainedEquipment(holder, list_.out());
        return namesOfEither(list_.in());
    }
    static NamingAttributes_T holder(const char* name) {
        return nameOf({{"ManagedElement", "A"}, {"EquipmentHolder", name}});
    }

    EquipmentOrHolderList_T_var list_;
    const NamingAttributes_T kElement = nameOf({{"ManagedElement", "A"}});
    const NamingAttributes_T kBoard = nameOf({{"ManagedElement", "A"},
                                              {"EquipmentHolder", "/rack=1/shelf=1/slot=1"},
                                              {"Equipment", "1"}});
    const NamingAttributes_T kPort = nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}});
};

TEST_F(Equipment, OfAnElementAreItsHoldersAndThenItsBoards) {
    EXPECT_THAT(allIn(kElement),
                ElementsAre(kInA, kInA + "/shelf=1", kSlot, kSlot + " Equipment=1"));
    EXPECT_THAT(allIn(nameOf({{"ManagedElement", "B"}})), IsEmpty());
}

TEST_F(Equipment, OfAHolderIsWhatIsInItAtAllDepths) {
    EXPECT_THAT(allIn(holder("/rack=1")),
                ElementsAre(kInA + "/shelf=1", kSlot, kSlot + " Equipment=1"));
    EXPECT_THAT(allIn(holder("/rack=1/shelf=1/slot=1")), ElementsAre(kSlot + " Equipment=1"));
}

TEST_F(Equipment, ContainedEquipmentIsOneLevelBelow) {
    EXPECT_THAT(containedIn(holder("/rack=1")), ElementsAre(kInA + "/shelf=1"));
    EXPECT_THAT(containedIn(holder("/rack=1/shelf=1/slot=1")), ElementsAre(kSlot + " Equipment=1"));
}

TEST_F(Equipment, RestComesThroughTheIteratorFromHoldersToBoards) {
    EquipmentOrHolderIterator_I_var iterator;
    manager_->getAllEquipment(kElement, 1, list_.out(), iterator.out());
    std::vector<std::string> names = namesOfEither(list_.in());
    const auto rest = agent_->overTheWire<equipment::EquipmentOrHolderIterator_I>(iterator.in());
    EXPECT_EQ(rest->getLength(), 3u);
    bool isMore = true;
    while (isMore) {
        isMore = rest->next_n(2, list_.out());
        for (const std::string& name : namesOfEither(list_.in()))
            names.push_back(name);
    }
    EXPECT_THAT(names, ElementsAre(kInA, kInA + "/shelf=1", kSlot, kSlot + " Equipment=1"));
}

TEST_F(Equipment, NamesMatchTheObjects) {
    NamingAttributesList_T_var names;
    NamingAttributesIterator_I_var none;
    manager_->getAllEquipmentNames(kElement, 100, names.out(), none.out());
    EXPECT_EQ(namesIn(names.in()), allIn(kElement));
}

TEST_F(Equipment, HolderHasTheAttributesOfTheInventory) {
    EquipmentOrHolder_T_var either;
    manager_->getEquipment(holder("/rack=1/shelf=1/slot=1"), either.out());
    ASSERT_EQ(either->_d(), equipment::EQT_HOLDER);
    const equipment::EquipmentHolder_T& slot = either->holder();
    EXPECT_STREQ(slot.holderType, "slot");
    EXPECT_EQ(slot.holderState, equipment::INSTALLED_AND_EXPECTED);
    EXPECT_EQ(textOf(slot.expectedOrInstalledEquipment), kSlot + " Equipment=1");
    ASSERT_EQ(slot.acceptableEquipmentTypeList.length(), 2u);
    EXPECT_STREQ(slot.acceptableEquipmentTypeList[1], "LN4");
}

TEST_F(Equipment, BoardHasTheAttributesOfTheInventory) {
    EquipmentOrHolder_T_var either;
    manager_->getEquipment(kBoard, either.out());
    ASSERT_EQ(either->_d(), equipment::EQT);
    EXPECT_EQ(textOf(either->equip().name), kSlot + " Equipment=1");
    EXPECT_EQ(either->equip().serviceState, equipment::OUT_OF_SERVICE);
    EXPECT_STREQ(either->equip().installedSerialNumber, "7");
}

TEST_F(Equipment, PortsAreThoseOnTheBoard) {
    TerminationPointList_T_var ports;
    TerminationPointIterator_I_var none;
    manager_->getAllSupportedPTPs(kBoard, 10, ports.out(), none.out());
    EXPECT_THAT(namesOf(ports.in()), ElementsAre("EMS=Kelp/EMS ManagedElement=A PTP=p1"));
    NamingAttributesList_T_var names;
    NamingAttributesIterator_I_var noNames;
    manager_->getAllSupportedPTPNames(kBoard, 10, names.out(), noNames.out());
    EXPECT_EQ(namesIn(names.in()), namesOf(ports.in()));
}

TEST_F(Equipment, BoardOfAPortIsReturnedWhenItIsKnown) {
    manager_->getAllSupportingEquipment(kPort, list_.out());
    EXPECT_THAT(namesOfEither(list_.in()), ElementsAre(kSlot + " Equipment=1"));
    NamingAttributesList_T_var names;
    manager_->getAllSupportingEquipmentNames(kPort, names.out());
    EXPECT_EQ(namesIn(names.in()), namesOfEither(list_.in()));
    manager_->getAllSupportingEquipment(nameOf({{"ManagedElement", "A"}, {"PTP", "p2"}}),
                                        list_.out());
    EXPECT_EQ(list_->length(), 0u);
}

TEST_F(Equipment, NamesMustBeOfTheRightKindAndExist) {
    EquipmentOrHolder_T_var either;
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "PTP=p1",
                  [&] { manager_->getEquipment(kPort, either.out()); });
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "EquipmentHolder=/rack=2",
                  [&] { manager_->getEquipment(holder("/rack=2"), either.out()); });
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "EquipmentHolder=/rack=2",
                  [&] { allIn(holder("/rack=2")); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "Equipment=1", [&] { allIn(kBoard); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A",
                  [&] { containedIn(kElement); });
    TerminationPointList_T_var ports;
    TerminationPointIterator_I_var none;
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "EquipmentHolder=/rack=1", [&] {
        manager_->getAllSupportedPTPs(holder("/rack=1"), 10, ports.out(), none.out());
    });
    const NamingAttributes_T ctp =
        nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}, {"CTP", "/sts3c_au4-j=1"}});
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT,
                  "CTP=", [&] { manager_->getAllSupportingEquipment(ctp, list_.out()); });
}

TEST_F(Equipment, LabelsOfHoldersAndBoardsAreSet) {
    manager_->setUserLabel(holder("/rack=1"), "left rack", true);
    manager_->setOwner(kBoard, "spares");
    EquipmentOrHolder_T_var either;
    manager_->getEquipment(holder("/rack=1"), either.out());
    EXPECT_STREQ(either->holder().userLabel, "left rack");
    manager_->getEquipment(kBoard, either.out());
    EXPECT_STREQ(either->equip().owner, "spares");
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A",
                  [&] { manager_->setOwner(kElement, "x"); });
}

TEST_F(Equipment, UnsupportedOperationsAreListedAndNotImplemented) {
    common::CapabilityList_T_var list;
    manager_->getCapabilities(list.out());
    EXPECT_EQ(list->length(), 21u);
    expectRefusal(globaldefs::EXCPT_NOT_IMPLEMENTED, "",
                  [&] { manager_->unprovisionEquipment(kBoard); });
}

}  // namespace
}  // namespace kelp::test
