// A log-in whose POA name still belongs to a session that is ending.

#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <atomic>
#include <ostream>
#include <thread>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// A session of NMS 1 with a call that hangs in its manager until the gate is opened.
class SameName : public testing::Test {
  protected:
    void start(const AgentOptions& options) {
        agent_ = std::make_unique<RunningAgent>(options);
        agent_->manager().onCall = [this] { gate_.pass(); };
        const emsSession::EmsSession_I_var session = agent_->logIn(agent_->nms());
        manager_ = agent_->remoteManager(session.in());
        call_ = std::thread([this] {
            kelp::orb::setThreadTimeout(std::chrono::seconds(60));
            try {
                common::CapabilityList_T_var list;
                manager_->getCapabilities(list.out());
                callReturned_ = true;
            } catch (const CORBA::Exception&) {
                callReturned_ = false;
            }
        });
        ASSERT_TRUE(gate_.isReached());
    }
    ~SameName() override {
        gate_.open();
        if (call_.joinable())
            call_.join();
        agent_.reset();
    }

    Latch gate_;
    std::unique_ptr<RunningAgent> agent_;
    common::Common_I_var manager_;
    std::thread call_;
    std::atomic<bool> callReturned_{false};
};

TEST_F(SameName, WaitsForTheOldSessionsCallWhileOthersLogIn) {
    ASSERT_NO_FATAL_FAILURE(start(AgentOptions{.callTimeoutS = 30}));
    std::atomic<bool> done{false};
    emsSession::EmsSession_I_var again;
    std::thread waiting([&] {
        again = agent_->logIn(agent_->nms());
        done = true;
    });
    // the old session is over and nobody is logged in: the new log-in waits before it is counted
    ASSERT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
    EXPECT_TRUE(waitUntil([&] { return agent_->liveLogins(agent_->nms()) == 0; }));

    for (unsigned other = 2; other < 6; ++other) {
        const emsSession::EmsSession_I_var session = agent_->logIn(agent_->nms(other));
        session->ping();
    }
    EXPECT_FALSE(done);
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 0u);

    gate_.open();
    waiting.join();
    ASSERT_TRUE(done);
    again->ping();
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
    call_.join();
    EXPECT_TRUE(callReturned_) << "the old session's call was not answered";
}

TEST_F(SameName, GivesUpAfterTheCallTimeOut) {
    ASSERT_NO_FATAL_FAILURE(start(AgentOptions{.callTimeoutS = 1}));
    const TraceCapture trace;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(refusalOf([&] { agent_->logIn(agent_->nms()); }), 0x411800BAul);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::milliseconds(900));
    EXPECT_LT(waited, std::chrono::seconds(10));
    EXPECT_EQ(agent_->sessions().SessionCount(), 0u);
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 0u);

    gate_.open();
    call_.join();
    const emsSession::EmsSession_I_var again = agent_->logIn(agent_->nms());
    again->ping();
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
}

TEST_F(SameName, AdmitsSeveralWaitersOneAfterTheOther) {
    ASSERT_NO_FATAL_FAILURE(start(AgentOptions{.callTimeoutS = 30}));
    constexpr int waiters = 4;
    std::atomic<int> succeeded{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < waiters; ++i) {
        threads.emplace_back([&] {
            if (refusalOf([&] { agent_->logIn(agent_->nms()); }) == 0)
                ++succeeded;
        });
    }
    ASSERT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
    gate_.open();
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(succeeded, waiters);
    EXPECT_EQ(agent_->sessions().SessionCount(), 1u);
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
}

TEST_F(SameName, IsCheckedOnceMoreAgainstTheReuseRule) {
    ASSERT_NO_FATAL_FAILURE(start(AgentOptions{.callTimeoutS = 30, .reuse = true}));
    agent_->listed(agent_->nms())->endSession();
    emsSession::EmsSession_I_var one;
    emsSession::EmsSession_I_var other;
    std::thread first([&] { one = agent_->logIn(agent_->nms()); });
    std::thread second([&] { other = agent_->logIn(agent_->nms()); });
    ASSERT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
    gate_.open();
    first.join();
    second.join();
    // the later log-in found the session of the earlier one
    EXPECT_TRUE(one->_is_equivalent(other.in()));
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
}

/// Changes to an account while a log-in waits.
struct Change {
    const char* name;
    void (*apply)(kelp::users::UserDatabase&);
    unsigned long code;
};

void PrintTo(const Change& change, std::ostream* out) {
    *out << change.name;
}

class SameNameOfAChangedAccount : public SameName, public testing::WithParamInterface<Change> {};

TEST_P(SameNameOfAChangedAccount, IsRefusedAfterTheWait) {
    ASSERT_NO_FATAL_FAILURE(start(AgentOptions{.callTimeoutS = 30}));
    std::atomic<unsigned long> refusal{0};
    std::thread waiting([&] { refusal = refusalOf([&] { agent_->logIn(agent_->nms()); }); });
    ASSERT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
    // log-ins take turns: when this one is done, the other one is waiting
    agent_->addUser("second");
    agent_->logIn(agent_->nms(2), "second");
    {
        kelp::users::UserDatabase users(kelp::users::userDatabaseFile());
        GetParam().apply(users);
    }
    gate_.open();
    waiting.join();
    EXPECT_EQ(refusal, GetParam().code);
    EXPECT_FALSE(agent_->listed(agent_->nms()));
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Changes, SameNameOfAChangedAccount,
    testing::Values(
        Change{"Disabled",
               [](kelp::users::UserDatabase& users) { users.setEnabled("admin", false); },
               NS_CORBA::kUserDisabled},
        Change{"Expired", [](kelp::users::UserDatabase& users) { users.setExpiry("admin", 1); },
               NS_CORBA::kUserExpired},
        Change{"NewPassword",
               [](kelp::users::UserDatabase& users) {
                   users.setPassword("admin", "another one", kelp::users::configuredHashCost());
               },
               NS_CORBA::kWrongPassword},
        Change{"Removed", [](kelp::users::UserDatabase& users) { users.remove("admin"); },
               NS_CORBA::kWrongPassword}),
    [](const auto& param) { return std::string(param.param.name); });

}  // namespace
