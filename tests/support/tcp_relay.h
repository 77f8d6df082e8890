#pragma once

#include <poll.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/tcp_peers.h"

namespace kelp::test {

/// A listener with a separate thread that polls its sockets until it is stopped.
class PolledListener {
  public:
    std::uint16_t port() const { return port_; }
    std::string hostAndPort() const { return "127.0.0.1:" + std::to_string(port_); }

  protected:
    PolledListener() : listener_(boundSocket()), port_(portOf(listener_)) {
        if (::listen(listener_.fd(), 16) != 0)
            throw std::runtime_error("cannot listen");
    }
    ~PolledListener() = default;

    bool isReady(const Socket& socket) const {
        pollfd watched{socket.fd(), POLLIN, 0};
        return ::poll(&watched, 1, 1) > 0;
    }
    Socket accept() { return Socket(::accept4(listener_.fd(), nullptr, nullptr, SOCK_CLOEXEC)); }

    Socket listener_;
    std::uint16_t port_;
    std::atomic<bool> stopped_{false};
};

/// Relays bytes between its port and another one until it is killed. Then its connections break and
/// its port is closed, as if a process had died. To the target, the connections come from `source`,
/// any address of 127.0.0.0/8.
class TcpRelay : public PolledListener {
  public:
    explicit TcpRelay(std::uint16_t target, std::string source = "127.0.0.1")
        : target_(target), source_(std::move(source)), thread_([this] { run(); }) {}
    ~TcpRelay() { kill(); }

    void kill() {
        stopped_ = true;
        if (thread_.joinable())
            thread_.join();
    }

  private:
    void run() {
        while (!stopped_) {
            if (isReady(listener_))
                pairs_.emplace_back(accept(), connectTo(target_, source_.c_str()));
            for (auto& [client, server] : pairs_) {
                pass(client, server);
                pass(server, client);
            }
        }
        pairs_.clear();
        listener_.close();
    }

    void pass(Socket& from, Socket& to) {
        if (from.fd() < 0 || to.fd() < 0 || !isReady(from))
            return;
        char buffer[4096];
        const ssize_t count = ::recv(from.fd(), buffer, sizeof buffer, 0);
        if (count <= 0 ||
            ::send(to.fd(), buffer, static_cast<std::size_t>(count), MSG_NOSIGNAL) != count) {
            from.close();
            to.close();
        }
    }

    std::uint16_t target_;
    std::string source_;
    std::vector<std::pair<Socket, Socket>> pairs_;
    std::thread thread_;
};

/// Accepts connections and closes each as soon as a request arrives.
class CuttingListener : public PolledListener {
  public:
    CuttingListener() : thread_([this] { run(); }) {}
    ~CuttingListener() {
        stopped_ = true;
        thread_.join();
    }

  private:
    void run() {
        std::vector<Socket> clients;
        while (!stopped_) {
            if (isReady(listener_))
                clients.push_back(accept());
            for (Socket& client : clients) {
                if (client.fd() >= 0 && isReady(client))
                    client.close();
            }
        }
    }

    std::thread thread_;
};

}  // namespace kelp::test
