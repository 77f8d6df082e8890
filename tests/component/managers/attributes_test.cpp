#include "common/attributes.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using testing::HasSubstr;

class Attributes : public ManagedElementTest {
  protected:
    managedElement::ManagedElement_T_var element() {
        managedElement::ManagedElement_T_var element;
        manager_->getManagedElement(kElement, element.out());
        return element;
    }
    const NamingAttributes_T kElement = nameOf({{"ManagedElement", "A"}});
    const NamingAttributes_T kPort = nameOf({{"ManagedElement", "A"}, {"PTP", "p2"}});
};

TEST_F(Attributes, AreSetAndReadBack) {
    manager_->setUserLabel(kElement, "München", false);
    manager_->setNativeEMSName(kElement, "NE-1");
    manager_->setOwner(kElement, "");
    EXPECT_STREQ(element()->userLabel, "München");
    EXPECT_STREQ(element()->nativeEMSName, "NE-1");
    EXPECT_STREQ(element()->owner, "");
    manager_->setUserLabel(kPort, "port", true);
    terminationPoint::TerminationPoint_T_var port;
    manager_->getTP(kPort, port.out());
    EXPECT_STREQ(port->userLabel, "port");
}

TEST_F(Attributes, LabelOfAnotherElementIsRefusedWhenItMustBeUnique) {
    expectRefusal(globaldefs::EXCPT_USERLABEL_IN_USE, "second",
                  [&] { manager_->setUserLabel(kElement, "second", true); });
    EXPECT_STREQ(element()->userLabel, "first");
    manager_->setUserLabel(kElement, "first", true);
    manager_->setUserLabel(kElement, "second", false);
    EXPECT_STREQ(element()->userLabel, "second");
}

TEST_F(Attributes, InvalidTextsAreRefused) {
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "nativeEMSName",
                  [&] { manager_->setNativeEMSName(kElement, ""); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "userLabel",
                  [&] { manager_->setUserLabel(kElement, "two\nlines", false); });
    // called directly, because over a connection the ORB itself refuses the text
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "userLabel", [&] {
        managers::setUserLabel({inventory::ObjectKind::ManagedElement}, kElement, "\xff\xfe",
                               false);
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "owner",
                  [&] { manager_->setOwner(kElement, std::string(1025, 'x').c_str()); });
    manager_->setOwner(kElement, std::string(1024, 'x').c_str());
}

TEST_F(Attributes, ObjectMustBelongToTheManagerAndExist) {
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=Z", [&] {
        manager_->setOwner(nameOf({{"ManagedElement", "Z"}}), "x");
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "TopologicalLink=A-B", [&] {
        manager_->setOwner(nameOf({{"TopologicalLink", "A-B"}}), "x");
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "EMS=Kelp/EMS",
                  [&] { manager_->setNativeEMSName(nameOf({}), "x"); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "",
                  [&] { manager_->setUserLabel(NamingAttributes_T(), "x", false); });
}

TEST_F(Attributes, ChangeWaitsForAnImportForALimitedTime) {
    SQLite::Database other(database(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN IMMEDIATE");
    expectRefusal(globaldefs::EXCPT_UNABLE_TO_COMPLY, "",
                  [&] { manager_->setOwner(kElement, "nobody"); });
    EXPECT_STREQ(element()->owner, "us") << "readers go on";
    other.exec("ROLLBACK");
    manager_->setOwner(kElement, "somebody");
    EXPECT_STREQ(element()->owner, "somebody");
}

}  // namespace
}  // namespace kelp::test
