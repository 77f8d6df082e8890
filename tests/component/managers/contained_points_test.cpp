#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using terminationPoint::TerminationPointIterator_I_var;
using terminationPoint::TerminationPointList_T_var;
using testing::ElementsAre;
using testing::IsEmpty;
using transmissionParameters::LayerRateList_T;

const std::string kInPort = "EMS=Kelp/EMS ManagedElement=A PTP=p1";
const std::string kThrough = kInPort + " CTP=/sts3c_au4-j=1";
const std::string kMapped = kInPort + " CTP=/sts3c_au4-j=2";
const std::string kLow = "/vt2_tu12-k=1";

class ContainedPoints : public ManagedElementTest {
  protected:
    template <class Operation>
    std::vector<std::string> points(Operation operation, const NamingAttributes_T& in,
                                    const LayerRateList_T& rates = {}) {
        TerminationPointList_T_var list;
        TerminationPointIterator_I_var none;
        (manager_.in()->*operation)(in, rates, 100, list.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesOf(list.in());
    }
    template <class Operation>
    std::vector<std::string> pointNames(Operation operation, const NamingAttributes_T& in) {
        NamingAttributesList_T_var list;
        NamingAttributesIterator_I_var none;
        (manager_.in()->*operation)(in, {}, 100, list.out(), none.out());
        EXPECT_TRUE(CORBA::is_nil(none.in()));
        return namesIn(list.in());
    }
    using Manager = std::decay_t<decltype(*manager_.in())>;

    static NamingAttributes_T ctp(const char* value) {
        return nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}, {"CTP", value}});
    }
    const NamingAttributes_T kPort = nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}});
};

TEST_F(ContainedPoints, PotentialPointsAreAllAtEveryDepth) {
    EXPECT_THAT(points(&Manager::getContainedPotentialTPs, kPort),
                ElementsAre(kThrough, kThrough + kLow, kMapped, kMapped + kLow));
    LayerRateList_T low;
    low.length(1);
    low[0] = 11;
    EXPECT_THAT(points(&Manager::getContainedPotentialTPs, kPort, low),
                ElementsAre(kThrough + kLow, kMapped + kLow));
    EXPECT_THAT(points(&Manager::getContainedPotentialTPs, ctp("/sts3c_au4-j=2")),
                ElementsAre(kMapped + kLow));
}

TEST_F(ContainedPoints, CurrentPointsAreNotHiddenByAPointThatIsConnectedThrough) {
    EXPECT_THAT(points(&Manager::getContainedCurrentTPs, kPort),
                ElementsAre(kThrough, kMapped, kMapped + kLow));
    EXPECT_THAT(points(&Manager::getContainedCurrentTPs, ctp("/sts3c_au4-j=1")), IsEmpty());
    EXPECT_THAT(points(&Manager::getContainedCurrentTPs, ctp("/sts3c_au4-j=2")),
                ElementsAre(kMapped + kLow));
}

TEST_F(ContainedPoints, PointsInUseAreTheConnectedOnes) {
    EXPECT_THAT(points(&Manager::getContainedInUseTPs, kPort),
                ElementsAre(kThrough, kMapped + kLow));
}

TEST_F(ContainedPoints, NamesMatchTheObjects) {
    EXPECT_EQ(pointNames(&Manager::getContainedPotentialTPNames, kPort),
              points(&Manager::getContainedPotentialTPs, kPort));
    EXPECT_EQ(pointNames(&Manager::getContainedCurrentTPNames, kPort),
              points(&Manager::getContainedCurrentTPs, kPort));
    EXPECT_EQ(pointNames(&Manager::getContainedInUseTPNames, kPort),
              points(&Manager::getContainedInUseTPs, kPort));
}

TEST_F(ContainedPoints, ContainingPointsEndWithThePort) {
    TerminationPointList_T_var list;
    manager_->getContainingTPs(ctp("/sts3c_au4-j=2/vt2_tu12-k=1"), list.out());
    EXPECT_THAT(namesOf(list.in()), ElementsAre(kMapped, kInPort));
    NamingAttributesList_T_var names;
    manager_->getContainingTPNames(ctp("/sts3c_au4-j=2/vt2_tu12-k=1"), names.out());
    EXPECT_EQ(namesIn(names.in()), namesOf(list.in()));
    manager_->getContainingTPs(kPort, list.out());
    EXPECT_EQ(list->length(), 0u) << "nothing contains a port";
}

TEST_F(ContainedPoints, PointMustExist) {
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "CTP=/sts3c_au4-j=9",
                  [&] { points(&Manager::getContainedPotentialTPs, ctp("/sts3c_au4-j=9")); });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "ManagedElement=A", [&] {
        points(&Manager::getContainedCurrentTPs, nameOf({{"ManagedElement", "A"}}));
    });
    LayerRateList_T bad;
    bad.length(1);
    bad[0] = 0;
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "layerRateList: 0",
                  [&] { points(&Manager::getContainedInUseTPs, kPort, bad); });
    TerminationPointList_T_var list;
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "CTP=/sts3c_au4-j=9",
                  [&] { manager_->getContainingTPs(ctp("/sts3c_au4-j=9"), list.out()); });
}

}  // namespace
}  // namespace kelp::test
