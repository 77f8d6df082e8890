#include <gtest/gtest.h>
#include <kelp/corbabase/session_callers.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "config_text.h"

namespace {

using NS_CORBA::SessionCallers;
using NS_CORBA::SessionToken;
using Verdict = SessionCallers::Verdict;

const std::string kName =
    "<USERNAME_TAG>admin</USERNAME_TAG><IPANDPORT_TAG>10.0.0.7:4711</IPANDPORT_TAG>";

kelp::util::PeerAddress peerAt(const std::string& host) {
    return kelp::orb::parsePeer("giop:tcp:" + host + ":5000");
}

class Request final : public kelp::orb::RequestInfo {
  public:
    Request(std::string top, const std::string& host, std::string id = {})
        : top_(std::move(top)),
          id_(std::move(id)),
          peer_(host.empty() ? kelp::util::PeerAddress{} : peerAt(host)) {}
    char* operation() const override { return CORBA::string_dup("ping"); }
    const std::string& operationName() const override { return empty_; }
    const kelp::util::PeerAddress& peer() const override { return peer_; }
    const std::string& peerSubject() const override { return empty_; }
    const std::string& topPoaName() const override { return top_; }
    const std::string& childPoaName() const override { return empty_; }
    const std::string& objectId() const override { return id_; }
    std::chrono::system_clock::time_point arrived() const override { return {}; }
    std::chrono::microseconds age() const override { return {}; }

  private:
    std::string top_;
    std::string id_;
    kelp::util::PeerAddress peer_;
    std::string empty_;
};

class SessionCallersTest : public testing::Test {
  protected:
    SessionCallersTest() { kelp::test::configure(""); }
    ~SessionCallersTest() override {
        callers_.Leave(kName, this);
        kelp::test::configure("");
    }
    void enter(const std::string& host) {
        callers_.Enter(kName, this, token_,
                       host.empty() ? kelp::util::PeerAddress{} : peerAt(host));
    }
    Verdict judge(const std::string& host) { return callers_.Judge(Request(kName, host)); }

    SessionCallers& callers_ = SessionCallers::Instance();
    SessionToken token_;
};

TEST_F(SessionCallersTest, MayCallFromTheAddressThatLoggedInAtAnyPort) {
    enter("10.0.0.7");
    EXPECT_EQ(judge("10.0.0.7"), Verdict::MayCall);
    EXPECT_EQ(callers_.Judge(Request(kName, "10.0.0.7")), Verdict::MayCall);
    for (const char* other : {"10.0.0.8", "10.0.1.7", "11.0.0.7", "[::1]", "[2001:db8::7]", ""})
        EXPECT_EQ(judge(other), Verdict::Stranger) << other;
}

TEST_F(SessionCallersTest, ComparesAnIpv4MappedAddressWithItsIpv4Address) {
    enter("[::ffff:10.0.0.7]");
    EXPECT_EQ(judge("10.0.0.7"), Verdict::MayCall);
    EXPECT_EQ(judge("[::ffff:10.0.0.7]"), Verdict::MayCall);
    EXPECT_EQ(judge("[::ffff:10.0.0.8]"), Verdict::Stranger);
    EXPECT_EQ(judge("[::10.0.0.7]"), Verdict::Stranger) << "an address of its own";
}

TEST_F(SessionCallersTest, ComparesIpv6AddressesHoweverTheyAreWritten) {
    enter("[2001:db8:0:0::7]");
    EXPECT_EQ(judge("[2001:DB8::7]"), Verdict::MayCall);
    EXPECT_EQ(judge("[2001:db8:0:0:0:0:0:7]"), Verdict::MayCall);
    EXPECT_EQ(judge("[2001:db8::8]"), Verdict::Stranger);
    EXPECT_EQ(judge("10.0.0.7"), Verdict::Stranger);
}

TEST_F(SessionCallersTest, MayCallFromEverywhereWhenTheLogInCameOverNoConnection) {
    enter("");
    EXPECT_EQ(judge("10.0.0.7"), Verdict::MayCall);
    EXPECT_EQ(judge("[::1]"), Verdict::MayCall);
}

TEST_F(SessionCallersTest, MoveToTheAddressThatTakesTheSessionUpAgain) {
    enter("10.0.0.7");
    callers_.Move(kName, this, peerAt("10.0.0.8"));
    EXPECT_EQ(judge("10.0.0.8"), Verdict::MayCall);
    EXPECT_EQ(judge("10.0.0.7"), Verdict::Stranger);
    callers_.Move(kName, "another owner", peerAt("10.0.0.9"));
    EXPECT_EQ(judge("10.0.0.8"), Verdict::MayCall);
    callers_.Move("nobody", this, peerAt("10.0.0.9"));
}

TEST_F(SessionCallersTest, CallNoSessionThatIsOver) {
    EXPECT_EQ(judge("10.0.0.7"), Verdict::IsOver);
    enter("10.0.0.7");
    callers_.Leave(kName, "another owner");
    EXPECT_EQ(judge("10.0.0.7"), Verdict::MayCall);
    callers_.Leave(kName, this);
    callers_.Leave(kName, this);
    EXPECT_EQ(judge("10.0.0.7"), Verdict::IsOver);
}

TEST_F(SessionCallersTest, MayCallWhatIsNoSessionsObject) {
    for (const char* top : {"", "V4800", "notification", "USERNAME_TAG"})
        EXPECT_EQ(callers_.Judge(Request(top, "10.0.0.99")), Verdict::MayCall) << top;
}

TEST_F(SessionCallersTest, FollowTheConfiguration) {
    enter("10.0.0.7");
    kelp::test::configure("[access]\nsession_peer = \"any\"\n");
    EXPECT_EQ(judge("10.0.0.8"), Verdict::MayCall);
    kelp::test::configure("[access]\nsession_peer = \"address\"\n");
    EXPECT_EQ(judge("10.0.0.8"), Verdict::Stranger);
    kelp::test::configure("");
    EXPECT_EQ(judge("10.0.0.8"), Verdict::Stranger) << "the default";
}

TEST_F(SessionCallersTest, KnowTheSecretOfALiveSessionOnly) {
    const PortableServer::ObjectId_var id = token_.idOf("EMS");
    const std::string good(NS_CORBA::octetsOf(id.in()));
    const auto knows = [&](const std::string& top, const std::string& objectId) {
        return callers_.KnowsSecret(Request(top, "10.0.0.99", objectId));
    };
    EXPECT_FALSE(knows(kName, good));
    enter("10.0.0.7");
    EXPECT_TRUE(knows(kName, good)) << "wherever it is called from";
    EXPECT_FALSE(knows(kName, "EMS"));
    EXPECT_FALSE(knows(kName, good + "x"));
    EXPECT_FALSE(knows(kName + "x", good));
    EXPECT_FALSE(knows("V4800", good));
    callers_.Leave(kName, this);
    EXPECT_FALSE(knows(kName, good));
}

TEST_F(SessionCallersTest, AreJudgedWhileSessionsComeAndGo) {
    enter("10.0.0.7");
    std::atomic<bool> done{false};
    std::thread others([&] {
        for (int i = 0; i < 2000; ++i) {
            const std::string name = kName + std::to_string(i % 7);
            callers_.Enter(name, &done, token_, peerAt("10.0.0.8"));
            callers_.Move(kName, this, peerAt("10.0.0.7"));
            callers_.Leave(name, &done);
        }
        done = true;
    });
    const Request own(kName, "10.0.0.7");
    const Request foreign(kName, "10.0.0.8");
    while (!done) {
        ASSERT_EQ(callers_.Judge(own), Verdict::MayCall);
        ASSERT_EQ(callers_.Judge(foreign), Verdict::Stranger);
    }
    others.join();
}

}  // namespace
