// A host whose events go to a notification service in another process, which is killed, frozen and
// restarted.

#include <cos/CosNotifyChannelAdmin.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"
#include "support/orb_fixture.h"
#include "support/recording_consumer.h"
#include "support/throw_away_certificates.h"

namespace kelp::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;

constexpr int kQueue = 20;

std::vector<std::string> numbers(int first, int last) {
    std::vector<std::string> all;
    for (int i = first; i <= last; ++i)
        all.push_back(std::to_string(i));
    return all;
}

/// A notification service that tests may kill, freeze and restart.
class ChannelServer {
  public:
    /// Restart it on its port, with a new channel that cannot be found yet. Return the channel's
    /// reference.
    std::string start() {
        process_.reset();
        std::vector<std::string> arguments = {port_.text()};
        arguments.insert(arguments.end(), tls_.begin(), tls_.end());
        process_.emplace(Launch{CHANNEL_SERVER, arguments, {}, {}, true});
        return readLine();
    }
    /// Make the channel available.
    void offer() {
        ASSERT_EQ(::write(process_->input(), "\n", 1), 1);
        ASSERT_EQ(readLine(), "offered");
    }
    /// Listen over TLS as well, from the next start on.
    void useTls(std::uint16_t port, const std::string& authority, const std::string& certificate) {
        tls_ = {std::to_string(port), authority, certificate};
    }
    ChildProcess& process() { return *process_; }
    std::uint16_t port() const { return port_.port(); }

  private:
    std::string readLine() {
        std::string line;
        for (char c = 0; line.size() < 10000;) {
            pollfd waiting{process_->output(), POLLIN, 0};
            if (::poll(&waiting, 1, 30000) <= 0 || ::read(process_->output(), &c, 1) != 1)
                throw std::runtime_error("the notification service does not start");
            if (c == '\n')
                break;
            line += c;
        }
        return line;
    }
    PortLease port_;
    std::vector<std::string> tls_;
    std::optional<ChildProcess> process_;
};

class ExternalChannelOfAHost : public testing::Test {
  protected:
    ExternalChannelOfAHost() {
        const std::string fifo = host_.scratch("events");
        if (::mkfifo(fifo.c_str(), 0600) != 0)
            throw std::runtime_error("no FIFO");
        host_.setEnvironment("KELP_TEST_EVENTS", fifo).addBundle("event_source");
        host_.set("notification", "mode", quoted("external"))
            .set("notification", "port", server_.port());
        host_.set("notification", "queue_events_max", kQueue).set("notification", "heartbeat_s", 0);
        host_.set("notification", "push_timeout_s", 1);
        host_.addUser("alice");
    }
    void startHost() {
        host_.start();
        nms_ = std::make_unique<NmsProcess>(host_);
        nms_->logIn(0, "alice");
    }
    /// Start the service, and connect our consumer to its channel before the host finds it.
    void serve() {
        const std::string reference = server_.start();
        // the first call may use the old connection to the previous service
        ASSERT_TRUE(eventually([&] {
            try {
                connectConsumer(reference);
                return true;
            } catch (const CORBA::SystemException&) {
                return false;
            }
        }));
        server_.offer();
    }
    void connectConsumer(const std::string& reference) {
        const CORBA::Object_var object = orb::toReference(orb_.orb(), reference);
        const EventChannel_var channel = EventChannel::_narrow(object.in());
        const ConsumerAdmin_var admin = channel->default_consumer_admin();
        ProxyID id = 0;
        const ProxySupplier_var proxy =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        const StructuredProxyPushSupplier_var structured =
            StructuredProxyPushSupplier::_narrow(proxy.in());
        const CosNotifyComm::StructuredPushConsumer_var consumer = consumer_->_this();
        structured->connect_structured_push_consumer(consumer.in());
    }
    Launch kelpnms(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {"--naming", "127.0.0.1:" + std::to_string(host_.namingPort()), "--user",
                          "alice", "--password-file", host_.passwordFile().string()});
        return host_.launch(KELPNMS, arguments);
    }
    void push(int first, int last) {
        std::ofstream(host_.scratch("events")) << first << ' ' << last << std::endl;
    }
    bool gets(int last) {
        return eventually([&] {
            const std::vector<std::string> names = consumer_->names();
            return !names.empty() && names.back() == std::to_string(last);
        });
    }
    /// Expect that every one of these events arrived, in order. Some may have arrived twice.
    void expectAtLeastOnce(int first, int last) {
        std::vector<std::string> names = consumer_->names();
        names.erase(names.begin(), std::find(names.begin(), names.end(), std::to_string(first)));
        std::vector<std::string> once;
        for (const std::string& each : names) {
            if (std::find(once.begin(), once.end(), each) == once.end())
                once.push_back(each);
        }
        EXPECT_EQ(once, numbers(first, last));
    }
    bool isAway() {
        return host_.log().waitFor("No events reach the notification service", ++outages_);
    }

    ChannelServer server_;
    Host host_;
    std::unique_ptr<NmsProcess> nms_;
    Consumer* consumer_ = new Consumer;
    const PortableServer::ServantBase_var keeper_{consumer_};
    RunningOrb orb_;

  private:
    std::size_t outages_ = 0;
};

TEST_F(ExternalChannelOfAHost, GetsEventsBeforeDuringAndAfterItsRestart) {
    serve();
    startHost();
    push(1, 5);
    ASSERT_TRUE(gets(5));
    server_.process().kill();
    push(6, 10);
    ASSERT_TRUE(isAway());
    serve();
    ASSERT_TRUE(gets(10));
    push(11, 11);
    ASSERT_TRUE(gets(11));
    EXPECT_EQ(consumer_->names(), numbers(1, 11));
    EXPECT_EQ(nms_->counts(0).losses, 0);
}

TEST_F(ExternalChannelOfAHost, LossWhileItIsAwayIsReportedAndClearedOnce) {
    serve();
    startHost();
    push(1, 1);
    ASSERT_TRUE(gets(1));
    server_.process().kill();
    push(2, 2);
    ASSERT_TRUE(isAway());
    push(3, 41);
    ASSERT_TRUE(eventually([&] { return nms_->counts(0).losses > 0; }));
    const int pings = nms_->counts(0).pings;
    serve();
    ASSERT_TRUE(gets(41));
    ASSERT_TRUE(eventually([&] { return nms_->counts(0).cleared > 0; }));
    push(42, 42);
    ASSERT_TRUE(gets(42));
    ASSERT_TRUE(eventually([&] { return nms_->counts(0).pings > pings + 3; }))
        << "the rounds go on";
    const CallbackCounts counts = nms_->counts(0);
    EXPECT_EQ(counts.losses, 1);
    EXPECT_EQ(counts.cleared, 1);
    // 2 is lost with the others, unless the host was just trying to send it when the queue was full
    const bool isSecondLost = counts.loss == "20240105030405.0Z 2";
    if (!isSecondLost) {
        EXPECT_EQ(counts.loss, "20240105030405.0Z 3");
    }
    std::vector<std::string> expected = numbers(1, isSecondLost ? 1 : 2);
    const std::vector<std::string> rest = numbers(isSecondLost ? 42 - kQueue : 43 - kQueue, 42);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(consumer_->names(), expected);
}

TEST_F(ExternalChannelOfAHost, FrozenChannelLosesNothingAndDoesNotAffectTheNms) {
    serve();
    startHost();
    push(1, 1);
    ASSERT_TRUE(gets(1));
    server_.process().freeze();
    push(2, 9);
    nms_->startChatter(0);
    ASSERT_TRUE(isAway());
    const int pings = nms_->counts(0).pings;
    ASSERT_TRUE(eventually([&] { return nms_->counts(0).pings > pings + 2; }));
    EXPECT_EQ(nms_->stopChatter(0).failures, 0);
    server_.process().thaw();
    ASSERT_TRUE(gets(9));
    expectAtLeastOnce(1, 9);
    EXPECT_EQ(nms_->counts(0).losses, 0);
}

TEST_F(ExternalChannelOfAHost, FrozenChannelDoesNotDelayTheStop) {
    serve();
    startHost();
    push(1, 1);
    ASSERT_TRUE(gets(1));
    server_.process().freeze();
    push(2, 2);
    ASSERT_TRUE(isAway());
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(ExternalChannelOfAHost, IsWhereAnNmsGetsItsEvents) {
    serve();
    startHost();
    ASSERT_TRUE(eventually([&] { return runToEnd(kelpnms({"find"})) == 0; }));
    ChildProcess events(kelpnms({"events", "--count", "1"}));
    int number = 0;
    ASSERT_TRUE(eventually([&] {
        ++number;
        push(number, number);
        return !events.isRunning();
    }));
    EXPECT_EQ(events.waitExit(), 0);
}

TEST_F(ExternalChannelOfAHost, IsFoundOverTlsWhenTheHostHasIt) {
    const ThrowAwayCertificates certificates;
    const PortLease tlsPort;
    const PortLease namingTlsPort;
    const PortLease serviceTlsPort;
    server_.useTls(serviceTlsPort.port(), certificates.authority(), certificates.issue("notify"));
    host_.set("tls", "mode", 1).set("tls", "listen", quoted(tlsPort.hostAndPort()));
    host_.set("tls", "ca", quoted(certificates.authority()))
        .set("tls", "certificate", quoted(certificates.issue("ems")));
    host_.set("naming", "ssl_port", namingTlsPort.port());
    host_.set("notification", "ssl_port", serviceTlsPort.port());
    serve();
    host_.start();
    push(1, 3);
    ASSERT_TRUE(gets(3));
    EXPECT_TRUE(host_.log().contains(
        "Connected to the notification service corbaloc:ssliop:1.2@127.0.0.1:" +
        serviceTlsPort.text() + "/NotificationService"));
}

TEST_F(ExternalChannelOfAHost, HostStartsWithoutIt) {
    startHost();
    push(1, 3);
    ASSERT_TRUE(isAway());
    serve();
    ASSERT_TRUE(gets(3));
    EXPECT_EQ(consumer_->names(), numbers(1, 3));
}

}  // namespace
}  // namespace kelp::test
