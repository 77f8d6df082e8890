#include "ems/ems_mgr.h"
#include "manager_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;

/// The test agent has a manager "EMS" already, so the real one gets another name here.
class Links : public ManagerTest<ems::EmsMgr_IImpl, emsMgr::EMSMgr_I> {
  protected:
    Links() : ManagerTest("RealEMS") {}
    const NamingAttributes_T kLink = nameOf({{"TopologicalLink", "A-B"}});
};

TEST_F(Links, AreListedWithTheirEnds) {
    topologicalLink::TopologicalLinkList_T_var list;
    topologicalLink::TopologicalLinkIterator_I_var none;
    manager_->getAllTopLevelTopologicalLinks(10, list.out(), none.out());
    EXPECT_THAT(namesOf(list.in()), ElementsAre("EMS=Kelp/EMS TopologicalLink=A-B"));
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    EXPECT_EQ(textOf(list[0].aEndTP), "EMS=Kelp/EMS ManagedElement=A PTP=p1");
    EXPECT_EQ(textOf(list[0].zEndTP), "EMS=Kelp/EMS ManagedElement=B PTP=p1");
    EXPECT_EQ(list[0].rate, 22);
    EXPECT_EQ(list[0].direction, globaldefs::CD_BI);
    EXPECT_STREQ(list[0].userLabel, "the link");
}

TEST_F(Links, NamesComeThroughTheIteratorToo) {
    NamingAttributesList_T_var names;
    NamingAttributesIterator_I_var iterator;
    manager_->getAllTopLevelTopologicalLinkNames(0, names.out(), iterator.out());
    const auto rest = agent_->overTheWire<globaldefs::NamingAttributesIterator_I>(iterator.in());
    EXPECT_FALSE(rest->next_n(10, names.out()));
    EXPECT_THAT(namesIn(names.in()), ElementsAre("EMS=Kelp/EMS TopologicalLink=A-B"));
}

TEST_F(Links, LinkIsFoundByItsName) {
    topologicalLink::TopologicalLink_T_var link;
    manager_->getTopLevelTopologicalLink(kLink, link.out());
    EXPECT_EQ(textOf(link->name), "EMS=Kelp/EMS TopologicalLink=A-B");
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "TopologicalLink=B-A", [&] {
        manager_->getTopLevelTopologicalLink(nameOf({{"TopologicalLink", "B-A"}}), link.out());
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A", [&] {
        manager_->getTopLevelTopologicalLink(nameOf({{"ManagedElement", "A"}}), link.out());
    });
}

TEST_F(Links, LabelIsSetThroughTheEms) {
    manager_->setUserLabel(kLink, "renamed", true);
    topologicalLink::TopologicalLink_T_var link;
    manager_->getTopLevelTopologicalLink(kLink, link.out());
    EXPECT_STREQ(link->userLabel, "renamed");
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A", [&] {
        manager_->setOwner(nameOf({{"ManagedElement", "A"}}), "x");
    });
}

}  // namespace
}  // namespace kelp::test
