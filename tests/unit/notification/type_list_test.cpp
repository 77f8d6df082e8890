#include "event_types/type_list.h"

#include <gtest/gtest.h>

#include "event_types.h"

namespace kelp::notification {
namespace {

using test::type;
using test::types;

const auto kAlarm = type("tmf_mtnm", "NT_ALARM");
const auto kHeartbeat = type("tmf_mtnm", "NT_HEARTBEAT");

TEST(TypeList, HoldsEverythingAtFirst) {
    const TypeList list;
    EXPECT_TRUE(list.matches(kAlarm));
    EXPECT_EQ(list.types(), allTypes());
}

TEST(TypeList, HoldsWhatIsAddedOnly) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    EXPECT_TRUE(list.matches(kAlarm));
    EXPECT_FALSE(list.matches(kHeartbeat));
    EXPECT_FALSE(list.matches(type("other", "NT_ALARM")));
}

TEST(TypeList, AcceptsWildcards) {
    TypeList list;
    list.change(types({{"*", "NT_*"}}), {});
    EXPECT_TRUE(list.matches(kHeartbeat));
    EXPECT_FALSE(list.matches(type("tmf_mtnm", "OTHER")));
}

TEST(TypeList, HoldsEverythingAgainAfterAll) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    list.change(types({{"", "%ALL"}}), {});
    EXPECT_TRUE(list.matches(kHeartbeat));
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    list.change(types({{"*", "*"}}), {});
    EXPECT_TRUE(list.matches(kHeartbeat));
}

TEST(TypeList, GivesUpWhatIsRemoved) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}, {"tmf_mtnm", "NT_HEARTBEAT"}}), {});
    list.change({}, types({{"tmf_mtnm", "NT_ALARM"}}));
    EXPECT_FALSE(list.matches(kAlarm));
    EXPECT_TRUE(list.matches(kHeartbeat));
    EXPECT_EQ(list.types(), TypeSet({{"tmf_mtnm", "NT_HEARTBEAT"}}));
    list.change({}, types({{"tmf_mtnm", "NT_HEARTBEAT"}}));
    EXPECT_EQ(list.types(), allTypes()) << "the last one was taken back";
}

TEST(TypeList, RefusesATypeWithoutANameAndChangesNothing) {
    TypeList list;
    EXPECT_THROW(list.change(types({{"tmf_mtnm", "NT_ALARM"}, {"tmf_mtnm", ""}}), {}),
                 CosNotifyComm::InvalidEventType);
    EXPECT_TRUE(list.matches(kHeartbeat));
    EXPECT_THROW(list.change({}, types({{"", ""}})), CosNotifyComm::InvalidEventType);
}

}  // namespace
}  // namespace kelp::notification
