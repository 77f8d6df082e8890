// Filter objects of a channel, called over connections.

#include "component/notification/channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyFilter;
using testing::ElementsAre;
using testing::IsEmpty;

ConstraintExpSeq expressions(std::initializer_list<const char*> texts, const char* type = nullptr) {
    ConstraintExpSeq made;
    for (const char* text : texts) {
        made.length(made.length() + 1);
        ConstraintExp& each = made[made.length() - 1];
        each.constraint_expr = CORBA::string_dup(text);
        if (type != nullptr)
            each.event_types = types("*", type);
    }
    return made;
}

class Filters : public ChannelFixture {
  protected:
    FilterFactory_ptr factory() {
        const CosNotifyChannelAdmin::EventChannel_var remote = remoteChannel();
        return remote->default_filter_factory();
    }
    Filter_ptr filter() {
        const FilterFactory_var made = factory();
        return made->create_filter("EXTENDED_TCL");
    }
};

TEST_F(Filters, SelectEventsForAProxy) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const CosNotifyChannelAdmin::StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    const Filter_var chosen = filter();
    proxy->add_filter(chosen.in());
    push(1, 3);
    const ConstraintInfoSeq_var added =
        chosen->add_constraints(expressions({"$notificationId == '5'"}));
    push(4, 6);
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("5"))
        << "a filter without a constraint lets nothing through";
}

TEST_F(Filters, OfOtherProcessesAreRefusedAndDestroyedOnesMatchNothing) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const CosNotifyChannelAdmin::ConsumerAdmin_var admin = consumers();
    const CosNotifyChannelAdmin::StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    const CORBA::Object_var elsewhere =
        orb_.root()->create_reference("IDL:omg.org/CosNotifyFilter/Filter:1.0");
    const Filter_var foreign = Filter::_unchecked_narrow(elsewhere.in());
    EXPECT_THROW(proxy->add_filter(foreign.in()), CORBA::NO_IMPLEMENT);
    EXPECT_THROW(admin->add_filter(foreign.in()), CORBA::NO_IMPLEMENT);
    EXPECT_THROW(proxy->add_filter(Filter::_nil()), CORBA::BAD_PARAM);
    const CosNotifyChannelAdmin::SupplierAdmin_var supplierAdmin = suppliers();
    EXPECT_THROW(supplierAdmin->add_filter(foreign.in()), CORBA::NO_IMPLEMENT);
    push(1, 1);
    ASSERT_TRUE(gets(consumer, 1));

    const Filter_var chosen = filter();
    const ConstraintInfoSeq_var added = chosen->add_constraints(expressions({"TRUE"}));
    const FilterID id = proxy->add_filter(chosen.in());
    push(2, 2);
    ASSERT_TRUE(gets(consumer, 2));
    chosen->destroy();
    push(3, 3);
    proxy->remove_filter(id);
    push(4, 4);
    ASSERT_TRUE(gets(consumer, 3));
    EXPECT_THAT(consumer.names(), ElementsAre("1", "2", "4"));
}

TEST_F(Filters, HaveConstraintsForTypesOfEvents) {
    const Filter_var chosen = filter();
    const ConstraintInfoSeq_var added = chosen->add_constraints(expressions({"TRUE"}, "NT_ALARM"));
    EXPECT_TRUE(chosen->match_structured(event("1")));
    EXPECT_FALSE(chosen->match_structured(event("1", "NT_HEARTBEAT")));
    const ConstraintInfoSeq_var more = chosen->add_constraints(expressions({"TRUE"}, "%ALL"));
    EXPECT_TRUE(chosen->match_structured(event("1", "NT_HEARTBEAT")));
}

TEST_F(Filters, MatchAnyEventsAndPropertiesToo) {
    const Filter_var chosen = filter();
    const ConstraintInfoSeq_var added =
        chosen->add_constraints(expressions({"$notificationId == '5'"}));
    CORBA::Any any;
    any <<= event("5");
    EXPECT_TRUE(chosen->match(any));
    any <<= event("6");
    EXPECT_FALSE(chosen->match(any));
    EXPECT_TRUE(chosen->match_typed(event("5").filterable_data));
}

TEST_F(Filters, AreMadeForTheOneGrammar) {
    const FilterFactory_var made = factory();
    EXPECT_THROW(Filter_var(made->create_filter("TCL")), InvalidGrammar);
    EXPECT_THROW(Filter_var(made->create_filter("")), InvalidGrammar);
    EXPECT_THROW(MappingFilter_var(made->create_mapping_filter("EXTENDED_TCL", CORBA::Any())),
                 CORBA::NO_IMPLEMENT);
    const Filter_var chosen = filter();
    const CORBA::String_var grammar = chosen->constraint_grammar();
    EXPECT_STREQ(grammar.in(), "EXTENDED_TCL");
}

TEST_F(Filters, AddAllOfTheConstraintsOrNone) {
    const Filter_var chosen = filter();
    try {
        const ConstraintInfoSeq_var added =
            chosen->add_constraints(expressions({"TRUE", "$a ==", "FALSE"}));
        ADD_FAILURE() << "an invalid constraint was taken";
    } catch (const InvalidConstraint& invalid) {
        EXPECT_STREQ(invalid.constr.constraint_expr.in(), "$a ==");
    }
    ConstraintInfoSeq_var all = chosen->get_all_constraints();
    EXPECT_EQ(all->length(), 0u);
}

TEST_F(Filters, ChangeAndRemoveConstraintsByNumber) {
    const Filter_var chosen = filter();
    ConstraintInfoSeq_var added =
        chosen->add_constraints(expressions({"$notificationId == '1'", "FALSE"}));
    ASSERT_EQ(added->length(), 2u);
    EXPECT_NE(added[0].constraint_id, added[1].constraint_id);
    ConstraintInfoSeq changed(added.in());
    changed.length(1);
    changed[0].constraint_expression.constraint_expr = CORBA::string_dup("$notificationId == '2'");
    ConstraintIDSeq removed;
    removed.length(1);
    removed[0] = added[1].constraint_id;
    chosen->modify_constraints(removed, changed);
    EXPECT_FALSE(chosen->match_structured(event("1")));
    EXPECT_TRUE(chosen->match_structured(event("2")));
    EXPECT_THROW(chosen->modify_constraints(removed, ConstraintInfoSeq()), ConstraintNotFound);
    EXPECT_THROW(ConstraintInfoSeq_var(chosen->get_constraints(removed)), ConstraintNotFound);
    changed[0].constraint_expression.constraint_expr = CORBA::string_dup("((");
    EXPECT_THROW(chosen->modify_constraints(ConstraintIDSeq(), changed), InvalidConstraint);
    ConstraintInfoSeq_var all = chosen->get_all_constraints();
    ASSERT_EQ(all->length(), 1u);
    EXPECT_STREQ(all[0].constraint_expression.constraint_expr.in(), "$notificationId == '2'");
    chosen->remove_all_constraints();
    EXPECT_FALSE(chosen->match_structured(event("2")));
}

TEST_F(Filters, AreGoneWhenDestroyed) {
    const Filter_var chosen = filter();
    chosen->destroy();
    EXPECT_TRUE(kelp::test::waitUntil([&] { return chosen->_non_existent(); }));
}

TEST_F(Filters, RefuseThousandsOfConstraints) {
    const Filter_var chosen = filter();
    ConstraintExpSeq many;
    many.length(201);
    for (CORBA::ULong i = 0; i < many.length(); ++i)
        many[i].constraint_expr = CORBA::string_dup("TRUE");
    EXPECT_THROW(ConstraintInfoSeq_var(chosen->add_constraints(many)), CORBA::NO_RESOURCES);
}

}  // namespace
}  // namespace kelp::notification::test
