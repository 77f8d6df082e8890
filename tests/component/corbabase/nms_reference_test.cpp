// Which references an NMS may log in with, depending on its connection's peer (127.0.0.1 here).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base_orb.h"
#include "open_logs.h"
#include "scripted_interceptor.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using NS_CORBA::AgentServer;

class NmsReference : public testing::Test {
  protected:
    NmsReference() {
        EXPECT_EQ(AgentServer::Activate(), 0);
        base().SetReqInterceptorImpl(&interceptor_);
    }
    ~NmsReference() override { base().SetReqInterceptorImpl(nullptr); }

    std::string toml(const std::string& access) const {
        return kFreePort + OpenLogs::toml(folder_) + "[access]\n" + access;
    }
    /// Check a reference with these corbaloc addresses during a request over a connection.
    bool isValid(const std::string& addresses) {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object =
            kelp::orb::toReference(orb.in(), "corbaloc:" + addresses + "/key");
        asked_ = object.in();
        session_.ping();
        return verdict_;
    }

    TemporaryDirectory folder_;
    BaseOrb orb_{toml("nms_reference = \"peer\"\n")};
    OpenLogs logs_{folder_};
    ScriptedInterceptor interceptor_;
    CORBA::Object_ptr asked_ = CORBA::Object::_nil();
    bool verdict_ = false;
    bool isConsumer_ = false;
    WireSession session_{[this] {
        verdict_ =
            isConsumer_ ? base().IsValidConsumer(asked_) : base().IsValidNmsReference(asked_);
    }};
};

TEST_F(NmsReference, MayNameThePeerItself) {
    EXPECT_TRUE(isValid("iiop:1.2@127.0.0.1:4711"));
    EXPECT_TRUE(isValid("iiop:1.2@127.0.0.1:4711,iiop:1.2@127.0.0.1:4712"));
    EXPECT_TRUE(isValid("ssliop:1.2@127.0.0.1:4711"));
    EXPECT_TRUE(isValid("iiop:1.2@[::ffff:127.0.0.1]:4711"));
}

TEST_F(NmsReference, MayNotNameAnother) {
    const TraceCapture trace;
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.2:4711"));
    EXPECT_TRUE(trace.contains("names 127.0.0.2:4711 as its own address"));
    EXPECT_FALSE(isValid("iiop:1.2@[::1]:4711"));
    EXPECT_FALSE(isValid("ssliop:1.2@127.0.0.2:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@nms.example.org:4711"));
    const auto records = logs_.security();
    ASSERT_THAT(records, testing::SizeIs(4));
    EXPECT_EQ(records[0].operation, "login");
    EXPECT_EQ(records[0].outcome, "reference not allowed");
    EXPECT_EQ(records[0].nmsAddress, "127.0.0.2:4711");
    EXPECT_THAT(records[0].peer, testing::StartsWith("127.0.0.1:"));
}

TEST_F(NmsReference, OfAConsumerObeysTheSameRule) {
    isConsumer_ = true;
    EXPECT_TRUE(isValid("iiop:1.2@127.0.0.1:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.2:4711"));
    const auto records = logs_.security();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().operation, "refused-address");
    EXPECT_EQ(records.back().outcome, "reference not allowed");
}

TEST_F(NmsReference, MayNotNameAnotherInAdditionToThePeer) {
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.1:4711,iiop:1.2@127.0.0.2:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.2:4711,iiop:1.2@127.0.0.1:4711"));
}

TEST_F(NmsReference, MayNameAllowedNetworksWhereThatIsTheRule) {
    configure(
        toml("nms_reference = \"allowed\"\nallowed_oss = [\"127.0.0.0/30\", \"2001:db8::/32\"]\n"));
    EXPECT_TRUE(isValid("iiop:1.2@127.0.0.2:4711"));
    EXPECT_TRUE(isValid("iiop:1.2@[2001:db8::7]:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.4:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@127.0.0.2:4711,iiop:1.2@127.0.0.4:4711"));
    EXPECT_FALSE(isValid("iiop:1.2@localhost:4711"));
}

TEST_F(NmsReference, MayNameListedHostNamesWithoutTheirBeingResolved) {
    for (const char* rule : {"peer", "allowed"}) {
        configure(toml("nms_reference = \"" + std::string(rule) +
                       "\"\nallowed_oss = [\"127.0.0.1\", \"NMS.example.org\"]\n"));
        EXPECT_TRUE(isValid("iiop:1.2@nms.example.org:4711")) << rule;
        EXPECT_FALSE(isValid("iiop:1.2@nms2.example.org:4711")) << rule;
    }
}

TEST_F(NmsReference, MayNameAnyAddressWhereThatIsTheRule) {
    configure(toml("nms_reference = \"any\"\n"));
    EXPECT_TRUE(isValid("iiop:1.2@192.0.2.1:4711"));
    EXPECT_TRUE(isValid("iiop:1.2@nms.example.org:4711"));
}

TEST_F(NmsReference, OfACallInsideTheProcessMayNameAnyAddress) {
    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::Object_var object =
        kelp::orb::toReference(orb.in(), "corbaloc:iiop:1.2@192.0.2.1:4711/key");
    EXPECT_TRUE(base().IsValidNmsReference(object.in()));
}

}  // namespace
