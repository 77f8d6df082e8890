#pragma once

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "support/tcp_peers.h"
#include "support/wait_until.h"

namespace kelp::test {

/// A real naming service: a separate process on a free port of the loopback interface. It ends with
/// its owner, and also if the test's process or the thread that started it dies. One thread creates
/// and uses it.
class OmniNames {
  public:
    OmniNames() {
        std::string name =
            (std::filesystem::temp_directory_path() / "kelp-names-").string() + std::string(6, 'X');
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no folder for the naming service");
        folder_ = name;
        // another process may take the port before the naming service listens on it
        for (int attempt = 0; attempt < 5 && pid_ < 0; ++attempt) {
            port_ = freePort();
            start();
        }
        if (pid_ < 0)
            throw std::runtime_error("the naming service does not start");
    }
    ~OmniNames() {
        kill();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    OmniNames(const OmniNames&) = delete;
    OmniNames& operator=(const OmniNames&) = delete;

    std::uint16_t port() const { return port_; }
    std::string corbaloc() const {
        return "corbaloc:iiop:127.0.0.1:" + std::to_string(port_) + "/NameService";
    }

    /// Kill it. From then on its port refuses connections.
    void kill() {
        if (pid_ < 0)
            return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    /// Stop the process until thaw(): it still accepts connections but answers nothing.
    void freeze() {
        ::kill(pid_, SIGSTOP);
        ::waitpid(pid_, nullptr, WUNTRACED);
    }
    void thaw() { ::kill(pid_, SIGCONT); }
    /// Kill it and start an empty one on the same port.
    void restartEmpty() {
        kill();
        const bool started = waitUntil([this] {
            start();
            return pid_ >= 0;
        });
        if (!started)
            throw std::runtime_error("the naming service does not start again");
    }

  private:
    /// Start it with an emptied folder. On return it answers, or pid_ is negative.
    void start() {
        for (const auto& entry : std::filesystem::directory_iterator(folder_))
            std::filesystem::remove_all(entry.path());
        const std::string port = std::to_string(port_);
        const std::string log = folder_ + "/errors";
        const std::string endpoint = "giop:tcp:127.0.0.1:" + port;
        const pid_t parent = ::getpid();
        pid_ = ::fork();
        if (pid_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() == parent)
                ::execlp("omniNames", "omniNames", "-start", port.c_str(), "-datadir",
                         folder_.c_str(), "-nohostname", "-errlog", log.c_str(), "-ORBendPoint",
                         endpoint.c_str(), nullptr);
            ::_exit(127);
        }
        bool ended = false;
        waitUntil([&] {
            ended = pid_ < 0 || ::waitpid(pid_, nullptr, WNOHANG) == pid_;
            return ended || answers();
        });
        if (ended)
            pid_ = -1;
        else if (!answers())
            kill();
    }

    /// Ask with a GIOP 1.0 LocateRequest, which needs no ORB, whether the object NameService
    /// exists.
    bool answers() const {
        constexpr std::array<unsigned char, 31> request{
            'G', 'I', 'O', 'P', 1,   0,   1,   3,  // LocateRequest, little-endian
            19,  0,   0,   0,                      // length of the body
            1,   0,   0,   0,                      // request id
            11,  0,   0,   0,   'N', 'a', 'm', 'e',
            'S', 'e', 'r', 'v', 'i', 'c', 'e'};  // object key
        constexpr std::size_t replyBytes = 20;   // header, request id, locate status
        constexpr unsigned char objectHere = 1;
        try {
            const Socket connection = connectTo(port_);
            if (::send(connection.fd(), request.data(), request.size(), MSG_NOSIGNAL) !=
                static_cast<ssize_t>(request.size()))
                return false;
            pollfd readable{connection.fd(), POLLIN, 0};
            std::array<unsigned char, replyBytes> reply{};
            return ::poll(&readable, 1, 1000) == 1 &&
                   ::recv(connection.fd(), reply.data(), reply.size(), MSG_WAITALL) ==
                       static_cast<ssize_t>(reply.size()) &&
                   (reply[16] == objectHere || reply[19] == objectHere);
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    std::string folder_;
    std::uint16_t port_ = 0;
    pid_t pid_ = -1;
};

}  // namespace kelp::test
