#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "raw_connection.h"
#include "session_object.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using kelp::util::PeerAddress;
using std::chrono::milliseconds;

/// Decides by the last octet of an address: some may not connect, one is logged in.
class Policy final : public kelp::orb::GatePolicy {
  public:
    bool admits(const PeerAddress& peer) override { return peer.text != kForeign; }
    bool isLoggedIn(const PeerAddress& peer) override { return peer.text == kNms; }
    void refused(const PeerAddress& peer, std::string_view reason) override {
        const std::lock_guard guard(mutex_);
        ++refusals_[peer.text + ": " + std::string(reason)];
    }
    int refusals(const std::string& text) const {
        const std::lock_guard guard(mutex_);
        const auto found = refusals_.find(text);
        return found == refusals_.end() ? 0 : found->second;
    }

    static constexpr const char* kNms = "127.0.0.1";
    static constexpr const char* kStranger = "127.0.0.2";  ///< may connect, is not logged in
    static constexpr const char* kForeign = "127.0.0.3";

  private:
    mutable std::mutex mutex_;
    std::map<std::string, int> refusals_;
};

[[maybe_unused]] std::size_t residentKiB() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * 4;
}

std::size_t threadCount() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Threads:"))
            return std::stoul(line.substr(8));
    }
    return 0;
}

class GateLimits : public testing::Test {
  protected:
    void start(const std::function<void(kelp::orb::OrbOptions&)>& change = [](auto&) {}) {
        kelp::orb::OrbOptions options = loopbackOptions();
        options.gatePolicy = &policy_;
        change(options);
        orb_ = std::make_unique<RunningOrb>(nullptr, options);
        session_ = std::make_unique<SessionObject>(*orb_);
        kelp::orb::ReferenceContent content;
        ASSERT_TRUE(kelp::orb::describe(orb_->orb(), session_->inProcess(), content));
        request_.key = content.objectKey;
    }
    RawConnection from(const char* address) const { return RawConnection(orb_->port(), address); }
    void expectServed(const RawConnection& connection) const {
        connection.send(requestMessage(request_));
        const auto answer = connection.receive();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->type, GiopType::Reply);
    }
    GiopRequest largeRequest(std::size_t octets) const {
        GiopRequest large = request_;
        large.operation = "eventLossCleared";
        large.arguments =
            GiopWriter().octets(std::string(octets, 'x') + '\0').message(0).substr(12);
        return large;
    }
    void expectServedAsBefore() const { expectServed(from(Policy::kNms)); }

    Policy policy_;
    std::unique_ptr<RunningOrb> orb_;
    std::unique_ptr<SessionObject> session_;
    GiopRequest request_;
};

TEST_F(GateLimits, ConnectionFromAForeignAddressIsClosedBeforeItIsRead) {
    start();
    for (int i = 0; i < 100; ++i) {
        const RawConnection foreign = from(Policy::kForeign);
        foreign.send(requestMessage(request_));
        EXPECT_TRUE(foreign.isClosed());
    }
    EXPECT_EQ(policy_.refusals("127.0.0.3: address not allowed"), 100);
    EXPECT_EQ(session_->servant().pings, 0);
    expectServedAsBefore();
}

TEST_F(GateLimits, IdleConnectionsTakeNoThreads) {
    start();
    expectServedAsBefore();
    const std::size_t before = threadCount();
    std::vector<RawConnection> idle;
    for (int i = 0; i < 200; ++i)
        idle.push_back(from(Policy::kStranger));
    for (int i = 0; i < 100; ++i)
        idle[static_cast<std::size_t>(i)].send(requestMessage(request_).substr(0, 25));
    expectServedAsBefore();
    EXPECT_LT(threadCount(), before + 20);
}

TEST_F(GateLimits, ConnectionAboveTheLimitReplacesOneThatSentNothing) {
    start([](auto& options) { options.gateLimits.connectionsPerAddressMax = 10; });
    const RawConnection used = from(Policy::kStranger);
    expectServed(used);
    std::vector<RawConnection> idle;
    for (int i = 0; i < 30; ++i)
        idle.push_back(from(Policy::kStranger));
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(idle[static_cast<std::size_t>(i)].isClosed());
    expectServed(used);
    expectServed(from(Policy::kStranger));
    expectServedAsBefore();
}

TEST_F(GateLimits, PlacesAreReservedForAddressesWithALogin) {
    start([](auto& options) {
        options.gateLimits.connectionsMax = 20;
        options.gateLimits.connectionsReserved = 10;
    });
    // used a moment ago: none of them has been idle long enough to be closed
    std::vector<RawConnection> used;
    for (int i = 0; i < 10; ++i) {
        used.push_back(from(Policy::kStranger));
        expectServed(used.back());
    }
    EXPECT_TRUE(from(Policy::kStranger).isClosed());
    EXPECT_EQ(policy_.refusals("127.0.0.2: too many connections"), 1);
    std::vector<RawConnection> nms;
    for (int i = 0; i < 10; ++i) {
        nms.push_back(from(Policy::kNms));
        expectServed(nms.back());
    }
}

TEST_F(GateLimits, TheIdlestConnectionWithoutALoginMakesRoomForAnNms) {
    start([](auto& options) {
        options.gateLimits.connectionsMax = 20;
        options.gateLimits.connectionsReserved = 0;
    });
    std::vector<RawConnection> used;
    for (int i = 0; i < 20; ++i) {
        used.push_back(from(Policy::kStranger));
        expectServed(used.back());
    }
    EXPECT_TRUE(waitUntil([&] {
        try {
            const RawConnection nms = from(Policy::kNms);
            nms.send(requestMessage(request_));
            return nms.receive().has_value();
        } catch (const std::runtime_error&) {
            // closed while it connected, because no other connection has been idle for long enough
            return false;
        }
    }));
    // all have been idle for about the same time
    EXPECT_TRUE(std::any_of(used.begin(), used.end(),
                            [](const RawConnection& each) { return !each.isSilentFor(0); }));
}

TEST_F(GateLimits, LargeMessagesNeedALogin) {
    start();
    const RawConnection nms = from(Policy::kNms);
    nms.send(requestMessage(largeRequest(200000)));
    EXPECT_TRUE(nms.receive());
    const RawConnection stranger = from(Policy::kStranger);
    stranger.send(requestMessage(largeRequest(200000)).substr(0, 12));
    const auto answer = stranger.receive();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, GiopType::MessageError);
    EXPECT_TRUE(stranger.isClosed());
    EXPECT_EQ(policy_.refusals("127.0.0.2: message too large before log-in"), 1);
}

TEST_F(GateLimits, LocateRequestsAreLimitedForTheAddress) {
    start([](auto& options) { options.gateLimits.locatesPerSecondBeforeLogin = 20; });
    const RawConnection stranger = from(Policy::kStranger);
    for (int i = 0; i < 200; ++i)
        stranger.send(locateMessage(request_));
    EXPECT_TRUE(stranger.isClosed());
    EXPECT_EQ(policy_.refusals("127.0.0.2: too many LocateRequests"), 1);
    const RawConnection nms = from(Policy::kNms);
    for (int i = 0; i < 200; ++i) {
        nms.send(locateMessage(request_));
        EXPECT_TRUE(nms.receive());
    }
}

TEST_F(GateLimits, SlowPeersAreClosed) {
    start([](auto& options) { options.gateLimits.headerTimeout = milliseconds(300); });
    std::vector<RawConnection> slow;
    slow.push_back(from(Policy::kNms));  // sends nothing
    slow.push_back(from(Policy::kNms));
    slow.back().send("GIO");
    slow.push_back(from(Policy::kNms));
    slow.back().send(fragmentsOf(largeRequest(100), 64, 40)[0]);
    slow.push_back(from(Policy::kNms));
    expectServed(slow.back());
    slow.back().send(requestMessage(request_).substr(0, 30));
    const RawConnection idle = from(Policy::kNms);
    expectServed(idle);
    for (const RawConnection& each : slow)
        EXPECT_TRUE(each.isClosed());
    EXPECT_EQ(policy_.refusals("127.0.0.1: unfinished message not continued in time"), 4);
    expectServed(idle);
}

TEST_F(GateLimits, AMessageThatArrivesSlowlyButSteadilyIsServed) {
    start([](auto& options) {
        options.gateLimits.headerTimeout = milliseconds(1500);
        options.gateLimits.inputRateMin = 10;
    });
    const RawConnection steady = from(Policy::kNms);
    const std::string bytes = requestMessage(largeRequest(120));
    for (std::size_t at = 0; at < bytes.size(); at += 8) {
        if (at > 0) {
            EXPECT_TRUE(steady.isSilentFor(120));
        }
        steady.send(bytes.substr(at, 8));
    }
    EXPECT_TRUE(steady.receive());
}

TEST_F(GateLimits, APeerThatDoesNotReadIsClosed) {
    start([](auto& options) { options.replyTimeout = milliseconds(300); });
    PortableServer::ObjectId largeId;
    largeId.length(16 << 20);
    std::fill_n(largeId.get_buffer(), largeId.length(), CORBA::Octet{'x'});
    const PortableServer::POA_var holder = [&] {
        CORBA::PolicyList policies;
        policies.length(3);
        policies[0] =
            orb_->root()->create_request_processing_policy(PortableServer::USE_SERVANT_MANAGER);
        policies[1] = orb_->root()->create_servant_retention_policy(PortableServer::NON_RETAIN);
        policies[2] = orb_->root()->create_id_assignment_policy(PortableServer::USER_ID);
        return orb_->root()->create_POA("large", orb_->manager(), policies);
    }();
    const CORBA::Object_var large =
        holder->create_reference_with_id(largeId, "IDL:mtnm.tmforum.org/session/Session_I:1.0");
    session_->servant().associated = session::Session_I::_unchecked_narrow(large.in());
    GiopRequest request = request_;
    request.operation = "_get_associatedSession";
    const RawConnection deaf = from(Policy::kNms);
    deaf.send(requestMessage(request));
    EXPECT_TRUE(waitUntil([&] { return session_->servant().associatedSessions == 1; }));
    expectServedAsBefore();
    // The reply is dropped together with the connection. The client's buffers still hold a part of
    // the reply.
    EXPECT_TRUE(waitUntil([&] {
        deaf.send(requestMessage(request_));
        return ::send(deaf.socket().fd(), "", 1, MSG_NOSIGNAL) < 0;
    }));
}

TEST_F(GateLimits, UnfinishedInputSharesOneBudget) {
    start([](auto& options) { options.gateLimits.unfinishedBytesMax = std::size_t{4} << 20; });
    std::vector<RawConnection> connections;
    const std::string large = requestMessage(largeRequest(std::size_t{3} << 20));
    for (int i = 0; i < 4; ++i) {
        connections.push_back(from(Policy::kNms));
        connections.back().send(large.substr(0, std::size_t{2} << 20));
    }
    EXPECT_TRUE(waitUntil(
        [&] { return policy_.refusals("127.0.0.1: no memory left for unfinished input") >= 2; }));
    connections.clear();
    EXPECT_TRUE(waitUntil([&] {
        const RawConnection again = from(Policy::kNms);
        again.send(large);
        return again.receive().has_value();
    }));
}

// the sanitizers keep freed memory for a while
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(GateLimits, MemoryOfLargeMessagesGoesBackToTheSystem) {
    start();
    expectServedAsBefore();
    const std::size_t before = residentKiB();
    std::vector<RawConnection> connections;
    const std::string large = requestMessage(largeRequest(std::size_t{30} << 20));
    for (int i = 0; i < 4; ++i) {
        connections.push_back(from(Policy::kNms));
        connections.back().send(large);
        EXPECT_TRUE(connections.back().receive());
    }
    // the test itself holds copies of only one message
    EXPECT_TRUE(waitUntil([&] { return residentKiB() < before + 60 * 1024; }, milliseconds(20000)));
    EXPECT_LT(residentKiB(), before + 60 * 1024);
}
#endif

/// Lowers the process's limit of descriptors for the length of a scope.
class Descriptors {
  public:
    explicit Descriptors(rlim_t limit) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit lowered = before_;
        lowered.rlim_cur = limit;
        ::setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~Descriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    Descriptors(const Descriptors&) = delete;
    Descriptors& operator=(const Descriptors&) = delete;

  private:
    rlimit before_{};
};

TEST_F(GateLimits, HalfOfTheDescriptorsAreLeftToOthers) {
    const Descriptors few(400);
    start([](auto& options) { options.gateLimits.connectionsReserved = 0; });
    std::vector<RawConnection> connections;
    // the client ends of the connections are in the same process
    for (int i = 0; i < 120; ++i) {
        connections.push_back(from(Policy::kNms));
        expectServed(connections.back());
    }
    for (int descriptor = 0; descriptor < 190; ++descriptor) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        const bool isSocket =
            ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
        if (isSocket && address.sin_family == AF_INET && ntohs(address.sin_port) == orb_->port()) {
            sockaddr_in peer{};
            length = sizeof peer;
            EXPECT_NE(::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length), 0)
                << descriptor;
        }
    }
}

TEST_F(GateLimits, WithoutDescriptorsConnectionsAreRefusedUntilSomeAreFree) {
    start();
    const RawConnection served = from(Policy::kNms);
    expectServed(served);
    std::vector<Socket> sockets;
    for (int i = 0; i < 5; ++i)
        sockets.push_back(tcpSocket());
    const int lowest = ::dup(sockets.front().fd());
    ::close(lowest);
    const Descriptors none(static_cast<rlim_t>(lowest));
    const sockaddr_in address = loopbackAddress(orb_->port());
    for (const Socket& each : sockets) {
        EXPECT_EQ(::connect(each.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
    }
    expectServed(served);
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    EXPECT_TRUE(served.isSilentFor(1000));
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    const auto micros = [](const timeval& time) { return time.tv_sec * 1000000 + time.tv_usec; };
    const auto used = micros(after.ru_utime) + micros(after.ru_stime) - micros(before.ru_utime) -
                      micros(before.ru_stime);
    EXPECT_LT(used, 500000) << "it spins";
}

}  // namespace
