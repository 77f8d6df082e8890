#include "types/type_set.h"

#include <gtest/gtest.h>

#include <string>

#include "event_types.h"

namespace kelp::notification {
namespace {

using test::type;
using test::types;

const TypeName kAlarm("tmf_mtnm", "NT_ALARM");
const TypeName kHeartbeat("tmf_mtnm", "NT_HEARTBEAT");

TEST(Pattern, StarStandsForAnyText) {
    EXPECT_TRUE(matchesPattern("*", ""));
    EXPECT_TRUE(matchesPattern("*", "NT_ALARM"));
    EXPECT_TRUE(matchesPattern("NT_*", "NT_ALARM"));
    EXPECT_TRUE(matchesPattern("*ALARM", "NT_ALARM"));
    EXPECT_TRUE(matchesPattern("N*_*M", "NT_ALARM"));
    EXPECT_TRUE(matchesPattern("a*b*c", "abbcbc"));
    EXPECT_TRUE(matchesPattern("", ""));
    EXPECT_FALSE(matchesPattern("", "x"));
    EXPECT_FALSE(matchesPattern("NT_", "NT_ALARM"));
    EXPECT_FALSE(matchesPattern("*X", "NT_ALARM"));
    EXPECT_FALSE(matchesPattern("a*b", "abc"));
}

TEST(TypeSet, KeepsEveryTypeUnderOneName) {
    const TypeName all = *allTypes().begin();
    EXPECT_EQ(nameOf(type("*", "%ALL")), all);
    EXPECT_EQ(nameOf(type("", "%ALL")), all);
    EXPECT_EQ(nameOf(type("tmf_mtnm", "%ALL")), all);
    EXPECT_EQ(nameOf(type("*", "*")), all);
    EXPECT_EQ(nameOf(type("", "*")), all);
    EXPECT_EQ(nameOf(type("tmf_mtnm", "*")), TypeName("tmf_mtnm", "*"));
    EXPECT_TRUE(isAll(allTypes()));
    EXPECT_FALSE(isAll({}));
    EXPECT_FALSE(isAll({kAlarm}));
}

TEST(TypeSet, LetsEveryTypeStandAlone) {
    TypeSet set{kAlarm};
    unite(set, {kHeartbeat});
    EXPECT_EQ(set, TypeSet({kAlarm, kHeartbeat}));
    unite(set, allTypes());
    EXPECT_EQ(set, allTypes());
    unite(set, {kAlarm});
    EXPECT_EQ(set, allTypes());
}

TEST(TypeSet, IsChangedByWhatIsRemovedAndThenAdded) {
    const auto alarm = types({{"tmf_mtnm", "NT_ALARM"}});
    EXPECT_EQ(changedTypes({}, alarm, {}), TypeSet({kAlarm}));
    EXPECT_EQ(changedTypes({kAlarm, kHeartbeat}, {}, alarm), TypeSet({kHeartbeat}));
    EXPECT_EQ(changedTypes({kHeartbeat}, alarm, alarm), TypeSet({kAlarm, kHeartbeat}));
    EXPECT_EQ(changedTypes({kAlarm}, {}, types({{"tmf_mtnm", "NT_OTHER"}})), TypeSet({kAlarm}));
    EXPECT_EQ(changedTypes({kAlarm}, types({{"", "%ALL"}}), {}), allTypes());
    EXPECT_EQ(changedTypes(allTypes(), alarm, types({{"*", "*"}})), TypeSet({kAlarm}));
}

TEST(TypeSet, RefusesHundredsOfNames) {
    CosNotification::EventTypeSeq many;
    many.length(201);
    for (CORBA::ULong i = 0; i < many.length(); ++i)
        many[i] = type("tmf_mtnm", std::to_string(i).c_str());
    EXPECT_THROW((void)changedTypes({}, many, {}), CORBA::NO_RESOURCES);
    many.length(200);
    EXPECT_EQ(changedTypes({}, many, {}).size(), 200u);
}

TEST(TypeSet, IsNarrowedToWhatBothHold) {
    EXPECT_EQ(narrowed(allTypes(), {kAlarm}), TypeSet({kAlarm}));
    EXPECT_EQ(narrowed({kAlarm}, allTypes()), TypeSet({kAlarm}));
    EXPECT_EQ(narrowed(allTypes(), allTypes()), allTypes());
    EXPECT_EQ(narrowed({kAlarm, kHeartbeat}, {kHeartbeat}), TypeSet({kHeartbeat}));
    EXPECT_EQ(narrowed({kAlarm}, {kHeartbeat}), TypeSet());
    EXPECT_EQ(narrowed({kAlarm}, {{"other", "NT_ALARM"}}), TypeSet());
}

TEST(TypeSet, IsNarrowedWithWildcards) {
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {kAlarm}), TypeSet({kAlarm}));
    EXPECT_EQ(narrowed({kAlarm}, {{"*", "NT_*"}}), TypeSet({kAlarm}));
    EXPECT_EQ(narrowed({{"tmf_mtnm", "*"}}, {{"*", "NT_ALARM"}}), TypeSet({kAlarm}))
        << "each name is narrower in one half";
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {{"*", "NT_A*"}}), TypeSet({{"*", "NT_A*"}}));
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {{"*", "*_ALARM"}}), TypeSet({{"*", "NT_*"}}))
        << "rather too much than too little";
    EXPECT_EQ(narrowed({{"*", "OTHER_*"}}, {kAlarm}), TypeSet());
}

TEST(TypeSet, DiffersByWhatTheOtherHasNot) {
    EXPECT_EQ(without({kAlarm, kHeartbeat}, {kAlarm}), TypeSet({kHeartbeat}));
    EXPECT_EQ(without({kAlarm}, {kAlarm, kHeartbeat}), TypeSet());
    EXPECT_EQ(without(allTypes(), {kAlarm}), allTypes());
}

TEST(TypeSet, IsASequenceOnTheWire) {
    const CosNotification::EventTypeSeq_var none = asSequence({});
    EXPECT_EQ(none->length(), 0u);
    CosNotification::EventTypeSeq_var two = asSequence({kHeartbeat, kAlarm});
    ASSERT_EQ(two->length(), 2u);
    EXPECT_EQ(nameOf(two[0]), kAlarm);
    EXPECT_EQ(nameOf(two[1]), kHeartbeat);
}

}  // namespace
}  // namespace kelp::notification
