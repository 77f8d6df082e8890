#include "ems/ems_mgr.h"
#include "managed_element_fixture.h"
#include "multilayersubnetwork/subnetwork_mgr.h"

namespace kelp::test {
namespace {

using multiLayerSubnetwork::SubnetworkIterator_I_var;
using multiLayerSubnetwork::SubnetworkList_T_var;
using testing::ElementsAre;
using testing::IsEmpty;

/// "A" is in both subnetworks, "B" in one, "C" in none. One link is inside the first subnetwork,
/// one leads out of it.
const std::string kSubnetworks =
    R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"ring","subnetworkType":"TOPO_SPRING","supportedRates":[15],"userLabel":"The ring","additionalInfo":{"NetworkAccessDomain":"x"}}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"spur","subnetworkType":"TOPO_CHAIN"}
{"object":"ManagedElement","ManagedElement":"A","productName":"P","subnetworks":["ring","spur"]}
{"object":"ManagedElement","ManagedElement":"B","productName":"P","subnetworks":["ring"]}
{"object":"ManagedElement","ManagedElement":"C","productName":"P"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":[47],"edgePoint":true}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p2","transmissionParams":[47]}
{"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","transmissionParams":[5],"connectableRates":[11],"edgePoint":true}
{"object":"TerminationPoint","ManagedElement":"C","PTP":"p1","transmissionParams":[47],"edgePoint":true}
{"object":"TopologicalLink","TopologicalLink":"inside","rate":22,"aEndManagedElement":"A","aEndPTP":"p2","zEndManagedElement":"B","zEndPTP":"p1"}
{"object":"TopologicalLink","TopologicalLink":"outside","rate":22,"aEndManagedElement":"A","aEndPTP":"p1","zEndManagedElement":"C","zEndPTP":"p1"}
)";

class Subnetworks : public ManagerTest<multilayersubnetwork::MultiLayerSubnetworkMgr_I,
                                       multiLayerSubnetwork::MultiLayerSubnetworkMgr_I> {
  protected:
    Subnetworks() : ManagerTest("MultiLayerSubnetwork", kSubnetworks) {}

    static NamingAttributes_T subnetwork(const char* name) {
        return nameOf({{"MultiLayerSubnetwork", name}});
    }

    std::vector<std::string> elementsIn(const NamingAttributes_T& name) {
        managedElement::ManagedElementList_T_var list;
        managedElement::ManagedElementIterator_I_var none;
        manager_->getAllManagedElements(name, 10, list.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesOf(list.in());
    }
    std::vector<std::string> linksIn(const NamingAttributes_T& name) {
        topologicalLink::TopologicalLinkList_T_var list;
        topologicalLink::TopologicalLinkIterator_I_var none;
        manager_->getAllTopologicalLinks(name, 10, list.out(), none.out());
        return namesOf(list.in());
    }
    std::vector<std::string> edgePointsIn(
        const NamingAttributes_T& name, const transmissionParameters::LayerRateList_T& rates = {}) {
        terminationPoint::TerminationPointList_T_var list;
        terminationPoint::TerminationPointIterator_I_var none;
        manager_->getAllEdgePoints(name, rates, {}, 10, list.out(), none.out());
        return namesOf(list.in());
    }
    NamingAttributesList_T_var names_;
    NamingAttributesIterator_I_var noNames_;
};

TEST_F(Subnetworks, HaveTheAttributesOfTheInventory) {
    multiLayerSubnetwork::MultiLayerSubnetwork_T_var ring;
    manager_->getMultiLayerSubnetwork(subnetwork("ring"), ring.out());
    EXPECT_EQ(textOf(ring->name), "EMS=Kelp/EMS MultiLayerSubnetwork=ring");
    EXPECT_STREQ(ring->userLabel, "The ring");
    EXPECT_STREQ(ring->nativeEMSName, "ring");
    EXPECT_EQ(ring->subnetworkType, multiLayerSubnetwork::TOPO_SPRING);
    ASSERT_EQ(ring->supportedRates.length(), 1u);
    EXPECT_EQ(ring->supportedRates[0], 15);
    ASSERT_EQ(ring->additionalInfo.length(), 1u);
    EXPECT_STREQ(ring->additionalInfo[0].value, "x");
}

TEST_F(Subnetworks, HaveElementsLinksAndEdgePoints) {
    EXPECT_THAT(elementsIn(subnetwork("ring")),
                ElementsAre("EMS=Kelp/EMS ManagedElement=A", "EMS=Kelp/EMS ManagedElement=B"));
    EXPECT_THAT(elementsIn(subnetwork("spur")), ElementsAre("EMS=Kelp/EMS ManagedElement=A"));
    EXPECT_THAT(linksIn(subnetwork("ring")), ElementsAre("EMS=Kelp/EMS TopologicalLink=inside"));
    EXPECT_THAT(linksIn(subnetwork("spur")), IsEmpty());
    EXPECT_THAT(edgePointsIn(subnetwork("ring")),
                ElementsAre("EMS=Kelp/EMS ManagedElement=A PTP=p1",
                            "EMS=Kelp/EMS ManagedElement=B PTP=p1"));
    transmissionParameters::LayerRateList_T electrical;
    electrical.length(1);
    electrical[0] = 5;
    EXPECT_THAT(edgePointsIn(subnetwork("ring"), electrical),
                ElementsAre("EMS=Kelp/EMS ManagedElement=B PTP=p1"));
}

TEST_F(Subnetworks, NamesMatchTheObjects) {
    const NamingAttributes_T ring = subnetwork("ring");
    manager_->getAllManagedElementNames(ring, 10, names_.out(), noNames_.out());
    EXPECT_EQ(namesIn(names_.in()), elementsIn(ring));
    manager_->getAllTopologicalLinkNames(ring, 10, names_.out(), noNames_.out());
    EXPECT_EQ(namesIn(names_.in()), linksIn(ring));
    manager_->getAllEdgePointNames(ring, {}, {}, 10, names_.out(), noNames_.out());
    EXPECT_EQ(namesIn(names_.in()), edgePointsIn(ring));
}

TEST_F(Subnetworks, LinkIsFoundByItsName) {
    topologicalLink::TopologicalLink_T_var link;
    manager_->getTopologicalLink(nameOf({{"TopologicalLink", "inside"}}), link.out());
    EXPECT_EQ(textOf(link->aEndTP), "EMS=Kelp/EMS ManagedElement=A PTP=p2");
}

TEST_F(Subnetworks, MustExist) {
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "MultiLayerSubnetwork=none",
                  [&] { elementsIn(subnetwork("none")); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A", [&] {
        linksIn(nameOf({{"ManagedElement", "A"}}));
    });
    transmissionParameters::LayerRateList_T bad;
    bad.length(1);
    bad[0] = 39;
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "tpLayerRateList: 39",
                  [&] { edgePointsIn(subnetwork("ring"), bad); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "layerRateList: 39", [&] {
        manager_->getAllEdgePointNames(subnetwork("ring"), bad, {}, 10, names_.out(),
                                       noNames_.out());
    });
}

TEST_F(Subnetworks, UnsupportedOperationsAreListedAndNotImplemented) {
    common::CapabilityList_T_var list;
    manager_->getCapabilities(list.out());
    EXPECT_EQ(list->length(), 74u);
    expectRefusal(globaldefs::EXCPT_NOT_IMPLEMENTED, "", [&] {
        manager_->deleteSNC(subnetwork("ring"), multiLayerSubnetwork::EMSFL_CC_AT_SNC_LAYER);
    });
}

class SubnetworksOfEms : public ManagerTest<ems::EmsMgr_IImpl, emsMgr::EMSMgr_I> {
  protected:
    SubnetworksOfEms() : ManagerTest("RealEMS", kSubnetworks) {}
};

TEST_F(SubnetworksOfEms, AreAllTopLevelSubnetworks) {
    SubnetworkList_T_var list;
    SubnetworkIterator_I_var none;
    manager_->getAllTopLevelSubnetworks(10, list.out(), none.out());
    EXPECT_THAT(namesOf(list.in()), ElementsAre("EMS=Kelp/EMS MultiLayerSubnetwork=ring",
                                                "EMS=Kelp/EMS MultiLayerSubnetwork=spur"));
    NamingAttributesList_T_var names;
    NamingAttributesIterator_I_var noNames;
    manager_->getAllTopLevelSubnetworkNames(10, names.out(), noNames.out());
    EXPECT_EQ(namesIn(names.in()), namesOf(list.in()));
}

TEST_F(SubnetworksOfEms, LinksInsideOneAreNotTheTopLevelsOwn) {
    NamingAttributesList_T_var names;
    NamingAttributesIterator_I_var none;
    manager_->getAllTopLevelTopologicalLinkNames(10, names.out(), none.out());
    EXPECT_THAT(namesIn(names.in()), ElementsAre("EMS=Kelp/EMS TopologicalLink=outside"));
}

TEST_F(SubnetworksOfEms, LabelAndOwnerOfTheEmsItselfAreKept) {
    emsMgr::EMS_T_var described;
    manager_->getEMS(described.out());
    EXPECT_STREQ(described->userLabel, "EMS") << "the native name until one is given";
    manager_->setUserLabel(nameOf({}), "North", true);
    manager_->setOwner(nameOf({}), "us");
    manager_->getEMS(described.out());
    EXPECT_STREQ(described->userLabel, "North");
    EXPECT_STREQ(described->owner, "us");
    EXPECT_STREQ(described->nativeEMSName, "EMS");
    expectRefusal(globaldefs::EXCPT_NOT_IMPLEMENTED, "objectName",
                  [&] { manager_->setNativeEMSName(nameOf({}), "x"); });
}

class ContainingSubnetworks : public ManagedElementTest {
  protected:
    ContainingSubnetworks() : ManagedElementTest(kSubnetworks) {}
    std::vector<std::string> around(const char* element) {
        NamingAttributesList_T_var names;
        manager_->getContainingSubnetworkNames(nameOf({{"ManagedElement", element}}), names.out());
        return namesIn(names.in());
    }
};

TEST_F(ContainingSubnetworks, AreThoseThatTheElementIsIn) {
    EXPECT_THAT(around("A"), ElementsAre("EMS=Kelp/EMS MultiLayerSubnetwork=ring",
                                         "EMS=Kelp/EMS MultiLayerSubnetwork=spur"));
    EXPECT_THAT(around("C"), IsEmpty());
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=D", [&] { around("D"); });
}

}  // namespace
}  // namespace kelp::test
