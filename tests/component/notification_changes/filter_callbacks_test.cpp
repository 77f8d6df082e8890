// A filter notifies its callbacks of the types in its constraints.

#include "changes_fixture.h"
#include "support/trace_capture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyFilter;
using testing::ElementsAre;
using testing::IsEmpty;

class FilterCallbacks : public ChangesFixture {
  protected:
    CallbackID attach(Callback& callback) {
        const auto reference = CosNotifyComm::NotifySubscribe_var(
            referenceTo<CosNotifyComm::NotifySubscribe>(callback));
        return filter_->attach_callback(reference.in());
    }
    /// Add a constraint for these types of the domain "d". Return its id.
    ConstraintID add(std::initializer_list<const char*> names) {
        ConstraintExpSeq expressions;
        expressions.length(1);
        expressions[0].constraint_expr = CORBA::string_dup("TRUE");
        expressions[0].event_types = typesOf(names);
        ConstraintInfoSeq_var added = filter_->add_constraints(expressions);
        return added[0].constraint_id;
    }
    void modify(ConstraintID id, std::initializer_list<const char*> names) {
        ConstraintInfoSeq changed;
        changed.length(1);
        changed[0].constraint_id = id;
        changed[0].constraint_expression.constraint_expr = CORBA::string_dup("TRUE");
        changed[0].constraint_expression.event_types = typesOf(names);
        filter_->modify_constraints(ConstraintIDSeq(), changed);
    }
    void remove(ConstraintID id) {
        ConstraintIDSeq removed;
        removed.length(1);
        removed[0] = id;
        filter_->modify_constraints(removed, ConstraintInfoSeq());
    }
    std::vector<CallbackID> callbacks() {
        CallbackIDSeq_var ids = filter_->get_callbacks();
        std::vector<CallbackID> list;
        for (CORBA::ULong i = 0; i < ids->length(); ++i)
            list.push_back(ids[i]);
        return list;
    }
    Filter_ptr makeFilter() {
        const CosNotifyChannelAdmin::EventChannel_var remote = remoteChannel();
        const FilterFactory_var factory = remote->default_filter_factory();
        return factory->create_filter("EXTENDED_TCL");
    }

    Filter_var filter_ = makeFilter();
    Callback& callback_ = make<Callback>();
};

TEST_F(FilterCallbacks, AreNotifiedWhenConstraintsAreAddedChangedAndRemoved) {
    attach(callback_);
    const ConstraintID first = add({"A", "B"});
    ASSERT_TRUE(callback_.isTold(1));
    const ConstraintID second = add({"B", "C"});
    ASSERT_TRUE(callback_.isTold(2));
    modify(first, {"A", "D"});
    ASSERT_TRUE(callback_.isTold(3));
    remove(second);
    ASSERT_TRUE(callback_.isTold(4));
    filter_->remove_all_constraints();
    ASSERT_TRUE(callback_.isTold(5));
    EXPECT_THAT(
        callback_.notices(),
        ElementsAre(Notice{{"d/A", "d/B"}, kNone}, Notice{{"d/C"}, kNone}, Notice{{"d/D"}, kNone},
                    Notice{kNone, {"d/B", "d/C"}}, Notice{kNone, {"d/A", "d/D"}}));
}

TEST_F(FilterCallbacks, AreNotifiedThatADestroyedFilterHasNoTypes) {
    add({"A"});
    attach(callback_);
    filter_->destroy();
    ASSERT_TRUE(callback_.isTold(1));
    EXPECT_THAT(callback_.notices(), ElementsAre(Notice{kNone, {"d/A"}}));
}

TEST_F(FilterCallbacks, AreNotifiedOfEveryTypeByOneName) {
    attach(callback_);
    add({"A"});
    ASSERT_TRUE(callback_.isTold(1));
    const ConstraintID forAll = add({});
    ASSERT_TRUE(callback_.isTold(2));
    remove(forAll);
    ASSERT_TRUE(callback_.isTold(3));
    const ConstraintID named = add({"%ALL"});
    ASSERT_TRUE(callback_.isTold(4));
    add({"B"});
    remove(named);
    ASSERT_TRUE(callback_.isTold(5));
    EXPECT_THAT(callback_.notices(),
                ElementsAre(Notice{{"d/A"}, kNone}, Notice{kAll, {"d/A"}}, Notice{{"d/A"}, kAll},
                            Notice{kAll, {"d/A"}}, Notice{{"d/A", "d/B"}, kAll}));
}

TEST_F(FilterCallbacks, AreNotNotifiedOfConstraintsForTheSameTypes) {
    attach(callback_);
    const ConstraintID first = add({"A"});
    ASSERT_TRUE(callback_.isTold(1));
    add({"A"});
    modify(first, {"A"});
    remove(first);
    EXPECT_THROW(remove(first), ConstraintNotFound);
    add({"B"});
    ASSERT_TRUE(callback_.isTold(2));
    EXPECT_THAT(callback_.notices(), ElementsAre(Notice{{"d/A"}, kNone}, Notice{{"d/B"}, kNone}));
}

TEST_F(FilterCallbacks, AreListedAndNotifiedUntilTheyAreDetached) {
    EXPECT_THAT(callbacks(), IsEmpty());
    Callback& other = make<Callback>();
    const CallbackID first = attach(callback_);
    const CallbackID second = attach(other);
    EXPECT_THAT(callbacks(), ElementsAre(first, second));
    filter_->detach_callback(first);
    EXPECT_THAT(callbacks(), ElementsAre(second));
    EXPECT_THROW(filter_->detach_callback(first), CallbackNotFound);
    add({"A"});
    ASSERT_TRUE(other.isTold(1));
    add({"B"});
    ASSERT_TRUE(other.isTold(2));
    EXPECT_EQ(callback_.calls(), 0);
}

TEST_F(FilterCallbacks, AreNotNilAndNotMoreThanTwenty) {
    EXPECT_THROW(filter_->attach_callback(CosNotifyComm::NotifySubscribe::_nil()),
                 CORBA::BAD_PARAM);
    const auto reference =
        CosNotifyComm::NotifySubscribe_var(referenceTo<CosNotifyComm::NotifySubscribe>(callback_));
    const CallbackID first = filter_->attach_callback(reference.in());
    for (int i = 1; i < 20; ++i)
        EXPECT_NO_THROW(filter_->attach_callback(reference.in()));
    EXPECT_THROW(filter_->attach_callback(reference.in()), CORBA::NO_RESOURCES);
    filter_->detach_callback(first);
    EXPECT_NO_THROW(filter_->attach_callback(reference.in()));
}

TEST_F(FilterCallbacks, ThatFailAreDetached) {
    const kelp::test::TraceCapture trace;
    callback_.answer = [] { throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO); };
    Callback& healthy = make<Callback>();
    attach(callback_);
    const CallbackID second = attach(healthy);
    add({"A"});
    ASSERT_TRUE(healthy.isTold(1));
    EXPECT_TRUE(trace.waitFor("the callback of a filter receives no more changes"));
    EXPECT_THAT(callbacks(), ElementsAre(second));
}

TEST_F(FilterCallbacks, MayCallTheFilter) {
    callback_.answer = [this] { EXPECT_EQ(callbacks().size(), 1u); };
    attach(callback_);
    add({"A"});
    EXPECT_TRUE(callback_.isTold(1));
}

}  // namespace
}  // namespace kelp::notification::test
