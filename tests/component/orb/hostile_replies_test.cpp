// Replies of peers that break the protocol. The call soon ends with a system exception, and the
// next call to a well-behaved peer succeeds.

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include <random>

#include "hostile_server.h"
#include "support/orb_fixture.h"

namespace {

using namespace kelp::test;
using Answer = HostileServer::Answer;

const std::string kTrue(1, '\0');
const std::string kSystemException = "IDL:omg.org/CORBA/UNKNOWN:1.0";

std::string fragment(std::uint32_t number, const std::string& content, bool more = false) {
    return giopMessage(Giop::Fragment, littleEndian(number) + content, more);
}

class HostileReplies : public testing::Test {
  protected:
    RunningOrb orb_;
    kelp::orb::ScopedThreadTimeout limit_{std::chrono::milliseconds(1000)};

    /// Make three calls in a row, so that remains of one reply meet the next call.
    void call(const HostileServer::Script& script) {
        const HostileServer server(script);
        const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), server.corbaloc());
        for (int i = 0; i < 3; ++i) {
            try {
                (void)object->_non_existent();
            } catch (const CORBA::SystemException&) {
            }
        }
        expectGoodCalls();
    }
    void expectGoodCalls() {
        const HostileServer good(
            [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number, 0, kTrue)}; });
        const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), good.corbaloc());
        EXPECT_FALSE(object->_non_existent());
    }
};

TEST_F(HostileReplies, MayHaveAFragmentAfterTheirEnd) {
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 0, kTrue) + fragment(number, "more") +
                fragment(number, "more", true)};
    });
}

TEST_F(HostileReplies, MayBeCutOff) {
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 0, kTrue).substr(0, 20), true};
    });
}

TEST_F(HostileReplies, MayHaveFragmentsWithoutANumber) {
    for (std::size_t octets = 0; octets < 5; ++octets) {
        call([octets](std::uint32_t number, unsigned) -> Answer {
            const std::string content = littleEndian(100000) + std::string(4, 'x');
            std::string answer = giopMessage(Giop::Reply, replyBody(number, 2, content), true);
            for (int i = 0; i < 50; ++i)
                answer += giopMessage(Giop::Fragment, littleEndian(number).substr(0, octets), true);
            return {answer};
        });
    }
}

/// With the octets that an earlier fragment had left in its buffer, the ORB took a fragment without
/// a request id for a part of the reply. The size of its content was negative, so the ORB read far
/// beyond the buffer.
TEST_F(HostileReplies, MayHaveFragmentsWithoutANumberAfterOthersWithOne) {
    for (std::size_t octets = 0; octets < 4; ++octets) {
        call([octets](std::uint32_t number, unsigned) -> Answer {
            std::string answer =
                giopMessage(Giop::Reply, replyBody(number, 2, littleEndian(90000000)), true);
            for (int i = 0; i < 4; ++i)
                answer += fragment(number, std::string(64, '\0'), true);
            for (int i = 0; i < 50; ++i)
                answer += giopMessage(Giop::Fragment, littleEndian(number).substr(0, octets), true);
            return {answer};
        });
    }
}

TEST_F(HostileReplies, MayHaveNoNumber) {
    for (std::size_t octets = 0; octets < 12; ++octets)
        call([octets](std::uint32_t number, unsigned) -> Answer {
            return {giopMessage(Giop::Reply, replyBody(number, 0, "").substr(0, octets))};
        });
}

TEST_F(HostileReplies, MayBeRequestsInstead) {
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopMessage(Giop::Request, littleEndian(number) + std::string(60, '\0')) +
                giopReply(number, 0, kTrue)};
    });
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopMessage(Giop::CancelRequest, littleEndian(number)) +
                giopReply(number, 0, kTrue)};
    });
}

TEST_F(HostileReplies, MayAnswerOtherCalls) {
    call([](std::uint32_t number, unsigned) -> Answer {
        std::string answer;
        for (std::uint32_t i = 1; i < 100; ++i)
            answer += giopReply(number + i, 0, kTrue) + giopReply(number - i, 0, kTrue);
        return {answer + giopReply(number, 0, kTrue)};
    });
}

TEST_F(HostileReplies, MayAnswerACallTwice) {
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopMessage(Giop::Reply, replyBody(number, 0, ""), true) +
                giopReply(number, 0, kTrue)};
    });
    call([](std::uint32_t number, unsigned) -> Answer {
        return {giopReply(number, 0, kTrue) + giopReply(number, 0, kTrue)};
    });
}

TEST_F(HostileReplies, MayHaveAnotherVersion) {
    for (const char minor : {'\0', '\1', '\3', '\x7f'})
        call([minor](std::uint32_t number, unsigned) -> Answer {
            std::string answer = giopReply(number, 0, kTrue);
            answer[5] = minor;
            return {answer};
        });
}

TEST_F(HostileReplies, MayBeEndless) {
    call([](std::uint32_t number, unsigned) -> Answer {
        std::string answer =
            giopMessage(Giop::Reply, replyBody(number, 2, littleEndian(0x7fffffff)), true);
        for (int i = 0; i < 400; ++i)
            answer += fragment(number, std::string(65536, 'x'), true);
        return {answer};
    });
}

TEST_F(HostileReplies, MayClaimFourGigabytes) {
    call([](std::uint32_t number, unsigned) -> Answer {
        std::string answer = giopReply(number, 0, kTrue);
        answer.replace(8, 4, 4, '\xff');
        return {answer};
    });
}

TEST_F(HostileReplies, MayHoldAnExceptionWithAGiantName) {
    for (const std::uint32_t status : {1u, 2u})
        call([status](std::uint32_t number, unsigned) -> Answer {
            return {giopReply(number, status, littleEndian(0xffffffff) + kSystemException)};
        });
}

TEST_F(HostileReplies, MayBeChangedAtRandom) {
    std::mt19937 random(10);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 40; ++round) {
        call([&](std::uint32_t number, unsigned) -> Answer {
            const std::string content =
                littleEndian(kSystemException.size() + 1) + kSystemException + '\0';
            std::string answer;
            if (below(2) == 0) {
                answer = giopReply(number, static_cast<std::uint32_t>(below(7)),
                                   content + std::string(16, '\0'));
            } else {
                answer =
                    giopMessage(Giop::Reply, replyBody(number, 2, content.substr(0, 8)), true) +
                    fragment(number, content.substr(8, 16), below(2) == 0) +
                    fragment(number, content.substr(24) + std::string(16, '\0'));
            }
            for (std::size_t changes = 1 + below(3); changes > 0; --changes)
                answer[4 + below(answer.size() - 4)] =
                    static_cast<char>(below(2) == 0 ? below(9) : random());
            return {answer, true};
        });
    }
}

}  // namespace
