// What may arrive on an outgoing connection.

#include "giop/reply_framing.h"

#include <gtest/gtest.h>

#include <string>

namespace kelp::test {
namespace {

using orb::giop::ReplyFraming;

constexpr char kRequest = 0;
constexpr char kReply = 1;
constexpr char kCancel = 2;
constexpr char kClose = 5;
constexpr char kFragment = 7;

std::string message(char type, std::size_t octets, char minor = 2, bool littleEndian = true) {
    std::string size(4, '\0');
    size[littleEndian ? 0 : 3] = static_cast<char>(octets);
    return std::string("GIOP\1", 5) + minor + static_cast<char>(littleEndian ? 1 : 0) + type +
           size + std::string(octets, 'x');
}

bool accepts(const std::string& octets, std::size_t step = 1000) {
    ReplyFraming framing;
    for (std::size_t at = 0; at < octets.size(); at += step) {
        const std::string part = octets.substr(at, step);
        if (!framing.accepts({reinterpret_cast<const std::uint8_t*>(part.data()), part.size()}))
            return false;
    }
    return true;
}

TEST(ReplyFraming, RepliesPassHoweverTheyAreCut) {
    const std::string messages = message(kReply, 12) + message(kReply, 100, 2, false) +
                                 message(kFragment, 4) + message(kFragment, 0, 1) +
                                 message(kReply, 12, 0) + message(kClose, 0);
    for (const std::size_t step : {1u, 5u, 12u, 13u, 1000u})
        EXPECT_TRUE(accepts(messages, step)) << step;
}

TEST(ReplyFraming, MessagesWithoutARequestIdAreRefused) {
    for (std::size_t octets = 0; octets < 4; ++octets)
        EXPECT_FALSE(accepts(message(kFragment, octets))) << octets;
    for (std::size_t octets = 0; octets < 12; ++octets)
        EXPECT_FALSE(accepts(message(kReply, octets))) << octets;
}

TEST(ReplyFraming, MessagesThatOnlyAClientSendsAreRefused) {
    EXPECT_FALSE(accepts(message(kRequest, 40)));
    EXPECT_FALSE(accepts(message(kCancel, 4)));
    EXPECT_FALSE(accepts(message(9, 40)));
}

TEST(ReplyFraming, OtherProtocolsThanGiopAreRefused) {
    EXPECT_FALSE(accepts("HTTP/1.1 200 OK\r\n"));
    std::string other = message(kReply, 12);
    other[4] = 2;
    EXPECT_FALSE(accepts(other));
}

TEST(ReplyFraming, NothingIsAcceptedAfterARefusedMessage) {
    ReplyFraming framing;
    const auto feed = [&](const std::string& octets) {
        return framing.accepts(
            {reinterpret_cast<const std::uint8_t*>(octets.data()), octets.size()});
    };
    EXPECT_FALSE(feed(message(kRequest, 12)));
    EXPECT_FALSE(feed(message(kReply, 12)));
}

}  // namespace
}  // namespace kelp::test
