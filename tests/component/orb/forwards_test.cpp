// Calls to peers that forward them or demand a repetition.

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>
#include <kelp/orb/forwards.h>
#include <kelp/orb/timeouts.h>

#include "hostile_server.h"
#include "support/orb_fixture.h"
#include "unit/orb/hand_made_reference.h"

namespace {

using namespace kelp::test;
using kelp::orb::Endpoint;
using kelp::util::PeerAddress;

constexpr std::uint32_t kForward = 3;
constexpr std::uint32_t kNeedsAddressingMode = 5;

std::string referenceTo(const std::string& host, std::uint16_t port,
                        const std::string& key = "elsewhere") {
    Iiop iiop;
    iiop.host = host;
    iiop.port = port;
    iiop.key = key;
    // as it is encoded in a message: without the byte order octet and its padding
    return referenceBytes({{0, iiopProfile(iiop)}}, "").substr(4);
}

class Forwards : public testing::Test {
  protected:
    RunningOrb orb_;
    kelp::orb::ScopedThreadTimeout limit_{std::chrono::seconds(20)};

    CORBA::Object_var object(const HostileServer& server) const {
        return kelp::orb::toReference(orb_.orb(), server.corbaloc());
    }
    void call(const HostileServer& server) const { (void)object(server)->_non_existent(); }
};

HostileServer::Script answering() {
    return [](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, 0, std::string(1, '\0'))};
    };
}

TEST_F(Forwards, ToTheSameAddressAreFollowed) {
    HostileServer target(answering());
    HostileServer first([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.1", target.port()))};
    });
    const CORBA::Object_var called = object(first);
    EXPECT_FALSE(called->_non_existent());
    EXPECT_FALSE(called->_non_existent());
    EXPECT_EQ(target.requests(), 2u);
    EXPECT_EQ(first.requests(), 1u);
}

TEST_F(Forwards, ToAnotherAddressAreNotFollowed) {
    HostileServer target(answering());
    HostileServer first([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.2", target.port()))};
    });
    EXPECT_THROW(call(first), CORBA::TRANSIENT);
    EXPECT_EQ(target.connections(), 0u);
    EXPECT_EQ(first.requests(), 1u);
}

TEST_F(Forwards, ToAHostNameAreNotFollowed) {
    HostileServer target(answering());
    HostileServer first([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("localhost", target.port()))};
    });
    EXPECT_THROW(call(first), CORBA::TRANSIENT);
    EXPECT_EQ(target.connections(), 0u);
}

TEST_F(Forwards, ToTheSenderItselfEndSoon) {
    std::atomic<std::uint16_t> port{0};
    HostileServer server([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.1", port, "hostile"))};
    });
    port = server.port();
    EXPECT_THROW(call(server), CORBA::TRANSIENT);
    EXPECT_LE(server.requests(), 4u);
}

TEST_F(Forwards, ToAnObjectOfThisProcessAreNotFollowed) {
    HostileServer server([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.1", orb_.port()))};
    });
    EXPECT_THROW(call(server), CORBA::TRANSIENT);
}

TEST_F(Forwards, ToNowhereAreNotFollowed) {
    HostileServer nil([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {
            giopReply(number, kForward, littleEndian(1) + std::string(4, '\0') + littleEndian(0))};
    });
    EXPECT_THROW(call(nil), CORBA::SystemException);
    EXPECT_EQ(nil.requests(), 1u);
    HostileServer half([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {
            giopReply(number, kForward, littleEndian(1) + std::string(4, '\0') + littleEndian(5))};
    });
    EXPECT_THROW(call(half), CORBA::SystemException);
    EXPECT_EQ(half.requests(), 1u);
}

TEST_F(Forwards, InGiantReferencesAreNotFollowed) {
    HostileServer server([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.1", 1, std::string(200000, 'k')))};
    });
    EXPECT_THROW(call(server), CORBA::SystemException);
    EXPECT_EQ(server.requests(), 1u);
}

TEST_F(Forwards, ObeyTheCheckOfTheProcess) {
    class OnlyPort final : public kelp::orb::ForwardCheck {
      public:
        bool mayFollow(const PeerAddress& from, const Endpoint& to) const override {
            return from.text == "127.0.0.1" && to.host == "127.0.0.2" && to.port == port;
        }
        std::uint16_t port = 0;
    };
    OnlyPort check;
    HostileServer target(answering());
    std::atomic<std::uint16_t> port{0};
    HostileServer first([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopReply(number, kForward, referenceTo("127.0.0.2", port))};
    });
    check.port = 9;
    port = 9;
    kelp::orb::checkForwards(&check);
    EXPECT_THROW(call(first), CORBA::SystemException) << "nobody listens there";
    port = 10;
    EXPECT_THROW(call(first), CORBA::TRANSIENT);
    kelp::orb::checkForwards(nullptr);
}

TEST_F(Forwards, AnotherWayOfAddressingIsRefused) {
    for (const char mode : {'\0', '\1', '\2', '\7'}) {
        HostileServer server([&](std::uint32_t number, unsigned) -> HostileServer::Answer {
            return {giopReply(number, kNeedsAddressingMode, std::string(1, mode) + '\0')};
        });
        EXPECT_THROW(call(server), CORBA::SystemException);
        EXPECT_LE(server.requests(), 6u);
    }
}

TEST_F(Forwards, ACallIsRepeatedAFewTimesOnConnectionsThatClose) {
    HostileServer server([](std::uint32_t, unsigned) -> HostileServer::Answer {
        return {giopMessage(Giop::CloseConnection, ""), true};
    });
    EXPECT_THROW(call(server), CORBA::SystemException);
    EXPECT_LE(server.requests(), 6u);
}

TEST_F(Forwards, ACallIsRepeatedAFewTimesAfterHalfReplies) {
    HostileServer server([](std::uint32_t number, unsigned) -> HostileServer::Answer {
        return {giopMessage(Giop::Reply, replyBody(number, 0, ""), true) +
                    giopMessage(Giop::CloseConnection, ""),
                true};
    });
    EXPECT_THROW(call(server), CORBA::SystemException);
    EXPECT_LE(server.requests(), 6u);
}

TEST_F(Forwards, CallsOneAfterTheOtherAreNotCountedTogether) {
    HostileServer server(answering());
    const CORBA::Object_var called = object(server);
    for (int i = 0; i < 50; ++i)
        EXPECT_FALSE(called->_non_existent());
    EXPECT_EQ(server.requests(), 50u);
}

TEST_F(Forwards, CallsToAPeerThatClosesEachConnectionSucceed) {
    HostileServer server([](std::uint32_t number, unsigned before) -> HostileServer::Answer {
        if (before % 2 == 1)
            return {giopMessage(Giop::CloseConnection, ""), true};
        return {giopReply(number, 0, std::string(1, '\0'))};
    });
    const CORBA::Object_var called = object(server);
    for (int i = 0; i < 10; ++i)
        EXPECT_FALSE(called->_non_existent());
}

}  // namespace
