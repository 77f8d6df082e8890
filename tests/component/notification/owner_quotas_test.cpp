// Quotas of one owner in the channel.

#include <string>

#include "guarded_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using namespace CosNotifyFilter;

ConstraintExpSeq texts(const std::vector<std::string>& all) {
    ConstraintExpSeq made;
    made.length(static_cast<CORBA::ULong>(all.size()));
    for (CORBA::ULong i = 0; i < made.length(); ++i)
        made[i].constraint_expr = CORBA::string_dup(all[i].c_str());
    return made;
}

/// Two NMS at one address.
class OwnerQuotas : public GuardedFixture {
  protected:
    OwnerQuotas() {
        settings_.perOwner.consumers = 2;
        settings_.perOwner.admins = 2;
        settings_.perOwner.filters = 2;
        settings_.perOwner.constraints = 3;
        settings_.perOwner.constraintBytes = 60;
        settings_.perOwner.constraintCost = 100;
        settings_.perOwner.evaluationCost = 40;
        allowed_.nextConnectionsAreOf({"one"});
        channelFrom(one_)->MyFactory();
        allowed_.nextConnectionsAreOf({"two"});
        channelFrom(two_)->MyFactory();
    }
    static void add(const Filter_var& filter, const std::vector<std::string>& all) {
        const ConstraintInfoSeq_var added = filter->add_constraints(texts(all));
    }

    const TcpRelay one_{orb_.port(), kA};
    const TcpRelay two_{orb_.port(), kA};
};

TEST_F(OwnerQuotas, HoldForConsumersOfOneOwner) {
    const StructuredProxyPushSupplier_var first = proxyFrom(one_);
    const StructuredProxyPushSupplier_var second = proxyFrom(one_);
    try {
        proxyFrom(one_);
        FAIL() << "one too many";
    } catch (const AdminLimitExceeded& refusal) {
        EXPECT_STREQ(refusal.admin_property_err.name.in(), CosNotification::MaxConsumers);
        CORBA::Long limit = 0;
        EXPECT_TRUE(refusal.admin_property_err.value >>= limit);
        EXPECT_EQ(limit, 2);
    }
    EXPECT_NO_THROW(proxyFrom(two_)) << "the other has its own";
    first->disconnect_structured_push_supplier();
    EXPECT_NO_THROW(proxyFrom(one_));
}

TEST_F(OwnerQuotas, HoldForAdminsAndFiltersOfOneOwner) {
    const ConsumerAdmin_var admin = newAdminFrom(one_);
    newAdminFrom(one_);
    EXPECT_THROW(newAdminFrom(one_), CORBA::NO_RESOURCES);
    EXPECT_NO_THROW(newAdminFrom(two_));
    admin->destroy();
    EXPECT_NO_THROW(newAdminFrom(one_));
    const Filter_var filter = filterFrom(one_);
    filterFrom(one_);
    EXPECT_THROW(filterFrom(one_), CORBA::NO_RESOURCES);
    EXPECT_NO_THROW(filterFrom(two_));
    filter->destroy();
    EXPECT_NO_THROW(filterFrom(one_));
}

TEST_F(OwnerQuotas, DoNotCountDroppedObjects) {
    newAdminFrom(one_);
    newAdminFrom(one_);
    filterFrom(one_);
    filterFrom(one_);
    allowed_.end("one");
    letGracePass();
    allowed_.logInOver("one", "one again");
    EXPECT_NO_THROW(newAdminFrom(one_));
    EXPECT_NO_THROW(filterFrom(one_));
}

TEST_F(OwnerQuotas, HoldForTheConstraintsOfAllFiltersTogether) {
    const Filter_var filter = filterFrom(one_);
    const Filter_var other = filterFrom(one_);
    add(filter, {"TRUE", "FALSE"});
    EXPECT_THROW(add(other, {"TRUE", "TRUE"}), CORBA::NO_RESOURCES);
    EXPECT_NO_THROW(add(other, {"TRUE"})) << "what was refused is not counted";
    EXPECT_THROW(add(other, {"TRUE"}), CORBA::NO_RESOURCES);
    EXPECT_NO_THROW(add(filterFrom(two_), {"TRUE"}));
    const ConstraintInfoSeq_var all = filter->get_all_constraints();
    EXPECT_NO_THROW(filter->modify_constraints(ConstraintIDSeq(), all.in()))
        << "a change needs no room";
    filter->remove_all_constraints();
    EXPECT_NO_THROW(add(other, {"TRUE"}));
    filter->destroy();
    other->destroy();
    EXPECT_NO_THROW(add(filterFrom(one_), {"TRUE", "TRUE", "TRUE"}));
}

TEST_F(OwnerQuotas, RefuseAConstraintThatIsTooLongOrCostsTooMuch) {
    const Filter_var filter = filterFrom(one_);
    EXPECT_THROW(add(filter, {"'" + std::string(70, 'x') + "' == 'x'"}), InvalidConstraint);
    EXPECT_THROW(add(filter, {"1 in $a and 2 in $b and 3 in $c"}), InvalidConstraint);
    EXPECT_NO_THROW(add(filter, {"1 in $a"}));
    ConstraintExpSeq typed = texts({"TRUE"});
    typed[0].event_types = types("tmf_mtnm", std::string(70, 'x').c_str());
    EXPECT_THROW(ConstraintInfoSeq_var(filter->add_constraints(typed)), InvalidConstraint)
        << "types of events count too";
}

TEST_F(OwnerQuotas, EndAnEvaluationThatTakesTooLong) {
    const Filter_var filter = filterFrom(one_);
    add(filter, {"3000 in $numbers", "TRUE"});
    CosNotification::StructuredEvent long_ = event("1");
    CORBA::LongLongSeq numbers;
    numbers.length(3001);
    for (CORBA::ULong i = 0; i < numbers.length(); ++i)
        numbers[i] = static_cast<CORBA::LongLong>(i);
    long_.filterable_data.length(2);
    long_.filterable_data[1].name = CORBA::string_dup("numbers");
    long_.filterable_data[1].value <<= numbers;
    EXPECT_FALSE(filter->match_structured(long_)) << "whatever the constraints behind it say";
    EXPECT_TRUE(filter->match_structured(event("1")));
    EXPECT_EQ(trace_.count("the filters of a consumer of user one cost too much"), 1u);
    EXPECT_FALSE(filter->match_structured(long_));
    EXPECT_EQ(trace_.count("cost too much"), 1u) << "it is said once";
}

}  // namespace
}  // namespace kelp::notification::test
