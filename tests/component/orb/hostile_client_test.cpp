#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <random>

#include "poa_maker.h"
#include "raw_giop.h"
#include "session_object.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;

class HostileClient : public testing::Test {
  protected:
    void expectServedAsBefore() {
        SessionObject bystander(orb_);
        EXPECT_NO_THROW(bystander.remote()->ping());
        EXPECT_EQ(bystander.servant().pings, 1);
    }
    std::string keyOf(const SessionObject& session) const {
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb_.orb(), session.inProcess(), content));
        return content.objectKey;
    }
    std::string keyOfSession() const { return keyOf(session_); }

    static kelp::orb::OrbOptions impatient() {
        kelp::orb::OrbOptions options = loopbackOptions();
        options.replyTimeout = std::chrono::milliseconds(300);
        return options;
    }

    RunningOrb orb_{nullptr, impatient()};
    SessionObject session_{orb_};
};

TEST_F(HostileClient, ThatSendsGarbageHarmsNobody) {
    std::mt19937 random(1);
    for (int round = 0; round < 100; ++round) {
        const Socket socket = connectTo(orb_.port());
        std::string bytes(1 + random() % 300, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        sendBytes(socket, bytes);
    }
    expectServedAsBefore();
}

TEST_F(HostileClient, ThatChangesBytesOfARequestHarmsNobody) {
    std::mt19937 random(2);
    const std::string request = giopRequest(keyOfSession(), "ping");
    for (std::size_t at = 0; at < request.size(); ++at) {
        const Socket socket = connectTo(orb_.port());
        std::string bytes = request;
        bytes[at] = static_cast<char>(random());
        sendBytes(socket, bytes);
    }
    expectServedAsBefore();
}

TEST_F(HostileClient, ThatAnnouncesAHugeMessageHarmsNobody) {
    const Socket socket = connectTo(orb_.port());
    std::string bytes = giopRequest(keyOfSession(), "ping");
    bytes.replace(8, 4, "\x7f\xff\xff\xff");
    sendBytes(socket, bytes);
    expectServedAsBefore();
    EXPECT_EQ(session_.servant().pings, 0);
    orb_.destroy();
    EXPECT_TRUE(isClosedByPeer(socket));
}

TEST_F(HostileClient, ThatNeverFinishesARequestDoesNotKeepTheOrbFromStopping) {
    const std::string request = giopRequest(keyOfSession(), "ping");
    std::vector<Socket> sockets;
    for (std::size_t length = 1; length < request.size(); length += 7) {
        sockets.push_back(connectTo(orb_.port()));
        sendBytes(sockets.back(), request.substr(0, length));
    }
    expectServedAsBefore();
    orb_.destroy();
    for (const Socket& socket : sockets)
        EXPECT_TRUE(isClosedByPeer(socket));
}

TEST_F(HostileClient, ThatDoesNotReadItsReplyDoesNotKeepASessionFromEnding) {
    const PortableServer::POA_var top = makePoa(orb_.root(), orb_.manager(), "EMS<1>");
    SessionObject session(orb_, top.in());
    // a reply much larger than the sockets' buffers
    PortableServer::ObjectId largeId;
    largeId.length(32 << 20);
    for (CORBA::ULong i = 0; i < largeId.length(); ++i)
        largeId[i] = 'x';
    const PortableServer::POA_var holder = makeLocatorPoa(orb_.root(), orb_.manager(), "large");
    const CORBA::Object_var large =
        holder->create_reference_with_id(largeId, "IDL:mtnm.tmforum.org/session/Session_I:1.0");
    session.servant().associated = session::Session_I::_unchecked_narrow(large.in());

    const Socket socket = connectTo(orb_.port());
    sendBytes(socket, giopRequest(keyOf(session), "_get_associatedSession"));
    EXPECT_TRUE(waitUntil([&] { return session.servant().associatedSessions == 1; }));
    kelp::orb::beginDestroy(top.in());
    EXPECT_TRUE(kelp::orb::waitUntilGone("EMS<1>", std::chrono::seconds(20)));
    expectServedAsBefore();
}

TEST_F(HostileClient, ThatLeavesInTheMiddleOfARequestHarmsNobody) {
    const std::string request = giopRequest(keyOfSession(), "ping");
    for (std::size_t length = 0; length < request.size(); length += 3) {
        const Socket socket = connectTo(orb_.port());
        sendBytes(socket, request.substr(0, length));
    }
    expectServedAsBefore();
}

TEST_F(HostileClient, ThatSendsKeysOfEveryFormHarmsNobody) {
    using namespace std::string_literals;
    for (const std::string& key :
         {""s, "\xff"s, "\xff\xff\xff"s, "\xfe"s, "\xff\xfe"s, "\xffname"s, "\xffname\0"s,
          "\xffname\xfe"
          "123"s,
          "\xff\0\0"s, std::string(70000, '\xff')}) {
        const Socket socket = connectTo(orb_.port());
        sendBytes(socket, giopRequest(key, "ping"));
        sendBytes(socket, giopRequest(key, "_is_a"));
    }
    expectServedAsBefore();
}

}  // namespace
