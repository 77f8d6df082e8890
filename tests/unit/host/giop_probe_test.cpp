#include "giop_probe.h"

#include "support/omninames.h"
#include "support/tcp_peers.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace kelp::host {
namespace {

using namespace std::chrono_literals;

/// A server that answers one connection with fixed bytes.
class OneAnswer {
  public:
    explicit OneAnswer(std::string answer) : listener_(test::boundSocket()), answer_(std::move(answer)) {
        ::listen(listener_.fd(), 1);
        thread_ = std::thread([this] {
            const test::Socket peer(::accept(listener_.fd(), nullptr, nullptr));
            char request[64];
            (void)::recv(peer.fd(), request, sizeof request, 0);
            (void)::send(peer.fd(), answer_.data(), answer_.size(), MSG_NOSIGNAL);
        });
    }
    ~OneAnswer() { thread_.join(); }
    OneAnswer(const OneAnswer&) = delete;
    OneAnswer& operator=(const OneAnswer&) = delete;

    std::uint16_t port() const { return test::portOf(listener_); }

  private:
    test::Socket listener_;
    std::string answer_;
    std::thread thread_;
};

std::string locateReply(char littleEndian, const std::string& requestIdAndStatus) {
    return std::string("GIOP\1\0", 6) + littleEndian + std::string("\4\0\0\0\10", 5) + requestIdAndStatus;
}

bool answered(const std::string& reply) {
    const OneAnswer server(reply);
    return objectAnswers("127.0.0.1", server.port(), "NameService", 5s);
}

TEST(GiopProbeTest, FindsTheObjectOfARunningNamingService) {
    const test::OmniNames naming;
    EXPECT_TRUE(objectAnswers("127.0.0.1", naming.port(), "NameService", 5s));
    EXPECT_FALSE(objectAnswers("127.0.0.1", naming.port(), "NoSuchService", 5s));
}

TEST(GiopProbeTest, UnderstandsBothByteOrders) {
    EXPECT_TRUE(answered(locateReply(0, std::string("\0\0\0\1\0\0\0\1", 8))));
    EXPECT_TRUE(answered(locateReply(1, std::string("\1\0\0\0\1\0\0\0", 8))));
    EXPECT_FALSE(answered(locateReply(0, std::string("\0\0\0\1\1\0\0\0", 8))));
}

TEST(GiopProbeTest, TakesAForwardForAnAnswerAndAnUnknownObjectForNone) {
    EXPECT_TRUE(answered(locateReply(0, std::string("\0\0\0\1\0\0\0\2", 8))));
    EXPECT_FALSE(answered(locateReply(0, std::string("\0\0\0\1\0\0\0\0", 8))));
}

TEST(GiopProbeTest, OtherProtocolsAndBrokenAnswersAreNoAnswer) {
    EXPECT_FALSE(answered("HTTP/1.1 400 Bad Request\r\n\r\n"));
    EXPECT_FALSE(answered("GIOP"));
    EXPECT_FALSE(answered(""));
}

TEST(GiopProbeTest, SilentServerIsGivenUpAtTheLimit) {
    const test::DeafListener deaf;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(objectAnswers("127.0.0.1", deaf.port(), "NameService", 100ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 90ms);
}

TEST(GiopProbeTest, ClosedPortAndUnknownHostAreNoAnswer) {
    EXPECT_FALSE(objectAnswers("127.0.0.1", test::freePort(), "NameService", 5s));
    EXPECT_FALSE(objectAnswers("no.such.host.invalid", 4801, "NameService", 5s));
}

}  // namespace
}  // namespace kelp::host
