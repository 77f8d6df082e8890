// An NMS that answers the EMS's calls with something other than a proper reply.

#include <poll.h>

#include "attacks/attacked_host.h"

namespace kelp::test {
namespace {

/// Maximum number of pings: the host pings every second with a time-out of 1 s, and the attacker
/// stays for 6 s.
constexpr long kPings = 8;
constexpr long kCallsAPing = 6;

class CallBackAttacks : public AttackedHost {
  protected:
    void SetUp() override { startHost(); }
    Seen answerWith(const std::string& answer, const std::string& place = "itself") {
        return attack(
            "answer_badly",
            {{"user", kUser}, {"password", Host::kPassword}, {"answer", answer}, {"place", place}});
    }
};

TEST_F(CallBackAttacks, AForwardToItselfIsFollowedAFewTimes) {
    const Seen seen = answerWith("forward");
    EXPECT_EQ(numberIn(seen, "session"), 1);
    EXPECT_GE(numberIn(seen, "calls"), 1);
    EXPECT_LE(numberIn(seen, "calls"), kPings * kCallsAPing);
    expectUnharmed();
}

TEST_F(CallBackAttacks, HalfAReplyAndAnEndOfTheConnectionRepeatTheCallAFewTimes) {
    const Seen seen = answerWith("half_reply_and_close");
    EXPECT_GE(numberIn(seen, "calls"), 1);
    EXPECT_LE(numberIn(seen, "calls"), kPings * kCallsAPing);
    expectUnharmed();
}

TEST_F(CallBackAttacks, AnEndOfTheConnectionWithoutAReplyRepeatsTheCallAFewTimes) {
    const Seen seen = answerWith("close_at_once");
    EXPECT_GE(numberIn(seen, "calls"), 1);
    EXPECT_LE(numberIn(seen, "calls"), kPings * kCallsAPing);
    expectUnharmed();
}

TEST_F(CallBackAttacks, FragmentsBehindAReplyHarmNobody) {
    const Seen seen = answerWith("fragment_after_reply");
    EXPECT_GE(numberIn(seen, "calls"), 1);
    expectUnharmed();
}

TEST_F(CallBackAttacks, AForwardToAnotherAddressIsNotFollowed) {
    // this listener stands for another party's machine
    const Socket elsewhere = tcpSocket();
    sockaddr_in address = loopbackAddress(0);
    address.sin_addr.s_addr = ::inet_addr("127.0.0.9");
    ASSERT_EQ(::bind(elsewhere.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    ASSERT_EQ(::listen(elsewhere.fd(), 8), 0);
    const Seen seen = answerWith("forward", "127.0.0.9:" + std::to_string(portOf(elsewhere)));
    EXPECT_GE(numberIn(seen, "calls"), 1);
    pollfd dialled{elsewhere.fd(), POLLIN, 0};
    EXPECT_EQ(::poll(&dialled, 1, 0), 0) << "the host has dialled the address";
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
