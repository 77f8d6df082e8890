#include "event_types/type_set.h"

#include <gtest/gtest.h>

#include <string>

#include "event_types.h"

namespace kelp::notification {
namespace {

using test::type;
using test::types;

const TypeName kAlarmType("tmf_mtnm", "NT_ALARM");
const TypeName kHeartbeatType("tmf_mtnm", "NT_HEARTBEAT");

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
    EXPECT_FALSE(isAll({kAlarmType}));
}

TEST(TypeSet, LetsEveryTypeStandAlone) {
    TypeSet set{kAlarmType};
    unite(set, {kHeartbeatType});
    EXPECT_EQ(set, TypeSet({kAlarmType, kHeartbeatType}));
    unite(set, allTypes());
    EXPECT_EQ(set, allTypes());
    unite(set, {kAlarmType});
    EXPECT_EQ(set, allTypes());
}

TEST(TypeSet, IsChangedByWhatIsRemovedAndThenAdded) {
    const auto alarm = types({{"tmf_mtnm", "NT_ALARM"}});
    EXPECT_EQ(changedTypes({}, alarm, {}), TypeSet({kAlarmType}));
    EXPECT_EQ(changedTypes({kAlarmType, kHeartbeatType}, {}, alarm), TypeSet({kHeartbeatType}));
    EXPECT_EQ(changedTypes({kHeartbeatType}, alarm, alarm), TypeSet({kAlarmType, kHeartbeatType}));
    EXPECT_EQ(changedTypes({kAlarmType}, {}, types({{"tmf_mtnm", "NT_OTHER"}})),
              TypeSet({kAlarmType}));
    EXPECT_EQ(changedTypes({kAlarmType}, types({{"", "%ALL"}}), {}), allTypes());
    EXPECT_EQ(changedTypes(allTypes(), alarm, types({{"*", "*"}})), TypeSet({kAlarmType}));
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
    EXPECT_EQ(narrowed(allTypes(), {kAlarmType}), TypeSet({kAlarmType}));
    EXPECT_EQ(narrowed({kAlarmType}, allTypes()), TypeSet({kAlarmType}));
    EXPECT_EQ(narrowed(allTypes(), allTypes()), allTypes());
    EXPECT_EQ(narrowed({kAlarmType, kHeartbeatType}, {kHeartbeatType}), TypeSet({kHeartbeatType}));
    EXPECT_EQ(narrowed({kAlarmType}, {kHeartbeatType}), TypeSet());
    EXPECT_EQ(narrowed({kAlarmType}, {{"other", "NT_ALARM"}}), TypeSet());
}

TEST(TypeSet, IsNarrowedWithWildcards) {
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {kAlarmType}), TypeSet({kAlarmType}));
    EXPECT_EQ(narrowed({kAlarmType}, {{"*", "NT_*"}}), TypeSet({kAlarmType}));
    EXPECT_EQ(narrowed({{"tmf_mtnm", "*"}}, {{"*", "NT_ALARM"}}), TypeSet({kAlarmType}))
        << "each name is narrower in one half";
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {{"*", "NT_A*"}}), TypeSet({{"*", "NT_A*"}}));
    EXPECT_EQ(narrowed({{"*", "NT_*"}}, {{"*", "*_ALARM"}}), TypeSet({{"*", "NT_*"}}))
        << "rather too much than too little";
    EXPECT_EQ(narrowed({{"*", "OTHER_*"}}, {kAlarmType}), TypeSet());
}

TEST(TypeSet, DiffersByWhatTheOtherHasNot) {
    EXPECT_EQ(without({kAlarmType, kHeartbeatType}, {kAlarmType}), TypeSet({kHeartbeatType}));
    EXPECT_EQ(without({kAlarmType}, {kAlarmType, kHeartbeatType}), TypeSet());
    EXPECT_EQ(without(allTypes(), {kAlarmType}), allTypes());
}

TEST(TypeSet, IsASequenceOnTheWire) {
    const CosNotification::EventTypeSeq_var none = asSequence({});
    EXPECT_EQ(none->length(), 0u);
    CosNotification::EventTypeSeq_var two = asSequence({kHeartbeatType, kAlarmType});
    ASSERT_EQ(two->length(), 2u);
    EXPECT_EQ(nameOf(two[0]), kAlarmType);
    EXPECT_EQ(nameOf(two[1]), kHeartbeatType);
}

}  // namespace
}  // namespace kelp::notification
