#include "event_types/type_list.h"

#include <gtest/gtest.h>

#include "event_types.h"

namespace kelp::notification {
namespace {

using test::type;
using test::types;

const auto kAlarm = type("tmf_mtnm", "NT_ALARM");
const auto kHeartbeat = type("tmf_mtnm", "NT_HEARTBEAT");

bool matches(const TypeList& list, const CosNotification::EventType& type) {
    return list.matches(type.domain_name.in(), type.type_name.in());
}

TEST(TypeList, HoldsEverythingAtFirst) {
    const TypeList list;
    EXPECT_TRUE(matches(list, kAlarm));
    EXPECT_EQ(list.types(), allTypes());
}

TEST(TypeList, HoldsWhatIsAddedOnly) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    EXPECT_TRUE(matches(list, kAlarm));
    EXPECT_FALSE(matches(list, kHeartbeat));
    EXPECT_FALSE(matches(list, type("other", "NT_ALARM")));
}

TEST(TypeList, AcceptsWildcards) {
    TypeList list;
    list.change(types({{"*", "NT_*"}}), {});
    EXPECT_TRUE(matches(list, kHeartbeat));
    EXPECT_FALSE(matches(list, type("tmf_mtnm", "OTHER")));
}

TEST(TypeList, HoldsEverythingAgainAfterAll) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    list.change(types({{"", "%ALL"}}), {});
    EXPECT_TRUE(matches(list, kHeartbeat));
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    list.change(types({{"*", "*"}}), {});
    EXPECT_TRUE(matches(list, kHeartbeat));
}

TEST(TypeList, GivesUpWhatIsRemoved) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}, {"tmf_mtnm", "NT_HEARTBEAT"}}), {});
    list.change({}, types({{"tmf_mtnm", "NT_ALARM"}}));
    EXPECT_FALSE(matches(list, kAlarm));
    EXPECT_TRUE(matches(list, kHeartbeat));
    EXPECT_EQ(list.types(), TypeSet({{"tmf_mtnm", "NT_HEARTBEAT"}}));
    list.change({}, types({{"tmf_mtnm", "NT_HEARTBEAT"}}));
    EXPECT_EQ(list.types(), allTypes()) << "the last one was taken back";
}

TEST(TypeList, RefusesATypeWithoutANameAndChangesNothing) {
    TypeList list;
    EXPECT_THROW(list.change(types({{"tmf_mtnm", "NT_ALARM"}, {"tmf_mtnm", ""}}), {}),
                 CosNotifyComm::InvalidEventType);
    EXPECT_TRUE(matches(list, kHeartbeat));
    EXPECT_THROW(list.change({}, types({{"", ""}})), CosNotifyComm::InvalidEventType);
}

}  // namespace
}  // namespace kelp::notification
