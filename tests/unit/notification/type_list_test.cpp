#include "type_list.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

namespace kelp::notification {
namespace {

CosNotification::EventType type(const char* domain, const char* name) {
    CosNotification::EventType made;
    made.domain_name = CORBA::string_dup(domain);
    made.type_name = CORBA::string_dup(name);
    return made;
}

CosNotification::EventTypeSeq types(std::initializer_list<std::pair<const char*, const char*>> named) {
    CosNotification::EventTypeSeq made;
    for (const auto& [domain, name] : named) {
        made.length(made.length() + 1);
        made[made.length() - 1] = type(domain, name);
    }
    return made;
}

const auto kAlarm = type("tmf_mtnm", "NT_ALARM");
const auto kHeartbeat = type("tmf_mtnm", "NT_HEARTBEAT");

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

TEST(TypeList, HoldsEverythingAtFirst) {
    const TypeList list;
    EXPECT_TRUE(list.matches(kAlarm));
    CosNotification::EventTypeSeq_var all = list.list();
    ASSERT_EQ(all->length(), 1u);
    EXPECT_STREQ(all[0].type_name.in(), "%ALL");
}

TEST(TypeList, HoldsWhatIsAddedOnly) {
    TypeList list;
    list.change(types({{"tmf_mtnm", "NT_ALARM"}}), {});
    EXPECT_TRUE(list.matches(kAlarm));
    EXPECT_FALSE(list.matches(kHeartbeat));
    EXPECT_FALSE(list.matches(type("other", "NT_ALARM")));
}

TEST(TypeList, TakesWildcards) {
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
