#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "raw_connection.h"
#include "session_object.h"
#include "support/latch.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;

class GateFraming : public testing::Test {
  protected:
    GateFraming() {
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb_.orb(), session_.inProcess(), content));
        key_ = content.objectKey;
    }

    GiopRequest ping(std::uint32_t id, std::uint8_t minor = 2) const {
        GiopRequest request;
        request.minor = minor;
        request.id = id;
        request.key = key_;
        return request;
    }
    /// Return a request that is long enough to be split.
    GiopRequest longRequest(std::uint32_t id, std::size_t octets = 200) const {
        GiopRequest request = ping(id);
        request.operation = "eventLossCleared";
        // The writer's content begins at octet 12, the parameters begin at a multiple of 8. The
        // difference of 4 octets does not matter, because nothing here is aligned to 8.
        request.arguments =
            GiopWriter().octets(std::string(octets, 'x') + '\0').message(0).substr(12);
        return request;
    }
    static std::string sent(const std::vector<std::string>& messages) {
        std::string all;
        for (const std::string& each : messages)
            all += each;
        return all;
    }
    void expectResult(const RawConnection& connection, std::uint32_t id) const {
        const auto answer = connection.receive();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->type, GiopType::Reply);
        EXPECT_EQ(answer->id, id);
        EXPECT_EQ(answer->status, 0U);
    }
    void expectServedAsBefore() {
        SessionObject bystander(orb_);
        EXPECT_NO_THROW(bystander.remote()->ping());
        EXPECT_EQ(bystander.servant().pings, 1);
    }

    RunningOrb orb_;
    std::function<void()> onPing_ = [] {};
    SessionObject session_{orb_, [this] { onPing_(); }};
    std::string key_;
};

TEST_F(GateFraming, AnswersRequestsInEveryPartition) {
    const std::string request = requestMessage(ping(1));
    const RawConnection connection(orb_.port());
    for (std::size_t at = 1; at < request.size(); at += 5) {
        connection.send(request.substr(0, at));
        EXPECT_TRUE(connection.isSilentFor(2));
        connection.send(request.substr(at));
        expectResult(connection, 1);
    }
}

TEST_F(GateFraming, AnswersRequestsThatArriveTogether) {
    constexpr std::uint32_t count = 300;
    std::string all;
    for (std::uint32_t id = 1; id <= count; ++id)
        all += requestMessage(id % 3 == 0 ? longRequest(id, 300) : ping(id));
    const RawConnection connection(orb_.port());
    connection.send(all);
    std::vector<std::uint32_t> answered;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto answer = connection.receive();
        ASSERT_TRUE(answer);
        answered.push_back(answer->id);
    }
    std::sort(answered.begin(), answered.end());
    for (std::uint32_t id = 1; id <= count; ++id)
        EXPECT_EQ(answered[id - 1], id);
}

TEST_F(GateFraming, AnswersWhatArrivedTogetherWithARequestThatTakesLong) {
    Latch gate;
    onPing_ = [&] { gate.pass(); };
    const RawConnection connection(orb_.port());
    connection.send(requestMessage(ping(1)) + requestMessage(ping(2)));
    // both requests are being served concurrently
    EXPECT_TRUE(gate.isReachedBy(2));
    connection.send(requestMessage(ping(3)).substr(0, 30));
    connection.send(requestMessage(ping(3)).substr(30));
    EXPECT_TRUE(gate.isReachedBy(3));
    gate.open();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(connection.receive());
}

TEST_F(GateFraming, AnswersARequestInFragments) {
    const RawConnection connection(orb_.port());
    for (std::uint32_t id = 1; id < 5; ++id) {
        connection.send(sent(fragmentsOf(longRequest(id), 64, 24)));
        expectResult(connection, id);
    }
}

TEST_F(GateFraming, AnswersAnOlderRequestInFragments) {
    GiopRequest request = ping(1, 1);
    request.operation = "eventLossOccurred";
    GiopWriter first = requestWriter(request);
    first.align(4).unsignedLong(101).raw(std::string(30, 'x'));
    // alignment starts again in the fragment
    GiopWriter last(1);
    last.raw(std::string(70, 'y') + '\0').text("second");
    std::string text;
    session_.servant().onText = [&](const std::string& given) { text = given; };
    const RawConnection connection(orb_.port());
    for (int round = 0; round < 3; ++round) {
        connection.send(giopMessage(first, GiopType::Request, true));
        EXPECT_TRUE(connection.isSilentFor(20));
        connection.send(giopMessage(last, GiopType::Fragment));
        const auto answer = connection.receive();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->type, GiopType::Reply);
        EXPECT_EQ(text, "second");
    }
}

TEST_F(GateFraming, HoldsBackAFragmentAfterACompletedRequest) {
    for (int round = 0; round < 50; ++round) {
        const RawConnection connection(orb_.port());
        connection.send(requestMessage(ping(1)) +
                        messageOfId(GiopType::Fragment, 1, std::string(8, '\0')));
        EXPECT_TRUE(connection.isClosed());
    }
    for (int round = 0; round < 50; ++round) {
        const RawConnection connection(orb_.port());
        connection.send(requestMessage(ping(1)));
        connection.send(messageOfId(GiopType::Fragment, 1, std::string(8, '\0'), true));
        EXPECT_TRUE(connection.isClosed());
    }
    expectServedAsBefore();
}

TEST_F(GateFraming, ForgetsHalfARequestThatIsCancelled) {
    const RawConnection connection(orb_.port());
    for (std::uint32_t id = 1; id < 50; ++id) {
        connection.send(fragmentsOf(longRequest(id), 64, 40)[0] +
                        messageOfId(GiopType::CancelRequest, id));
        connection.send(requestMessage(ping(id + 100)));
        expectResult(connection, id + 100);
    }
    expectServedAsBefore();
    orb_.destroy();
    EXPECT_TRUE(connection.isClosed());
}

TEST_F(GateFraming, ServesARequestThatIsCancelledTooLate) {
    Latch gate;
    onPing_ = [&] { gate.pass(); };
    const RawConnection connection(orb_.port());
    connection.send(requestMessage(ping(1)));
    ASSERT_TRUE(gate.isReached());
    connection.send(messageOfId(GiopType::CancelRequest, 1) +
                    messageOfId(GiopType::CancelRequest, 2));
    gate.open();
    expectResult(connection, 1);
}

TEST_F(GateFraming, AnswersATargetNamedByProfileOrReferenceOnce) {
    const RawConnection connection(orb_.port());
    std::uint32_t id = 0;
    for (const Addressing addressing : {Addressing::Profile, Addressing::Reference}) {
        GiopRequest request = ping(++id);
        request.addressing = addressing;
        connection.send(requestMessage(request));
        expectResult(connection, id);
        request.id = ++id;
        connection.send(locateMessage(request));
        const auto located = connection.receive();
        ASSERT_TRUE(located);
        EXPECT_EQ(located->type, GiopType::LocateReply);
        EXPECT_EQ(located->status, 1U);  // object here
    }
    EXPECT_TRUE(connection.isSilentFor(50));
    EXPECT_EQ(session_.servant().pings, 2);
}

TEST_F(GateFraming, ClosesForATargetWithoutAKey) {
    GiopWriter writer(2);
    writer.unsignedLong(1)
        .octet(3)
        .octet(0)
        .octet(0)
        .octet(0)
        .unsignedShort(1)
        .unsignedLong(1)
        .octets("");
    writer.text("ping").unsignedLong(0);
    const RawConnection connection(orb_.port());
    connection.send(giopMessage(writer, GiopType::Request));
    EXPECT_TRUE(connection.isClosed());
    expectServedAsBefore();
}

TEST_F(GateFraming, SaysMessageErrorAndCloses) {
    const RawConnection connection(orb_.port());
    connection.send(giopMessage(GiopWriter(2).unsignedLong(1), GiopType::Reply));
    const auto answer = connection.receive();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, GiopType::MessageError);
    EXPECT_TRUE(connection.isClosed());
}

TEST_F(GateFraming, StopsWithHalfMessagesAndSilentPeersEverywhere) {
    std::vector<RawConnection> connections;
    const auto fragments = fragmentsOf(longRequest(1), 64, 40);
    for (int i = 0; i < 20; ++i) {
        connections.emplace_back(orb_.port());  // sends nothing
        connections.emplace_back(orb_.port()).send(requestMessage(ping(1)).substr(0, 20));
        connections.emplace_back(orb_.port()).send(fragments[0]);
        const RawConnection& served = connections.emplace_back(orb_.port());
        served.send(requestMessage(ping(1)));
        expectResult(served, 1);
        served.send(fragments[0] + fragments[1].substr(0, 9));
    }
    expectServedAsBefore();
    orb_.destroy();
    for (const RawConnection& each : connections)
        EXPECT_TRUE(each.isClosed());
}

}  // namespace
