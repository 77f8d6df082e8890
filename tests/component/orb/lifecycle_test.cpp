#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/orb/servants.h>
#include <kelp/orb/timeouts.h>

#include <atomic>
#include <thread>
#include <vector>

#include "session_object.h"
#include "support/latch.h"
#include "support/tcp_peers.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::describe;
using kelp::orb::Endpoint;
using kelp::orb::OrbOptions;
using kelp::orb::ReferenceContent;
using kelp::orb::start;

class RequestCounter : public kelp::orb::RequestHook {
  public:
    std::atomic<int> count{0};
    void received(const kelp::orb::RequestInfo&) override { ++count; }
    void dispatching(const kelp::orb::RequestInfo&) override { ++count; }
    void finished(const kelp::orb::RequestInfo&, const CORBA::Exception*) noexcept override {
        ++count;
    }
};

std::vector<std::string> addressesOf(const RunningOrb& orb) {
    const CORBA::Object_var object = orb.root()->create_reference("IDL:T:1.0");
    ReferenceContent content;
    EXPECT_TRUE(describe(orb.orb(), object.in(), content));
    std::vector<std::string> texts;
    for (const Endpoint& endpoint : content.endpoints)
        texts.push_back(kelp::orb::hostAndPort(endpoint));
    return texts;
}

void destroy(CORBA::ORB_ptr started) {
    const CORBA::ORB_var orb(started);
    orb->destroy();
}

TEST(Lifecycle, ASecondOrbAfterTheFirstHasItsOwnHookAndOptions) {
    RequestCounter first;
    RequestCounter second;
    OrbOptions options = loopbackOptions();
    options.publish = "first.example:9999";
    {
        const RunningOrb orb(&first, options);
        EXPECT_THAT(addressesOf(orb), testing::ElementsAre("first.example:9999"));
    }
    const RunningOrb orb(&second, loopbackOptions());
    EXPECT_THAT(addressesOf(orb), testing::ElementsAre("127.0.0.1:" + std::to_string(orb.port())));
    SessionObject session(orb);
    session.remote()->ping();
    EXPECT_TRUE(waitUntil([&] { return second.count == 3; })) << second.count;
    EXPECT_EQ(first.count, 0);
}

TEST(Lifecycle, ManyOrbsOneAfterAnotherServeCalls) {
    for (int cycle = 0; cycle < 5; ++cycle) {
        RequestCounter hook;
        RunningOrb orb(&hook);
        SessionObject session(orb);
        session.remote()->ping();
        EXPECT_EQ(session.servant().pings, 1);
        orb.destroy();
        EXPECT_EQ(hook.count, 3);
    }
}

TEST(Lifecycle, ASecondOrbNextToTheFirstIsRefused) {
    RequestCounter hook;
    RunningOrb orb(&hook);
    RequestCounter other;
    EXPECT_THROW(destroy(start(loopbackOptions(), &other)), CORBA::BAD_INV_ORDER);
    SessionObject session(orb);
    session.remote()->ping();
    EXPECT_TRUE(waitUntil([&] { return hook.count == 3; }));
    EXPECT_EQ(other.count, 0);
}

TEST(Lifecycle, AnOrbThatIsShutDownMustBeDestroyedBeforeTheNextStart) {
    const CORBA::ORB_var orb = start(loopbackOptions(), nullptr);
    orb->shutdown(true);
    EXPECT_THROW(destroy(start(loopbackOptions(), nullptr)), CORBA::BAD_INV_ORDER);
    orb->destroy();
    EXPECT_NO_THROW(destroy(start(loopbackOptions(), nullptr)));
}

TEST(Lifecycle, ABusyPortIsRefusedAndTheNextStartSucceeds) {
    const DeafListener busy;
    OrbOptions options;
    options.listen = {busy.hostAndPort()};
    EXPECT_THROW(destroy(start(options, nullptr)), CORBA::INITIALIZE);
    const RunningOrb orb;
    SessionObject session(orb);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST(Lifecycle, AnAddressThatIsNotOursIsRefused) {
    for (const char* address :
         {"192.0.2.1:0", "no.such.host.invalid:0", "nonsense", "127.0.0.1:99999999"}) {
        OrbOptions options;
        options.listen = {address};
        EXPECT_THROW(destroy(start(options, nullptr)), CORBA::SystemException) << address;
    }
}

TEST(Lifecycle, AnUnknownCharacterSetIsRefused) {
    OrbOptions options = loopbackOptions();
    options.charSet = "NO-SUCH-SET";
    EXPECT_THROW(destroy(start(options, nullptr)), CORBA::SystemException);
    EXPECT_NO_THROW(destroy(start(loopbackOptions(), nullptr)));
}

TEST(Lifecycle, ListensOnTheGivenPort) {
    OrbOptions options;
    const std::uint16_t port = freePort();
    options.listen = {"127.0.0.1:" + std::to_string(port)};
    const RunningOrb orb(nullptr, options);
    EXPECT_EQ(orb.port(), port);
    SessionObject session(orb);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST(Lifecycle, ListensOnEveryGivenAddress) {
    OrbOptions options;
    options.listen = {"127.0.0.1:0", "127.0.0.2:0"};
    const RunningOrb orb(nullptr, options);
    const auto addresses = addressesOf(orb);
    ASSERT_EQ(addresses.size(), 2U);
    EXPECT_TRUE(addresses[0].starts_with("127.0.0.1:"));
    EXPECT_TRUE(addresses[1].starts_with("127.0.0.2:"));
}

/// Return options with two addresses: references contain one, well-known keys are served at the
/// other.
OrbOptions optionsWithKeyAddress() {
    OrbOptions options;
    options.listen = {"127.0.0.1:" + std::to_string(freePort())};
    options.keyListen = {"127.0.0.1:" + std::to_string(freePort())};
    return options;
}

TEST(Lifecycle, ServesAKeyOnAnAddressThatNoReferenceNames) {
    const OrbOptions options = optionsWithKeyAddress();
    const RunningOrb orb(nullptr, options);
    EXPECT_THAT(addressesOf(orb), testing::ElementsAre(options.listen.front()));
    SessionObject session(orb);
    kelp::orb::publishKey(orb.orb(), "Key", &session.servant(), session.inProcess());
    for (const std::string& address : {options.listen.front(), options.keyListen.front()}) {
        const CORBA::Object_var object = kelp::orb::toReference(
            orb.orb(), "corbaloc::127.1" + address.substr(address.rfind(':')) + "/Key");
        const nmsSession::NmsSession_I_var remote =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        EXPECT_NO_THROW(remote->ping()) << address;
    }
    EXPECT_EQ(session.servant().pings, 2);
}

TEST(Lifecycle, PublishedHostStandsForTheAddressOfReferencesOnly) {
    OrbOptions options = optionsWithKeyAddress();
    options.publish = "ems.example";
    const RunningOrb orb(nullptr, options);
    EXPECT_THAT(addressesOf(orb),
                testing::ElementsAre("ems.example" + options.listen.front().substr(9)));
}

TEST(Lifecycle, KeyAddressThatReferencesNameTooIsOpenedOnce) {
    OrbOptions options = optionsWithKeyAddress();
    options.keyListen = options.listen;
    const RunningOrb orb(nullptr, options);
    EXPECT_THAT(addressesOf(orb), testing::ElementsAre(options.listen.front()));
}

TEST(Lifecycle, PublishesAnotherHostWithThePortItListensOn) {
    const std::uint16_t port = freePort();
    OrbOptions options;
    options.listen = {"127.0.0.1:" + std::to_string(port)};
    options.publish = "ems.example";
    const RunningOrb orb(nullptr, options);
    EXPECT_THAT(addressesOf(orb), testing::ElementsAre("ems.example:" + std::to_string(port)));
}

TEST(Lifecycle, PublishesAnotherHostAndPort) {
    for (const std::string published :
         {"ems.example:4800", "192.0.2.9:4800", "[2001:db8::1]:4800"}) {
        OrbOptions options = loopbackOptions();
        options.publish = published;
        const RunningOrb orb(nullptr, options);
        EXPECT_THAT(addressesOf(orb), testing::ElementsAre(published));
    }
}

TEST(Lifecycle, PublishesABareIpv6Host) {
    OrbOptions options;
    options.listen = {"127.0.0.1:" + std::to_string(freePort())};
    options.publish = "2001:db8::1";
    const RunningOrb orb(nullptr, options);
    EXPECT_THAT(addressesOf(orb),
                testing::ElementsAre("[2001:db8::1]" + options.listen[0].substr(9)));
}

bool hasIpv6Loopback() {
    const Socket probe(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    return probe.fd() >= 0 &&
           ::bind(probe.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

TEST(Lifecycle, ListensOnIpv6WhereTheMachineHasIt) {
    OrbOptions options;
    options.listen = {"[::1]:0"};
    if (!hasIpv6Loopback()) {
        EXPECT_THROW(destroy(start(options, nullptr)), CORBA::SystemException);
        return;
    }
    const RunningOrb orb(nullptr, options);
    EXPECT_EQ(orb.endpoint().host, "::1");
    kelp::util::PeerAddress peer;
    SessionObject session(orb, [&] { peer = kelp::orb::currentPeer(); });
    kelp::orb::publishKey(orb.orb(), "Key", &session.servant(), session.inProcess());
    // another spelling of the address, so that the call goes over a connection
    const CORBA::Object_var object = kelp::orb::toReference(
        orb.orb(), "corbaloc:iiop:1.2@[0:0:0:0:0:0:0:1]:" + std::to_string(orb.port()) + "/Key");
    const nmsSession::NmsSession_I_var remote =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    remote->ping();
    EXPECT_EQ(peer.text, "::1");
    EXPECT_EQ(peer.ipv4, 0U);
    ASSERT_TRUE(peer.ipv6.has_value());
}

TEST(Lifecycle, AnIpv4ClientOfAWildcardListenerIsSeenAsIpv4) {
    OrbOptions options;
    options.listen = {":0"};
    const RunningOrb orb(nullptr, options);
    kelp::util::PeerAddress peer;
    SessionObject session(orb, [&] { peer = kelp::orb::currentPeer(); });
    kelp::orb::publishKey(orb.orb(), "Key", &session.servant(), session.inProcess());
    const CORBA::Object_var object = orb.overTheWireByKey("Key");
    const nmsSession::NmsSession_I_var remote =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    remote->ping();
    EXPECT_EQ(peer.text, "127.0.0.1");
    EXPECT_EQ(peer.ipv4, 0x7f000001U);
}

TEST(Lifecycle, AClientNeedsNoAddress) {
    const CORBA::ORB_var client = start({}, nullptr);
    const DeafListener deaf;
    kelp::orb::setThreadTimeout(50ms);
    const CORBA::Object_var object = kelp::orb::toReference(client.in(), deaf.corbaloc());
    EXPECT_THROW(object->_non_existent(), CORBA::TIMEOUT);
    client->destroy();
}

TEST(Lifecycle, ServingEndsWithTheShutdown) {
    RunningOrb orb;
    std::atomic<int> ended{0};
    std::vector<std::thread> servers;
    for (int i = 0; i < 2; ++i) {
        servers.emplace_back([&] {
            kelp::orb::serve(orb.orb(), 2);
            ++ended;
        });
    }
    SessionObject session(orb);
    session.remote()->ping();
    EXPECT_EQ(ended, 0);
    orb.orb()->shutdown(true);
    for (std::thread& server : servers)
        server.join();
    EXPECT_EQ(ended, 2);
    // nothing is left to serve
    kelp::orb::serve(orb.orb(), 1);
    const CORBA::ORB_var gone = CORBA::ORB::_duplicate(orb.orb());
    orb.destroy();
    kelp::orb::serve(gone.in(), 1);
}

TEST(Lifecycle, MoreCallsToOnePeerThanTheOrbsDefaultRunAtOnce) {
    const RunningOrb orb;
    kelp::orb::setProcessTimeout(60s);
    Latch gate;
    SessionObject session(orb, [&] { gate.pass(); });
    std::vector<std::thread> callers;
    for (int i = 0; i < 20; ++i)
        callers.emplace_back([&] { EXPECT_NO_THROW(session.remote()->ping()); });
    EXPECT_TRUE(gate.isReachedBy(20));
    gate.open();
    for (std::thread& caller : callers)
        caller.join();
}

TEST(Lifecycle, TextsBeyondAsciiArriveAsTheyWereSent) {
    const RunningOrb orb;
    std::string received;
    SessionObject session(orb);
    session.servant().onText = [&](const std::string& text) { received = text; };
    const std::string text = "Z\xc3\xbcrich \xe6\x9d\xb1\xe4\xba\xac \xf0\x9f\x93\xa1";
    session.remote()->eventLossOccurred("", text.c_str());
    EXPECT_EQ(received, text);
}

TEST(Lifecycle, LargeMessagesPassUpToTheLimit) {
    OrbOptions options = loopbackOptions();
    options.messageBytesMax = 4 << 20;
    const RunningOrb orb(nullptr, options);
    std::size_t received = 0;
    SessionObject session(orb);
    session.servant().onText = [&](const std::string& text) { received = text.size(); };
    const std::string fits(3 << 20, 'x');
    session.remote()->eventLossOccurred("", fits.c_str());
    EXPECT_EQ(received, fits.size());
    const std::string tooLarge(5 << 20, 'x');
    EXPECT_THROW(session.remote()->eventLossOccurred("", tooLarge.c_str()), CORBA::SystemException);
    EXPECT_EQ(received, fits.size());
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST(Servants, ReportTheirMostDerivedInterface) {
    const RunningOrb orb;
    SessionObject session(orb);
    EXPECT_EQ(kelp::orb::repositoryId(&session.servant()),
              "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0");
    EXPECT_EQ(kelp::orb::repositoryId(nullptr), "");
}

}  // namespace
