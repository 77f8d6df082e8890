// The limit for all calls that a stop sets, regardless of the limits of threads.

#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include <functional>
#include <future>
#include <string>
#include <vector>

#include "session_object.h"
#include "support/latch.h"
#include "support/tcp_peers.h"
#include "support/throw_away_certificates.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::OrbOptions;

/// Far longer than a test waits, so a call that ends earlier was ended by the limit.
constexpr std::chrono::hours kThreadLimit{24};
constexpr std::chrono::milliseconds kLimit{200};

/// Call on a separate thread. The result is the exception's name.
std::future<std::string> calling(std::function<void()> call) {
    return std::async(std::launch::async, [call = std::move(call)]() -> std::string {
        kelp::orb::setThreadTimeout(kThreadLimit);
        try {
            call();
            return "";
        } catch (const CORBA::SystemException& failure) {
            return failure._name();
        }
    });
}

std::future<std::string> calling(const RunningOrb& orb, const std::string& corbaloc) {
    const CORBA::Object_var object = kelp::orb::toReference(orb.orb(), corbaloc);
    return calling([object] { object->_non_existent(); });
}

bool hasFailed(std::future<std::string>& call) {
    if (call.wait_for(30s) != std::future_status::ready)
        return false;
    const std::string outcome = call.get();
    EXPECT_TRUE(outcome == "COMM_FAILURE" || outcome == "TRANSIENT" || outcome == "TIMEOUT")
        << outcome;
    return true;
}

/// Once the peer sees a connection, the call has begun.
bool isConnected(const DeafListener& peer) {
    return waitUntil([&] { return peer.hasConnection(); });
}

class CallLimit : public testing::Test {
  protected:
    ~CallLimit() override { kelp::orb::liftCallLimit(); }
};

TEST_F(CallLimit, EndsACallThatIsInProgress) {
    const RunningOrb orb;
    const DeafListener deaf;
    auto call = calling(orb, deaf.corbaloc());
    ASSERT_TRUE(isConnected(deaf));
    kelp::orb::limitAllCalls(kLimit);
    EXPECT_TRUE(hasFailed(call));
}

TEST_F(CallLimit, EndsCallsThatBeginLater) {
    const RunningOrb orb;
    const DeafListener deaf;
    kelp::orb::limitAllCalls(kLimit);
    for (int i = 0; i < 3; ++i) {
        auto call = calling(orb, deaf.corbaloc());
        EXPECT_TRUE(hasFailed(call));
    }
}

TEST_F(CallLimit, EndsACallThatStillConnects) {
    const RunningOrb orb;
    const FullBacklogListener busy;
    auto before = calling(orb, busy.corbaloc());
    kelp::orb::limitAllCalls(kLimit);
    auto after = calling(orb, busy.corbaloc());
    EXPECT_TRUE(hasFailed(before));
    EXPECT_TRUE(hasFailed(after));
}

TEST_F(CallLimit, EndsAllOfManyCallsToOnePeer) {
    const RunningOrb orb;
    const DeafListener deaf;
    // more calls than there may be connections to one peer: some wait for a connection
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < 80; ++i)
        calls.push_back(calling(orb, deaf.corbaloc()));
    ASSERT_TRUE(isConnected(deaf));
    kelp::orb::limitAllCalls(kLimit);
    for (auto& each : calls)
        EXPECT_TRUE(hasFailed(each));
}

TEST_F(CallLimit, LeavesCallsAloneThatAreAnsweredInTime) {
    const RunningOrb orb;
    SessionObject session(orb);
    session.remote()->ping();
    kelp::orb::limitAllCalls(2s);
    const auto end = std::chrono::steady_clock::now() + 4s;
    int calls = 0;
    for (; std::chrono::steady_clock::now() < end; ++calls)
        ASSERT_NO_THROW(session.remote()->ping());
    EXPECT_EQ(session.servant().pings, calls + 1);
}

TEST_F(CallLimit, LeavesAnIdleConnectionOpen) {
    const RunningOrb orb;
    kelp::util::PeerAddress peer;
    SessionObject session(orb, [&] { peer = kelp::orb::currentPeer(); });
    session.remote()->ping();
    const std::string before = peer.withPort;
    kelp::orb::limitAllCalls(kLimit);
    // the end of this call shows that the limit has passed
    const DeafListener deaf;
    auto other = calling(orb, deaf.corbaloc());
    EXPECT_TRUE(hasFailed(other));
    session.remote()->ping();
    EXPECT_EQ(peer.withPort, before);
}

/// Expect that a call which takes longer than the former limit succeeds.
void expectNoLimit(const RunningOrb& orb) {
    Latch gate;
    SessionObject session(orb, [&] { gate.pass(); });
    auto call = calling([&] { session.remote()->ping(); });
    EXPECT_TRUE(gate.isReached());
    EXPECT_EQ(call.wait_for(5 * kLimit), std::future_status::timeout);
    gate.open();
    EXPECT_EQ(call.get(), "");
}

TEST_F(CallLimit, HoldsNoLongerOnceItIsLifted) {
    const RunningOrb orb;
    kelp::orb::limitAllCalls(kLimit);
    kelp::orb::liftCallLimit();
    expectNoLimit(orb);
}

TEST_F(CallLimit, HoldsNoLongerForTheNextOrb) {
    {
        const RunningOrb orb;
        kelp::orb::limitAllCalls(kLimit);
    }
    const RunningOrb orb;
    expectNoLimit(orb);
}

/// An ORB that accepts only TLS, with separate certificates.
class CallLimitOverTls : public CallLimit {
  protected:
    OrbOptions options() {
        OrbOptions options;
        options.tlsListen = {"127.0.0.1:0"};
        options.tlsCaFile = certificates_.authority();
        options.tlsKeyFile = certificates_.issue("ems");
        return options;
    }

    ThrowAwayCertificates certificates_;
};

TEST_F(CallLimitOverTls, EndsAHandshakeThatIsNotAnswered) {
    const RunningOrb orb(nullptr, options());
    const DeafListener deaf;
    auto before = calling(orb, "corbaloc:ssliop:1.2@" + deaf.hostAndPort() + "/Object");
    ASSERT_TRUE(isConnected(deaf));
    kelp::orb::limitAllCalls(kLimit);
    auto after = calling(orb, "corbaloc:ssliop:1.2@" + deaf.hostAndPort() + "/Object");
    EXPECT_TRUE(hasFailed(before));
    EXPECT_TRUE(hasFailed(after));
}

TEST_F(CallLimitOverTls, EndsACallInProgress) {
    const RunningOrb orb(nullptr, options());
    Latch gate;
    SessionObject session(orb, [&] { gate.pass(); });
    auto call = calling([&] { session.remote()->ping(); });
    ASSERT_TRUE(gate.isReached());
    kelp::orb::limitAllCalls(kLimit);
    EXPECT_TRUE(hasFailed(call));
    gate.open();
}

}  // namespace
