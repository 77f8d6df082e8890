// What the host notifies to systemd while the naming service is away, and afterwards.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/name_server.h"
#include "support/tcp_peers.h"

namespace kelp::test {
namespace {

/// The socket to which a service of systemd sends its notifications.
class NotificationSocket {
  public:
    explicit NotificationSocket(const std::filesystem::path& path)
        : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        const std::string text = path.string();
        std::copy(text.begin(), text.end(), name.sun_path);
        if (::bind(socket_.fd(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
            throw std::runtime_error("no socket at " + text);
    }
    /// All notifications so far.
    const std::string& received() {
        char text[1024];
        ssize_t size = 0;
        while ((size = ::recv(socket_.fd(), text, sizeof text, MSG_DONTWAIT)) > 0)
            received_.append(text, static_cast<std::size_t>(size)).append("\n");
        return received_;
    }
    bool has(const std::string& text) { return received().find(text) != std::string::npos; }

  private:
    Socket socket_;
    std::string received_;
};

class ServiceManager : public testing::Test {
  protected:
    ServiceManager() {
        host_.useNamingService(names_.port());
        host_.setEnvironment("NOTIFY_SOCKET", host_.scratch("notify").string());
    }

    NameServer names_;
    Host host_;
    NotificationSocket notifications_{host_.scratch("notify")};
};

TEST_F(ServiceManager, IsToldThatTheHostIsReadyOnceTheFactoryIsRegistered) {
    host_.start();
    EXPECT_TRUE(eventually([&] { return notifications_.has("READY=1"); }));
    EXPECT_FALSE(notifications_.has("STATUS=not ready")) << notifications_.received();
}

TEST_F(ServiceManager, IsToldWhyTheHostIsNotReadyUntilTheNamingServiceAnswers) {
    names_.process().freeze();
    host_.start();
    ASSERT_TRUE(eventually([&] { return notifications_.has("STATUS=not ready: "); }));
    EXPECT_TRUE(notifications_.has("EXTEND_TIMEOUT_USEC=30000000"));
    EXPECT_FALSE(notifications_.has("READY=1")) << notifications_.received();
    names_.process().thaw();
    EXPECT_TRUE(eventually([&] { return notifications_.has("READY=1"); }))
        << notifications_.received();
}

TEST_F(ServiceManager, IsToldOfAStopBeforeTheHostIsReady) {
    names_.process().freeze();
    host_.start();
    ASSERT_TRUE(eventually([&] { return notifications_.has("STATUS=not ready: "); }));
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_TRUE(notifications_.has("STOPPING=1"));
    EXPECT_FALSE(notifications_.has("READY=1"));
    names_.process().thaw();
}

}  // namespace
}  // namespace kelp::test
