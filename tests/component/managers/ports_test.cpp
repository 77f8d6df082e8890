#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using terminationPoint::TerminationPoint_T_var;
using terminationPoint::TerminationPointIterator_I_var;
using terminationPoint::TerminationPointList_T_var;
using testing::ElementsAre;
using testing::IsEmpty;
using transmissionParameters::LayerRateList_T;

const std::string kOfA = "EMS=Kelp/EMS ManagedElement=A ";

LayerRateList_T rates(std::initializer_list<int> numbers) {
    LayerRateList_T list;
    list.length(static_cast<CORBA::ULong>(numbers.size()));
    CORBA::ULong at = 0;
    for (const int number : numbers)
        list[at++] = static_cast<transmissionParameters::LayerRate_T>(number);
    return list;
}

class Ports : public ManagedElementTest {
  protected:
    /// Return the answer of an operation that lists the ports of element "A".
    template <class Operation>
    std::vector<std::string> ports(Operation operation, const LayerRateList_T& layers = {},
                                   const LayerRateList_T& connections = {}) {
        TerminationPointList_T_var list;
        TerminationPointIterator_I_var none;
        (manager_.in()->*operation)(kElement, layers, connections, 100, list.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesOf(list.in());
    }
    template <class Operation>
    std::vector<std::string> portNames(Operation operation, const LayerRateList_T& layers = {},
                                       const LayerRateList_T& connections = {}) {
        NamingAttributesList_T_var list;
        NamingAttributesIterator_I_var none;
        (manager_.in()->*operation)(kElement, layers, connections, 100, list.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesIn(list.in());
    }
    using Manager = std::decay_t<decltype(*manager_.in())>;

    const NamingAttributes_T kElement = nameOf({{"ManagedElement", "A"}});
};

TEST_F(Ports, IncludePhysicalAndFloatingPorts) {
    EXPECT_THAT(ports(&Manager::getAllPTPs),
                ElementsAre(kOfA + "PTP=p1", kOfA + "PTP=p2", kOfA + "FTP=f1"));
    EXPECT_THAT(ports(&Manager::getAllPTPsWithoutFTPs),
                ElementsAre(kOfA + "PTP=p1", kOfA + "PTP=p2"));
    EXPECT_THAT(ports(&Manager::getAllFTPs), ElementsAre(kOfA + "FTP=f1"));
}

TEST_F(Ports, NamesMatchTheObjects) {
    EXPECT_EQ(portNames(&Manager::getAllPTPNames), ports(&Manager::getAllPTPs));
    EXPECT_EQ(portNames(&Manager::getAllPTPNamesWithoutFTPs),
              ports(&Manager::getAllPTPsWithoutFTPs));
    EXPECT_EQ(portNames(&Manager::getAllFTPNames), ports(&Manager::getAllFTPs));
}

TEST_F(Ports, AreChosenByTheirLayersAndTheirConnectionRates) {
    EXPECT_THAT(ports(&Manager::getAllPTPs, rates({5, 47})),
                ElementsAre(kOfA + "PTP=p1", kOfA + "PTP=p2"));
    EXPECT_THAT(ports(&Manager::getAllPTPs, rates({47})), ElementsAre(kOfA + "PTP=p1"));
    EXPECT_THAT(ports(&Manager::getAllPTPs, {}, rates({11})), ElementsAre(kOfA + "PTP=p2"));
    EXPECT_THAT(ports(&Manager::getAllPTPs, rates({47}), rates({11})), IsEmpty());
    EXPECT_THAT(portNames(&Manager::getAllFTPNames, rates({98})), ElementsAre(kOfA + "FTP=f1"));
}

TEST_F(Ports, RestComesThroughTheIterator) {
    TerminationPointList_T_var list;
    TerminationPointIterator_I_var iterator;
    manager_->getAllPTPs(kElement, {}, {}, 2, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 2u);
    const auto rest =
        agent_->overTheWire<terminationPoint::TerminationPointIterator_I>(iterator.in());
    EXPECT_FALSE(rest->next_n(2, list.out()));
    EXPECT_THAT(namesOf(list.in()), ElementsAre(kOfA + "FTP=f1"));
}

TEST_F(Ports, NumbersThatAreNoLayerRatesAreInvalid) {
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "tpLayerRateList: 30", [&] {
        ports(&Manager::getAllPTPs, rates({5, 30}));
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "connectionLayerRateList: -1",
                  [&] { portNames(&Manager::getAllPTPNames, {}, rates({-1})); });
}

TEST_F(Ports, ElementMustExist) {
    TerminationPointList_T_var list;
    TerminationPointIterator_I_var none;
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=Z", [&] {
        manager_->getAllPTPs(nameOf({{"ManagedElement", "Z"}}), {}, {}, 1, list.out(), none.out());
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "PTP=p1", [&] {
        manager_->getAllPTPs(nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}}), {}, {}, 1,
                             list.out(), none.out());
    });
}

TEST_F(Ports, HaveTheAttributesOfTheInventory) {
    TerminationPoint_T_var port;
    manager_->getTP(nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}}), port.out());
    EXPECT_EQ(textOf(port->name), kOfA + "PTP=p1");
    EXPECT_EQ(port->type, terminationPoint::TPT_PTP);
    EXPECT_STREQ(port->nativeEMSName, "p1");
    EXPECT_TRUE(port->edgePoint);
    EXPECT_EQ(port->direction, terminationPoint::D_BIDIRECTIONAL);
    EXPECT_EQ(textOf(port->ingressTrafficDescriptorName), "EMS=Kelp/EMS TrafficDescriptor=gold");
    EXPECT_EQ(port->egressTrafficDescriptorName.length(), 0u);
    ASSERT_EQ(port->transmissionParams.length(), 2u);
    const CORBA::ULong traced = port->transmissionParams[0].layer == 22 ? 0 : 1;
    EXPECT_EQ(port->transmissionParams[1 - traced].layer, 47);
    ASSERT_EQ(port->transmissionParams[traced].transmissionParams.length(), 1u);
    EXPECT_STREQ(port->transmissionParams[traced].transmissionParams[0].name, "Trace");
    EXPECT_STREQ(port->transmissionParams[traced].transmissionParams[0].value, "x");
}

TEST_F(Ports, FloatingPortIsRecognisedByItsName) {
    TerminationPoint_T_var port;
    manager_->getTP(nameOf({{"ManagedElement", "A"}, {"FTP", "f1"}}), port.out());
    EXPECT_EQ(port->type, terminationPoint::TPT_PTP);
    EXPECT_EQ(textOf(port->name), kOfA + "FTP=f1");
}

TEST_F(Ports, ConnectionPointIsFoundByItsName) {
    TerminationPoint_T_var point;
    manager_->getTP(
        nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}, {"CTP", "/sts3c_au4-j=2/vt2_tu12-k=1"}}),
        point.out());
    EXPECT_EQ(point->type, terminationPoint::TPT_CTP);
    EXPECT_EQ(point->connectionState, terminationPoint::TPCS_SINK_CONNECTED);
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "CTP=/sts3c_au4-j=3", [&] {
        manager_->getTP(nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}, {"CTP", "/sts3c_au4-j=3"}}),
                        point.out());
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A", [&] {
        manager_->getTP(nameOf({{"ManagedElement", "A"}}), point.out());
    });
}

}  // namespace
}  // namespace kelp::test
