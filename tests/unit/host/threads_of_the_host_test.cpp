#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "threads/kernel_threads.h"
#include "threads/stuck_threads.h"
#include "threads/watchdog.h"

namespace kelp::host {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

TEST(KernelThread, HasNameStateAndProcessorTime) {
    const auto thread = kernelThreadOf(
        "17 (a (b) c) D 1 17 17 0 -1 4194304 5 0 0 0 250 50 0 0 20 0 1 0 77 9 9", 100);
    ASSERT_TRUE(thread);
    EXPECT_EQ(thread->id, 17);
    EXPECT_EQ(thread->name, "a (b) c");
    EXPECT_EQ(thread->state, "waiting for a disk");
    EXPECT_DOUBLE_EQ(thread->processorSeconds, 3.0);
}

TEST(KernelThread, IsNotReadFromAnotherText) {
    for (const char* const text :
         {"", "17", "17 (a", "17 a) S", ") S (", "x (a) S 1 2 3 4 5 6 7 8 9 10 11 12",
          "17 (a) S 1 2 3", "17 (a) S 1 2 3 4 5 6 7 8 9 10 x 12"})
        EXPECT_FALSE(kernelThreadOf(text, 100)) << text;
}

TEST(KernelThread, OfThisProcessAreListed) {
    const std::vector<KernelThread> threads = kernelThreads();
    EXPECT_TRUE(std::any_of(threads.begin(), threads.end(),
                            [](const KernelThread& each) { return each.id == ::gettid(); }));
    EXPECT_TRUE(kernelThreads("/nowhere").empty());
}

TEST(StuckThreads, AreThoseOverTheirLimit) {
    const steady_clock::time_point start{};
    const std::vector<util::ThreadReport> reports = {
        {.id = 1, .what = "pings", .detail = "", .since = start, .limit = seconds(5)},
        {.id = 2, .what = "waits for a peer", .detail = "", .since = start, .limit = {}},
        {.id = 3, .what = "", .detail = "", .since = start, .limit = seconds(5)}};
    EXPECT_TRUE(stuckThreads(reports, start + seconds(5)).empty());
    const std::vector<std::string> stuck = stuckThreads(reports, start + seconds(7));
    EXPECT_EQ(stuck, std::vector<std::string>{"thread 1 pings for 7 s"});
}

TEST(Watchdog, IsNotNotifiedWhileAThreadIsStuck) {
    std::atomic<int> notified{0};
    std::atomic<int> asked{0};
    std::atomic<bool> isStuck{false};
    const Watchdog watchdog(
        std::chrono::milliseconds(5), [&] { ++notified; },
        [&] {
            ++asked;
            return isStuck ? std::vector<std::string>{"thread 1 sleeps for 200 s"}
                           : std::vector<std::string>();
        });
    EXPECT_TRUE(test::eventually([&] { return notified >= 3; }));
    isStuck = true;
    const int before = asked;
    EXPECT_TRUE(test::eventually([&] { return asked >= before + 2; }));
    const int whenStuck = notified;
    EXPECT_TRUE(test::eventually([&] { return asked >= before + 6; }));
    EXPECT_EQ(notified, whenStuck);
    isStuck = false;
    EXPECT_TRUE(test::eventually([&] { return notified > whenStuck; }));
}

TEST(Watchdog, WithoutSystemdDoesNothing) {
    std::atomic<int> notified{0};
    {
        const Watchdog watchdog(
            std::chrono::microseconds(0), [&] { ++notified; },
            [] { return std::vector<std::string>(); });
    }
    EXPECT_EQ(notified, 0);
}

/// The socket on which systemd receives notifications.
class NotifySocket {
  public:
    explicit NotifySocket(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }
    ~NotifySocket() { ::close(socket_); }
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    /// The number of notifications with this text so far.
    int count(const std::string& text) {
        std::array<char, 4096> buffer{};
        for (ssize_t size = 0; (size = ::recv(socket_, buffer.data(), buffer.size(), 0)) > 0;)
            all_ += std::string(buffer.data(), static_cast<std::size_t>(size)) + "\n";
        int found = 0;
        for (std::size_t at = all_.find(text); at != std::string::npos;
             at = all_.find(text, at + 1))
            ++found;
        return found;
    }

  private:
    int socket_;
    std::string all_;
};

TEST(Watchdog, OfAHostUnderSystemdIsNotified) {
    test::Host host;
    const std::string path = host.scratch("notify").string();
    NotifySocket socket(path);
    host.setEnvironment("NOTIFY_SOCKET", path).setEnvironment("WATCHDOG_USEC", "300000");
    host.start();
    EXPECT_TRUE(test::eventually([&] { return socket.count("WATCHDOG=1") >= 3; }));
    EXPECT_TRUE(test::eventually([&] { return socket.count("READY=1") == 1; }));
    EXPECT_EQ(host.stop(), 0);
}

}  // namespace
}  // namespace kelp::host
