// Who may use the event channel: callers at addresses with a current log-in.

#include <cos/CosNotifyChannelAdmin.h>
#include <gtest/gtest.h>
#include <kelp/users/user_database.h>

#include "support/agent_fixture.h"
#include "support/tcp_relay.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace CosNotifyChannelAdmin;

class ChannelOfSessions : public testing::Test {
  protected:
    /// Start an agent that sends no pings.
    void start(int pingIntervalS = 1, const AgentOptions& options = {}) {
        agent_ =
            std::make_unique<RunningAgent>(options.with(0, false).withRoundsEvery(pingIntervalS));
        ASSERT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(0), 0);
        channel_ = NS_CORBA::EventMgr::Instance()->GetEventChannel();
        for (const char* address : {"127.0.0.2", "127.0.0.3", "127.0.0.4"})
            relays_.push_back(std::make_unique<TcpRelay>(agent_->port(), address));
    }
    ~ChannelOfSessions() override {
        NS_CORBA::SuppilerMgr::Instance()->ExitThread();
        channel_ = EventChannel::_nil();
        agent_.reset();
    }

    /// Return the same object, called from the address of that relay.
    template <class I>
    typename I::_var_type over(int relay, CORBA::Object_ptr own) const {
        const CORBA::Object_var remote = referenceOverTheWire(
            agent_->orb(), own, "127.0.0.1", relays_[static_cast<std::size_t>(relay)]->port());
        return typename I::_var_type(I::_unchecked_narrow(remote.in()));
    }
    /// Log the NMS in from the relay's address, always with the same session object.
    emsSession::EmsSession_I_var logIn(int relay, unsigned nms = 1) {
        const emsSessionFactory::EmsSessionFactory_I_var own =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        const emsSessionFactory::EmsSessionFactory_I_var factory =
            over<emsSessionFactory::EmsSessionFactory_I>(relay, own.in());
        emsSession::EmsSession_I_var session;
        factory->getEmsSession(RunningAgent::kUser, RunningAgent::kPassword,
                               agent_->nms(nms).reference(), session.out());
        return session;
    }
    bool mayUse(int relay) {
        const EventChannel_var channel = over<EventChannel>(relay, channel_.in());
        try {
            const ConsumerAdmin_var admin = channel->default_consumer_admin();
            return true;
        } catch (const CORBA::NO_PERMISSION&) {
            return false;
        }
    }
    void obtain(int relay) {
        const EventChannel_var channel = over<EventChannel>(relay, channel_.in());
        const ConsumerAdmin_var own = channel->default_consumer_admin();
        const ConsumerAdmin_var admin = over<ConsumerAdmin>(relay, own.in());
        ProxyID id = 0;
        const ProxySupplier_var proxy =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
    }
    static std::size_t proxies() { return NS_CORBA::SuppilerMgr::Instance()->Consumers().size(); }
    static bool proxiesAre(std::size_t count) {
        return waitUntil([&] { return proxies() == count; });
    }

    TraceCapture trace_;
    std::unique_ptr<RunningAgent> agent_;
    EventChannel_var channel_;
    std::vector<std::unique_ptr<TcpRelay>> relays_;
};

TEST_F(ChannelOfSessions, IsOpenToTheAddressOfALogInAndItsProxiesGoAPingIntervalAfterIt) {
    start();
    EXPECT_FALSE(mayUse(0));
    const emsSession::EmsSession_I_var session = logIn(0);
    EXPECT_TRUE(mayUse(0));
    EXPECT_FALSE(mayUse(1));
    obtain(0);
    obtain(0);
    const auto end = std::chrono::steady_clock::now();
    session->endSession();
    EXPECT_FALSE(mayUse(0));
    EXPECT_EQ(proxies(), 2u);
    ASSERT_TRUE(proxiesAre(0));
    EXPECT_GE(std::chrono::steady_clock::now() - end, std::chrono::seconds(1));
    EXPECT_TRUE(waitUntil([&] { return trace_.count("of 127.0.0.2 is dropped") == 2; }));
}

TEST_F(ChannelOfSessions, IsOpenToEveryAddressThatASessionWasReusedFrom) {
    start(1, AgentOptions().withReuse());
    const emsSession::EmsSession_I_var session = logIn(0);
    const emsSession::EmsSession_I_var again = logIn(1);
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
    EXPECT_TRUE(mayUse(0));
    EXPECT_TRUE(mayUse(1));
    obtain(1);
    session->endSession();
    EXPECT_FALSE(mayUse(0));
    EXPECT_FALSE(mayUse(1));
    EXPECT_TRUE(proxiesAre(0));
}

TEST_F(ChannelOfSessions, StaysWithAnNmsThatLogsInAgainWithinAPingInterval) {
    start(3);
    emsSession::EmsSession_I_var session = logIn(0);
    obtain(0);
    emsSession::EmsSession_I_var other = logIn(1);  // this session replaces the first one
    EXPECT_FALSE(mayUse(0));
    obtain(1);
    session = logIn(0);
    EXPECT_TRUE(mayUse(0));
    const emsSession::EmsSession_I_var another = logIn(2, 2);
    obtain(2);
    another->endSession();
    ASSERT_TRUE(trace_.waitFor("is dropped")) << "a ping interval has passed";
    EXPECT_EQ(proxies(), 2u) << "those of the NMS that has logged in again";
    session->endSession();
    EXPECT_TRUE(proxiesAre(0));
}

TEST_F(ChannelOfSessions, IsClosedToAUserWhoseAccountHasEnded) {
    start();
    const emsSession::EmsSession_I_var session = logIn(0);
    obtain(0);
    kelp::users::UserDatabase(kelp::users::userDatabaseFile())
        .setEnabled(RunningAgent::kUser, false);
    EXPECT_TRUE(waitUntil([&] { return !mayUse(0); }));
    EXPECT_TRUE(proxiesAre(0));
}

}  // namespace
