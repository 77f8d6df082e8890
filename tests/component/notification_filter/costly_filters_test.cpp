// Costly filters delay nobody else's events, and refused constraints leave nothing behind.

#include <malloc.h>

#include <string>

#include "component/notification/channel_fixture.h"
#include "filter/constraint.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyFilter;
using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;

class CostlyFilters : public ChannelFixture {
  protected:
    Filter_ptr filterOf(const std::vector<std::string>& texts) {
        const EventChannel_var own = channel().reference();
        const FilterFactory_var factory = own->default_filter_factory();
        Filter_var filter = factory->create_filter("EXTENDED_TCL");
        ConstraintExpSeq constraints;
        constraints.length(static_cast<CORBA::ULong>(texts.size()));
        for (CORBA::ULong i = 0; i < constraints.length(); ++i)
            constraints[i].constraint_expr = CORBA::string_dup(texts[i].c_str());
        const ConstraintInfoSeq_var added = filter->add_constraints(constraints);
        return filter._retn();
    }
    /// Return a constraint as costly as one may be.
    static std::string costly() {
        std::string text = "'zz' ~ $notificationId";
        while (text.size() < 8000)
            text += " or 'zz' ~ $notificationId";
        return text;
    }
};

TEST_F(CostlyFilters, DelayNobodyElsesEvents) {
    settings_.perOwner.evaluationCost = 100'000'000;
    settings_.perOwner.constraintCost = 100'000'000;
    const Filter_var filter = filterOf(std::vector<std::string>(150, costly()));
    const EventChannel_var own = channel().reference();
    const ConsumerAdmin_var admin = own->default_consumer_admin();
    for (int i = 0; i < 20; ++i) {
        const auto proxy = StructuredProxyPushSupplier_var(
            pushProxy<StructuredProxyPushSupplier>(admin.in(), STRUCTURED_EVENT));
        connect(proxy.in(), make<StructuredConsumer>());
        proxy->add_filter(filter.in());
    }
    StructuredConsumer& other = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), other);
    // together the filters need far longer for these events than the test's deadline
    const auto begin = std::chrono::steady_clock::now();
    push(1, 200);
    ASSERT_TRUE(gets(other, 200));
    const auto needed = std::chrono::steady_clock::now() - begin;
    const auto one = std::chrono::steady_clock::now();
    EXPECT_FALSE(filter->match_structured(event("1")));
    const auto perEvent = std::chrono::steady_clock::now() - one;
    EXPECT_LT(needed, 20 * 200 * perEvent / 4) << "the events have waited for the filters";
}

TEST_F(CostlyFilters, KeepTheOrderOfEvents) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    const Filter_var filter = filterOf({costly(), "$notificationId != '3'"});
    push(1, 2);
    const FilterID id = proxy->add_filter(filter.in());
    push(3, 5);
    proxy->remove_filter(id);
    push(6, 7);
    ASSERT_TRUE(gets(consumer, 6));
    EXPECT_THAT(consumer.names(), ElementsAre("1", "2", "4", "5", "6", "7"))
        << "each event meets the filters that there were when it came";
}

TEST_F(CostlyFilters, PassOnlyWithinTheirBudget) {
    settings_.perOwner.evaluationCost = 200;
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    const Filter_var dear = filterOf({costly(), "TRUE"});
    const Filter_var cheap = filterOf({"TRUE"});
    const FilterID id = proxy->add_filter(dear.in());
    push(1, 2);
    proxy->remove_filter(id);
    proxy->add_filter(cheap.in());
    push(3, 3);
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("3"));
}

// a sanitizer has its own allocator
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(RefusedConstraints, LeaveNothingBehind) {
    std::string broken = "$a == 1";
    while (broken.size() < 8000)
        broken += " or $abcdef.ghi[3](jkl) == 'text'";
    broken += " or";
    const auto refuse = [&broken](int times) {
        for (int i = 0; i < times; ++i)
            EXPECT_THROW(Constraint{broken}, ConstraintSyntaxError);
    };
    refuse(10);
    const std::size_t before = ::mallinfo2().uordblks;
    refuse(200);
    const std::size_t after = ::mallinfo2().uordblks;
    EXPECT_LT(after, before + 100 * 1024) << "8 KB of text, refused 200 times";
}
#endif

TEST(RefusedConstraints, IncludeThoseThatCostTooMuch) {
    const ConstraintLimits limits{8192, 100};
    EXPECT_NO_THROW(Constraint("$a == 1 and $b == 2", limits));
    std::string many = "$a == 1";
    for (int i = 0; i < 30; ++i)
        many += " or $a == 2";
    EXPECT_THROW(Constraint(many, limits), ConstraintSyntaxError);
    EXPECT_THROW(Constraint("1 in $a and 2 in $a", limits), ConstraintSyntaxError);
    EXPECT_THROW(Constraint("$a(b)(c) == 1", limits), ConstraintSyntaxError);
    EXPECT_THROW(Constraint("'" + std::string(5000, 'x') + "' == 'x'", limits),
                 ConstraintSyntaxError);
    EXPECT_THROW(Constraint(std::string(60, '(') + "TRUE" + std::string(60, ')')),
                 ConstraintSyntaxError);
    EXPECT_NO_THROW(Constraint(std::string(40, '(') + "TRUE" + std::string(40, ')')));
}

}  // namespace
}  // namespace kelp::notification::test
