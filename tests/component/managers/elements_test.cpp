#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Elements : public ManagedElementTest {
  protected:
    managedElement::ManagedElementList_T_var list_;
    managedElement::ManagedElementIterator_I_var iterator_;
    NamingAttributesList_T_var names_;
    NamingAttributesIterator_I_var nameIterator_;
};

TEST_F(Elements, AreReturnedAtOnceWithoutAnIteratorWhenAllFit) {
    manager_->getAllManagedElements(2, list_.out(), iterator_.out());
    EXPECT_THAT(namesOf(list_.in()),
                ElementsAre("EMS=Kelp/EMS ManagedElement=A", "EMS=Kelp/EMS ManagedElement=B"));
    EXPECT_TRUE(CORBA::is_nil(iterator_.in()));
    EXPECT_EQ(openIterators(), 0u);
}

TEST_F(Elements, RestComesThroughTheIterator) {
    manager_->getAllManagedElements(1, list_.out(), iterator_.out());
    EXPECT_THAT(namesOf(list_.in()), ElementsAre("EMS=Kelp/EMS ManagedElement=A"));
    ASSERT_FALSE(CORBA::is_nil(iterator_.in()));
    const auto iterator =
        agent_->overTheWire<managedElement::ManagedElementIterator_I>(iterator_.in());
    EXPECT_EQ(iterator->getLength(), 1u);
    EXPECT_FALSE(iterator->next_n(5, list_.out()));
    EXPECT_THAT(namesOf(list_.in()), ElementsAre("EMS=Kelp/EMS ManagedElement=B"));
    EXPECT_TRUE(waitUntil([] { return openIterators() == 0; }));
}

TEST_F(Elements, HaveTheAttributesOfTheInventory) {
    managedElement::ManagedElement_T_var element;
    manager_->getManagedElement(nameOf({{"ManagedElement", "A"}}), element.out());
    EXPECT_EQ(textOf(element->name), "EMS=Kelp/EMS ManagedElement=A");
    EXPECT_STREQ(element->userLabel, "first");
    EXPECT_STREQ(element->nativeEMSName, "A");
    EXPECT_STREQ(element->owner, "us");
    EXPECT_STREQ(element->location, "Here");
    EXPECT_STREQ(element->version, "R1");
    EXPECT_STREQ(element->productName, "P1");
    EXPECT_EQ(element->communicationState, managedElement::CS_UNAVAILABLE);
    EXPECT_FALSE(element->emsInSyncState);
    ASSERT_EQ(element->supportedRates.length(), 2u);
    EXPECT_EQ(element->supportedRates[0], 15);
    EXPECT_EQ(element->supportedRates[1], 11);
    ASSERT_EQ(element->additionalInfo.length(), 1u);
    EXPECT_STREQ(element->additionalInfo[0].name, "Manufacturer");
    EXPECT_STREQ(element->additionalInfo[0].value, "Acme");
}

TEST_F(Elements, NamesAreReturnedWithoutTheRest) {
    manager_->getAllManagedElementNames(10, names_.out(), nameIterator_.out());
    EXPECT_THAT(namesIn(names_.in()),
                ElementsAre("EMS=Kelp/EMS ManagedElement=A", "EMS=Kelp/EMS ManagedElement=B"));
    EXPECT_TRUE(CORBA::is_nil(nameIterator_.in()));
}

TEST_F(Elements, ListIsASnapshotOfTheExistingElements) {
    manager_->getAllManagedElementNames(0, names_.out(), nameIterator_.out());
    EXPECT_EQ(names_->length(), 0u);
    take(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P1"})");
    const auto iterator =
        agent_->overTheWire<globaldefs::NamingAttributesIterator_I>(nameIterator_.in());
    EXPECT_FALSE(iterator->next_n(10, names_.out()));
    EXPECT_EQ(names_->length(), 2u);
    manager_->getAllManagedElementNames(10, names_.out(), nameIterator_.out());
    EXPECT_EQ(names_->length(), 3u) << "the next list has it";
}

TEST_F(Elements, UnknownElementIsNotFound) {
    managedElement::ManagedElement_T_var element;
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "EMS=Kelp/EMS, ManagedElement=C", [&] {
        manager_->getManagedElement(nameOf({{"ManagedElement", "C"}}), element.out());
    });
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=a", [&] {
        manager_->getManagedElement(nameOf({{"ManagedElement", "a"}}), element.out());
    });
}

TEST_F(Elements, ReasonRepeatsNeitherInvalidNorOverlongText) {
    managedElement::ManagedElement_T_var element;
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=two\\nlines", [&] {
        manager_->getManagedElement(nameOf({{"ManagedElement", "two\nlines"}}), element.out());
    });
    const std::string endless(50000, 'x');
    try {
        manager_->getManagedElement(nameOf({{"ManagedElement", endless.c_str()}}), element.out());
        ADD_FAILURE() << "it was found";
    } catch (const globaldefs::ProcessingFailureException& refusal) {
        EXPECT_LT(std::string(refusal.errorReason.in()).size(), 2000u);
    }
}

TEST_F(Elements, NamesOfOtherThingsAreInvalid) {
    NamingAttributes_T otherEms = nameOf({{"ManagedElement", "A"}});
    otherEms[0].value = CORBA::string_dup("Other/EMS");
    const NamingAttributes_T bad[] = {NamingAttributes_T(),
                                      nameOf({}),
                                      nameOf({{"PTP", "p1"}}),
                                      nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}}),
                                      nameOf({{"ManagedElement", ""}}),
                                      nameOf({{"managedElement", "A"}}),
                                      nameOf({{"TopologicalLink", "A-B"}}),
                                      otherEms};
    for (const NamingAttributes_T& name : bad) {
        managedElement::ManagedElement_T_var element;
        expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "",
                      [&] { manager_->getManagedElement(name, element.out()); });
    }
}

TEST_F(Elements, NameWithoutItsEmsBelongsToThisEms) {
    NamingAttributes_T without;
    without.length(1);
    without[0].name = CORBA::string_dup("ManagedElement");
    without[0].value = CORBA::string_dup("A");
    NamingAttributes_T empty = nameOf({{"ManagedElement", "A"}});
    empty[0].value = CORBA::string_dup("");
    for (const NamingAttributes_T& name : {without, empty}) {
        managedElement::ManagedElement_T_var element;
        manager_->getManagedElement(name, element.out());
        EXPECT_EQ(textOf(element->name), "EMS=Kelp/EMS ManagedElement=A")
            << "the answer has the whole name";
    }
    NamingAttributes_T unknown = without;
    unknown[0].value = CORBA::string_dup("Z");
    managedElement::ManagedElement_T_var none;
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=Z",
                  [&] { manager_->getManagedElement(unknown, none.out()); });

    agent_->configure(
        AgentOptions().withInventory(database()).withTables("[ems]\nlenient_names = false\n"));
    for (const NamingAttributes_T& name : {without, empty}) {
        expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A",
                      [&] { manager_->getManagedElement(name, none.out()); });
    }
}

TEST_F(Elements, UnsupportedOperationsAreListedAndNotImplemented) {
    common::CapabilityList_T_var list;
    manager_->getCapabilities(list.out());
    std::map<std::string, std::string> told;
    for (CORBA::ULong i = 0; i < list->length(); ++i)
        told[list[i].name.in()] = list[i].value.in();
    EXPECT_EQ(told.size(), 40u);
    EXPECT_EQ(told["managedElementManager::ManagedElementMgr_I::getAllPTPs"], "Supported");
    EXPECT_EQ(told["common::Common_I::setUserLabel"], "Supported");
    EXPECT_EQ(told["managedElementManager::ManagedElementMgr_I::deleteGTP"], "Unsupported");
    expectRefusal(globaldefs::EXCPT_NOT_IMPLEMENTED, "", [&] {
        manager_->deleteGTP(nameOf({{"ManagedElement", "A"}, {"GTP", "1"}}));
    });
    globaldefs::NVSList_T info;
    expectRefusal(globaldefs::EXCPT_NOT_IMPLEMENTED, "", [&] {
        manager_->setAdditionalInfo(nameOf({{"ManagedElement", "A"}}), info);
    });
}

class UnreadableInventory : public ManagedElementTest {};

TEST_F(UnreadableInventory, FailsEachRequestUntilItCanBeReadAgain) {
    const std::filesystem::path file = database();
    const std::filesystem::path away = file.string() + ".away";
    std::filesystem::rename(file, away);
    folder_.write("inventory.db", std::string(8192, 'x'));
    managedElement::ManagedElementList_T_var list;
    managedElement::ManagedElementIterator_I_var iterator;
    expectRefusal(globaldefs::EXCPT_INTERNAL_ERROR, "",
                  [&] { manager_->getAllManagedElements(10, list.out(), iterator.out()); });
    std::filesystem::rename(away, file);
    manager_->getAllManagedElements(10, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 2u);
}

}  // namespace
}  // namespace kelp::test
