#pragma once

#include <gtest/gtest.h>
#include <httplib.h>
#include <kelp/admin/registry.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "admin/admin_server.h"
#include "support/tcp_peers.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::host::test {

using kelp::test::Socket;

/// A deadline that no passing test reaches.
constexpr std::chrono::seconds kFarAway{60};

inline sockaddr_un unixName(const std::filesystem::path& path) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    const std::string text = path.string();
    std::copy(text.begin(), text.end(), name.sun_path);
    return name;
}

/// A caller that sends arbitrary bytes.
class RawCaller {
  public:
    explicit RawCaller(const std::filesystem::path& socket)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const sockaddr_un name = unixName(socket);
        if (::connect(socket_.fd(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
            throw std::runtime_error("no connection to " + socket.string());
    }

    bool send(const std::string& text) const {
        return ::send(socket_.fd(), text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }
    /// Return everything received until the peer closes; none if it does not close within 20 s.
    std::optional<std::string> readToEnd() const {
        std::string all;
        for (;;) {
            pollfd waiting{socket_.fd(), POLLIN, 0};
            if (::poll(&waiting, 1, 20000) <= 0)
                return std::nullopt;
            char bytes[4096];
            const ssize_t got = ::recv(socket_.fd(), bytes, sizeof bytes, 0);
            if (got <= 0)
                return all;
            all.append(bytes, static_cast<std::size_t>(got));
        }
    }

  private:
    Socket socket_;
};

/// A server on a Unix socket with a separate registry that has POST /echo.
class AdminServerTest : public testing::Test {
  protected:
    admin::Address unixAddress() const {
        admin::Address address;
        address.socket = folder_ / "admin.sock";
        return address;
    }
    void start(const AdminLimits& limits = {}) { start(unixAddress(), limits); }
    void start(const admin::Address& address, const AdminLimits& limits = {}) {
        server_ = std::make_unique<AdminServer>(address, limits, registry_);
    }
    /// Return the reason for which a server cannot be started.
    std::string failure(const admin::Address& address) {
        try {
            const AdminServer server(address, {}, registry_);
            return "";
        } catch (const std::runtime_error& reason) {
            return reason.what();
        }
    }
    httplib::Client client() const {
        httplib::Client made((folder_ / "admin.sock").string(), 80);
        made.set_address_family(AF_UNIX);
        made.set_read_timeout(20);
        return made;
    }
    /// Return the length of the body if it is echoed completely, otherwise the HTTP status or 0.
    std::size_t echoedBytes(httplib::Client& client, const std::string& json) const {
        const httplib::Result result = client.Post("/echo", json, "application/json");
        if (!result)
            return 0;
        return result->status == 200 ? result->body.size() - 1
                                     : static_cast<std::size_t>(result->status);
    }
    bool answers() const {
        httplib::Client caller = client();
        return echoedBytes(caller, "[1]") == 3;
    }
    static mode_t modeOf(const std::filesystem::path& file) {
        struct stat status = {};
        return ::lstat(file.c_str(), &status) == 0 ? status.st_mode : 0;
    }

    const kelp::test::TemporaryDirectory folder_;
    admin::Registry registry_;
    const admin::Registration echo_ =
        registry_.enter("POST", "/echo", [](const admin::Json& request) { return request; });
    std::unique_ptr<AdminServer> server_;
};

}  // namespace kelp::host::test
