// The number of log-ins that an account and an address may have at the same time.

#include <gtest/gtest.h>

#include "access/live_log_ins.h"

namespace {

using kelp::users::UserAccount;
using NS_CORBA::LiveLogIns;
using Exceeded = LiveLogIns::Exceeded;

constexpr const char* kNetwork = "10.0.0.1";
constexpr const char* kOtherNetwork = "10.0.0.2";

class LoginQuota : public testing::Test {
  protected:
    static LiveLogIns::Key key(const std::string& user, int port) {
        return {user, "10.0.0.1:" + std::to_string(port)};
    }
    void enter(const LiveLogIns::Key& login, const std::string& address = kNetwork) {
        UserAccount account;
        account.name = login.user;
        live.enter(login, account, address);
    }
    Exceeded exceeded(const LiveLogIns::Key& login, LiveLogIns::Quotas quotas,
                      const std::string& address = kNetwork) const {
        return live.exceededBy(login, address, quotas);
    }
    LiveLogIns live;
};

TEST_F(LoginQuota, OfAnAccountHoldsAtTheLimitAndEndsWithALogOut) {
    EXPECT_EQ(exceeded(key("a", 1), {1, 9}), Exceeded::Nothing);
    enter(key("a", 1));
    EXPECT_EQ(exceeded(key("a", 2), {1, 9}), Exceeded::Account);
    EXPECT_EQ(exceeded(key("a", 2), {1, 9}, kOtherNetwork), Exceeded::Account) << "from wherever";
    EXPECT_EQ(exceeded(key("a", 2), {2, 9}), Exceeded::Nothing);
    EXPECT_EQ(exceeded(key("b", 2), {1, 9}), Exceeded::Nothing) << "another account";
    live.leave(key("a", 1));
    EXPECT_EQ(exceeded(key("a", 2), {1, 9}), Exceeded::Nothing);
}

TEST_F(LoginQuota, OfAnAddressCountsWhateverAccounts) {
    enter(key("a", 1));
    enter(key("b", 2));
    EXPECT_EQ(exceeded(key("c", 3), {9, 2}), Exceeded::Address);
    EXPECT_EQ(exceeded(key("c", 3), {9, 3}), Exceeded::Nothing);
    EXPECT_EQ(exceeded(key("c", 3), {9, 2}, kOtherNetwork), Exceeded::Nothing) << "another address";
    live.leave(key("a", 1));
    EXPECT_EQ(exceeded(key("c", 3), {9, 2}), Exceeded::Nothing);
}

TEST_F(LoginQuota, ALogInThatTakesThePlaceOfItsOwnIsNotRefusedEvenAboveALoweredLimit) {
    for (int port = 1; port <= 3; ++port)
        enter(key("a", port));
    EXPECT_EQ(exceeded(key("a", 2), {1, 1}), Exceeded::Nothing);
    EXPECT_EQ(exceeded(key("a", 4), {1, 9}), Exceeded::Account);
}

TEST_F(LoginQuota, ALogInThatMovesToAnotherAddressCountsThere) {
    enter(key("a", 1));
    enter(key("b", 2), kOtherNetwork);
    EXPECT_EQ(exceeded(key("a", 1), {9, 1}, kOtherNetwork), Exceeded::Address);
    EXPECT_EQ(exceeded(key("a", 1), {9, 2}, kOtherNetwork), Exceeded::Nothing);
}

TEST_F(LoginQuota, CallersInsideTheProcessHaveNoAddress) {
    enter(key("a", 1), "");
    enter(key("b", 2), "");
    EXPECT_EQ(exceeded(key("c", 3), {9, 1}, ""), Exceeded::Nothing);
    EXPECT_EQ(exceeded(key("a", 3), {1, 9}, ""), Exceeded::Account);
}

}  // namespace
