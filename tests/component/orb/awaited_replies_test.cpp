// The replies to pushes that are awaited, from peers that keep to the protocol and from others. A
// push must have the outcome of an ordinary one, and harm no later push.

#include <random>

#include "awaited_push.h"
#include "hostile_server.h"

namespace {

using namespace kelp::test;
using Answer = HostileServer::Answer;

constexpr std::chrono::milliseconds kShortLimit{300};
const std::string kDisconnected = "IDL:omg.org/CosEventComm/Disconnected:1.0";
const std::string kNoResources = "IDL:omg.org/CORBA/NO_RESOURCES:1.0";

std::string cdrString(const std::string& text) {
    return littleEndian(text.size() + 1) + text + '\0';
}

/// The content of a reply with a system exception.
std::string systemException(const std::string& id) {
    std::string octets = cdrString(id);
    octets.resize((octets.size() + 3) / 4 * 4);
    return octets + littleEndian(7) + littleEndian(1);
}

std::string nextFragment(std::uint32_t number, const std::string& content, bool more) {
    return giopMessage(Giop::Fragment, littleEndian(number) + content, more);
}

std::string bigEndianReply(std::uint32_t number) {
    const auto bigEndian = [](std::uint32_t value) {
        std::string octets = littleEndian(value);
        return std::string(octets.rbegin(), octets.rend());
    };
    return std::string("GIOP\1\2\0\1", 8) + bigEndian(12) + bigEndian(number) + bigEndian(0) +
           bigEndian(0);
}

/// Return a reference as a forwarding reply holds it.
std::string octetsOf(CORBA::ORB_ptr orb, CORBA::Object_ptr object) {
    const CORBA::String_var text = orb->object_to_string(object);
    // "IOR:", then an encapsulation in digits: its byte order, padding and the reference
    const std::string digits = std::string(text.in()).substr(4 + 2 * 4);
    std::string octets;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        octets += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return octets;
}

class AwaitedReplies : public AwaitedPushTest {
  protected:
    /// Answer the first push of each connection well, because only a connection that has served a
    /// call is used for awaited pushes; answer the second request of all as the script says.
    static HostileServer::Script second(const HostileServer::Script& script) {
        return [script](std::uint32_t number, unsigned before) -> Answer {
            return before == 1 ? script(number, before) : Answer{giopReply(number)};
        };
    }
    /// Return the outcome of a push that gets the script's answer. An undecided push is repeated
    /// with an ordinary one, as the users of awaited pushes do.
    std::string outcomeOfAwaited(const HostileServer::Script& script) {
        const HostileServer server(second(script));
        const auto consumer =
            CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
        EXPECT_EQ(ordinary(consumer.in()), kAccepted);
        const std::string outcome = awaited(consumer.in(), kShortLimit);
        EXPECT_EQ(pushes_->awaited(), 0u);
        return outcome == kUndecided ? ordinary(consumer.in(), kShortLimit) : outcome;
    }
    std::string outcomeOfOrdinary(const HostileServer::Script& script) const {
        const HostileServer server(second(script));
        const auto consumer =
            CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
        EXPECT_EQ(ordinary(consumer.in()), kAccepted);
        return ordinary(consumer.in(), kShortLimit);
    }
    void expectGoodPushes() {
        EXPECT_EQ(outcomeOfAwaited(
                      [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number)}; }),
                  kAccepted);
    }
    void expectOutcomeOfOrdinary(const HostileServer::Script& script) {
        EXPECT_EQ(outcomeOfAwaited(script), outcomeOfOrdinary(script));
        expectGoodPushes();
    }
    void expectOutcome(const std::string& outcome, const HostileServer::Script& script) {
        EXPECT_EQ(outcomeOfAwaited(script), outcome);
        EXPECT_EQ(outcomeOfOrdinary(script), outcome);
        expectGoodPushes();
    }
};

TEST_F(AwaitedReplies, MayArriveOctetByOctet) {
    expectOutcome(kAccepted, [](std::uint32_t number, unsigned) -> Answer {
        return {.octets = giopReply(number), .isInOctets = true};
    });
}

TEST_F(AwaitedReplies, MayBeInTheOtherByteOrder) {
    expectOutcome(kAccepted, [](std::uint32_t number, unsigned) -> Answer {
        return {bigEndianReply(number)};
    });
}

TEST_F(AwaitedReplies, MayConsistOfFragments) {
    expectOutcome("Disconnected", [](std::uint32_t number, unsigned) -> Answer {
        const std::string content = cdrString(kDisconnected);
        return {
            .octets = giopMessage(Giop::Reply, replyBody(number, 1, content.substr(0, 8)), true) +
                      nextFragment(number, content.substr(8, 8), true) +
                      nextFragment(number, content.substr(16), false),
            .isInOctets = true};
    });
}

TEST_F(AwaitedReplies, MayHoldExceptions) {
    expectOutcome("Disconnected", [](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 1, cdrString(kDisconnected))};
    });
    expectOutcome("NO_RESOURCES", [](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 2, systemException(kNoResources))};
    });
    expectOutcome("UNKNOWN", [](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 1, cdrString("IDL:kelp/Unheard:1.0"))};
    });
}

TEST_F(AwaitedReplies, EndWithTheirLimitIfTheyNeverCome) {
    expectOutcomeOfOrdinary([](std::uint32_t, unsigned) -> Answer { return {}; });
    EXPECT_NE(outcomeOfAwaited([](std::uint32_t, unsigned) -> Answer { return {}; }), kAccepted);
}

TEST_F(AwaitedReplies, MayStopHalfway) {
    for (const std::size_t octets : {1u, 11u, 12u, 23u})
        expectOutcomeOfOrdinary([octets](std::uint32_t number, unsigned) -> Answer {
            return {giopReply(number).substr(0, octets)};
        });
}

TEST_F(AwaitedReplies, MayBeReplacedByTheEndOfTheConnection) {
    for (const std::size_t octets : {0u, 5u, 12u, 20u}) {
        expectOutcomeOfOrdinary([octets](std::uint32_t number, unsigned) -> Answer {
            return {.octets = giopReply(number).substr(0, octets), .closes = true};
        });
        expectOutcomeOfOrdinary([octets](std::uint32_t number, unsigned) -> Answer {
            return {.octets = giopReply(number).substr(0, octets), .resets = true};
        });
    }
}

TEST_F(AwaitedReplies, MayBeReplacedByAnOrderlyEnd) {
    expectOutcome(kAccepted, [](std::uint32_t, unsigned) -> Answer {
        return {.octets = giopMessage(Giop::CloseConnection, ""), .closes = true};
    });
}

TEST_F(AwaitedReplies, AreFollowedByAnOrderlyEnd) {
    const HostileServer server([](std::uint32_t number, unsigned) -> Answer {
        return {.octets = giopReply(number) + giopMessage(Giop::CloseConnection, ""),
                .closes = true};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    for (int i = 0; i < 5; ++i) {
        const std::string outcome = awaited(consumer.in());
        EXPECT_TRUE(outcome == kNotSent || outcome == kUndecided || outcome == kAccepted)
            << outcome;
        EXPECT_EQ(ordinary(consumer.in()), kAccepted);
    }
}

/// An ordinary push would wait for its own reply until its limit is over.
TEST_F(AwaitedReplies, EndThePushIfTheyBelongToAnotherRequest) {
    EXPECT_EQ(outcomeOfAwaited(
                  [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number + 2)}; }),
              "COMM_FAILURE");
    expectGoodPushes();
}

TEST_F(AwaitedReplies, MayFollowThoseOfOtherRequests) {
    outcomeOfAwaited([](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number - 1) + giopReply(number + 1) + giopReply(number)};
    });
    expectGoodPushes();
}

TEST_F(AwaitedReplies, MayComeTwice) {
    expectOutcomeOfOrdinary([](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number) + giopReply(number)};
    });
}

TEST_F(AwaitedReplies, MayBeLongerThanAnyReplyOfAPush) {
    expectOutcome("COMM_FAILURE", [](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 0, std::string(200000, 'x'))};
    });
}

TEST_F(AwaitedReplies, MayClaimFourGigabytes) {
    expectOutcomeOfOrdinary([](std::uint32_t number, unsigned) -> Answer {
        std::string answer = giopReply(number);
        answer.replace(8, 4, 4, '\xff');
        return {answer};
    });
}

TEST_F(AwaitedReplies, MayHaveEndlessFragments) {
    EXPECT_NE(outcomeOfAwaited([](std::uint32_t number, unsigned) -> Answer {
                  std::string answer = giopMessage(
                      Giop::Reply, replyBody(number, 1, littleEndian(0x7fffffff)), true);
                  for (int i = 0; i < 20000; ++i)
                      answer += nextFragment(number, "xxxx", true);
                  return {answer};
              }),
              kAccepted);
    expectGoodPushes();
}

TEST_F(AwaitedReplies, MayBeNoGiop) {
    for (const std::string& octets :
         {std::string(12, '\0'), std::string(3000, 'G'),
          std::string("HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n")})
        expectOutcomeOfOrdinary([octets](std::uint32_t, unsigned) -> Answer { return {octets}; });
}

TEST_F(AwaitedReplies, MayHaveEveryStatus) {
    for (std::uint32_t status = 3; status < 9; ++status)
        expectOutcomeOfOrdinary([status](std::uint32_t number, unsigned) -> Answer {
            return {giopReply(number, status, littleEndian(0xffffffff))};
        });
}

TEST_F(AwaitedReplies, MayForwardTheCall) {
    const HostileServer other(
        [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number)}; });
    const CORBA::Object_var target = kelp::orb::toReference(orb_.orb(), other.corbaloc());
    const std::string reference = octetsOf(orb_.orb(), target.in());
    expectOutcome(kAccepted, [&reference](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 3, reference)};
    });
    EXPECT_GE(other.requests(), 1u);
}

TEST_F(AwaitedReplies, MayBeRequests) {
    for (const Giop type : {Giop::Request, Giop::CancelRequest, Giop::LocateReply, Giop::Error})
        expectOutcomeOfOrdinary([type](std::uint32_t number, unsigned) -> Answer {
            return {giopMessage(type, littleEndian(number) + std::string(60, '\0'))};
        });
}

TEST_F(AwaitedReplies, MayBeChangedAtRandom) {
    std::mt19937 random(20);
    for (int round = 0; round < 60; ++round) {
        outcomeOfAwaited([&random](std::uint32_t number, unsigned) -> Answer {
            std::string answer = giopReply(number, static_cast<std::uint32_t>(random() % 7),
                                           cdrString(kDisconnected));
            for (std::size_t changes = 1 + random() % 3; changes > 0; --changes)
                answer[4 + random() % (answer.size() - 4)] = static_cast<char>(random());
            return {.octets = answer, .closes = true};
        });
    }
    expectGoodPushes();
}

}  // namespace
