// TLS at the gate: messages inside TLS records, and peers that stop half way.

#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "raw_connection.h"
#include "raw_tls.h"
#include "session_object.h"
#include "support/throw_away_certificates.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;

/// Counts refusals.
class Refusals final : public kelp::orb::GatePolicy {
  public:
    bool admits(const kelp::util::PeerAddress& peer) override { return peer.text != "127.0.0.66"; }
    bool isLoggedIn(const kelp::util::PeerAddress&) override { return true; }
    void refused(const kelp::util::PeerAddress&, std::string_view reason) override {
        const std::lock_guard guard(mutex_);
        ++counts_[std::string(reason)];
    }
    int of(const std::string& reason) const {
        const std::lock_guard guard(mutex_);
        const auto found = counts_.find(reason);
        return found == counts_.end() ? 0 : found->second;
    }
    bool waitFor(const std::string& reason) const {
        return waitUntil([&] { return of(reason) > 0; });
    }

  private:
    mutable std::mutex mutex_;
    std::map<std::string, int> counts_;  // guarded by mutex_
};

class GateTls : public testing::Test {
  protected:
    kelp::orb::OrbOptions options() {
        kelp::orb::OrbOptions made;
        made.tlsListen = {"127.0.0.1:0"};
        made.tlsCaFile = certificates_.authority();
        made.tlsKeyFile = certificates_.issue("ems");
        made.gatePolicy = &refusals_;
        return made;
    }
    std::string keyOf(const RunningOrb& orb, const SessionObject& session) const {
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb.orb(), session.inProcess(), content));
        return content.objectKey;
    }
    static std::string ping(const std::string& key, std::uint32_t id) {
        GiopRequest request;
        request.id = id;
        request.key = key;
        return requestMessage(request);
    }
    /// Return the sorted ids of the next replies.
    static std::vector<std::uint32_t> answers(RawTls& client, std::size_t count) {
        std::vector<std::uint32_t> ids;
        for (std::size_t i = 0; i < count; ++i) {
            // a header and a reply without results
            const std::string reply = client.receive(24);
            if (reply.size() != 24)
                break;
            const bool littleEndian = (reply[6] & 1) != 0;
            std::uint32_t id = 0;
            for (std::size_t octet = 0; octet < 4; ++octet)
                id = id << 8 |
                     static_cast<unsigned char>(reply[12 + (littleEndian ? 3 - octet : octet)]);
            ids.push_back(id);
        }
        std::sort(ids.begin(), ids.end());
        return ids;
    }
    void expectServed(const RunningOrb& orb) {
        SessionObject session(orb);
        kelp::orb::setThreadTimeout(20s);
        EXPECT_NO_THROW(session.remote()->ping());
    }

    const ThrowAwayCertificates certificates_;
    const std::string nms_ = certificates_.issue("nms");
    Refusals refusals_;
};

TEST_F(GateTls, AnswersRequestsThatArriveInOneRecord) {
    const RunningOrb orb(nullptr, options());
    SessionObject session(orb);
    const std::string key = keyOf(orb, session);
    RawTls client(orb.port(), nms_);
    ASSERT_TRUE(client.handshakes());
    std::string all;
    std::vector<std::uint32_t> ids;
    for (std::uint32_t id = 1; id <= 100; ++id) {
        all += ping(key, id);
        ids.push_back(id);
    }
    ASSERT_TRUE(client.send(all));
    EXPECT_EQ(answers(client, ids.size()), ids);
    // a further request after an idle moment
    ASSERT_TRUE(client.send(ping(key, 101)));
    EXPECT_EQ(answers(client, 1), std::vector<std::uint32_t>{101});
}

TEST_F(GateTls, AnswersARequestInManyRecords) {
    const RunningOrb orb(nullptr, options());
    SessionObject session(orb);
    const std::string request = ping(keyOf(orb, session), 7);
    RawTls client(orb.port(), nms_);
    ASSERT_TRUE(client.handshakes());
    for (const char octet : request)
        ASSERT_TRUE(client.send(std::string(1, octet)));
    EXPECT_EQ(answers(client, 1), std::vector<std::uint32_t>{7});
}

TEST_F(GateTls, PassesMessagesLargerThanARecordBothWays) {
    const RunningOrb orb(nullptr, options());
    SessionObject session(orb);
    GiopRequest request;
    request.key = keyOf(orb, session);
    request.operation = "eventLossCleared";
    request.arguments = GiopWriter().octets(std::string(1000000, 'x') + '\0').message(0).substr(12);
    RawTls client(orb.port(), nms_);
    ASSERT_TRUE(client.handshakes());
    ASSERT_TRUE(client.send(requestMessage(request)));
    EXPECT_EQ(answers(client, 1), std::vector<std::uint32_t>{1});
}

TEST_F(GateTls, ChecksFramesInsideTls) {
    const RunningOrb orb(nullptr, options());
    RawTls client(orb.port(), nms_);
    ASSERT_TRUE(client.handshakes());
    ASSERT_TRUE(client.send(std::string(100, 'x')));
    EXPECT_EQ(client.receive(1), "");
    expectServed(orb);
}

TEST_F(GateTls, PlainTextAndABrokenHandshakeAreRefusedAndCounted) {
    const RunningOrb orb(nullptr, options());
    const RawConnection plain(orb.port());
    plain.send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(refusals_.waitFor("TLS: http request"));
    RawTls stranger(orb.port(), ThrowAwayCertificates().issue("stranger"));
    stranger.handshakes();
    EXPECT_TRUE(refusals_.waitFor("TLS: certificate verify failed"));
    RawTls nobody(orb.port(), "");
    nobody.handshakes();
    EXPECT_TRUE(refusals_.waitFor("TLS: peer did not return a certificate"));
    {
        RawTls old(orb.port(), nms_);
        SSL_set_security_level(old.connection(), 0);
        SSL_set_min_proto_version(old.connection(), TLS1_VERSION);
        SSL_set_max_proto_version(old.connection(), TLS1_1_VERSION);
        EXPECT_FALSE(old.handshakes());
    }
    EXPECT_TRUE(refusals_.waitFor("TLS: unsupported protocol"));
    expectServed(orb);
}

TEST_F(GateTls, ForeignAddressIsClosedBeforeTheHandshake) {
    const RunningOrb orb(nullptr, options());
    RawTls foreign(orb.port(), nms_, "127.0.0.66");
    EXPECT_FALSE(foreign.handshakes());
    EXPECT_TRUE(refusals_.waitFor("address not allowed"));
}

/// Return a connection that sends only the beginning of a handshake.
std::unique_ptr<RawConnection> halfOpen(const RunningOrb& orb) {
    auto connection = std::make_unique<RawConnection>(orb.port());
    // the header of a record of 512 octets
    connection->send(std::string("\x16\x03\x01\x02\x00\x01", 6));
    return connection;
}

TEST_F(GateTls, HalfOpenHandshakesAreLimitedByAddressAndGiveWayAfterAWhile) {
    kelp::orb::OrbOptions limited = options();
    limited.gateLimits.tlsHandshakesPerAddressMax = 3;
    const RunningOrb orb(nullptr, limited);
    std::vector<std::unique_ptr<RawConnection>> held;
    for (int i = 0; i < 3; ++i)
        held.push_back(halfOpen(orb));
    // connections that have sent nothing do not count
    const RawConnection silent(orb.port());
    EXPECT_TRUE(waitUntil([&] {
        RawTls client(orb.port(), nms_);
        return !client.handshakes();
    }));
    EXPECT_GT(refusals_.of("TLS: too many handshakes at a time"), 0);
    EXPECT_TRUE(waitUntil([&] {
        RawTls client(orb.port(), nms_);
        return client.handshakes();
    })) << "the oldest gives way";
    EXPECT_TRUE(held.front()->isClosed());
}

TEST_F(GateTls, HalfOpenHandshakeIsClosedInTime) {
    kelp::orb::OrbOptions impatient = options();
    impatient.gateLimits.headerTimeout = 200ms;
    const RunningOrb orb(nullptr, impatient);
    const auto half = halfOpen(orb);
    EXPECT_TRUE(half->isClosed());
    RawTls whole(orb.port(), nms_);
    whole.handshakes();
    EXPECT_EQ(whole.receive(1), "") << "a handshake alone is not enough";
    expectServed(orb);
}

TEST_F(GateTls, AnUnreadReplyDoesNotStopTheOthers) {
    kelp::orb::OrbOptions impatient = options();
    impatient.replyTimeout = 300ms;
    const RunningOrb orb(nullptr, impatient);
    SessionObject session(orb);
    const std::string key = keyOf(orb, session);
    RawTls deaf(orb.port(), nms_);
    ASSERT_TRUE(deaf.handshakes());
    std::string all;
    for (std::uint32_t id = 1; id <= 500; ++id)
        all += ping(key, id);
    // send until the replies fill all buffers and the ORB drops the connection
    const timeval limit{0, 200000};
    ::setsockopt(deaf.socket().fd(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    EXPECT_TRUE(waitUntil([&] { return !deaf.send(all); }));
    expectServed(orb);
}

}  // namespace
