#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "support/tcp_peers.h"

namespace kelp::bench {

/// The callable side of many NMS: ports of the loopback interface, one an NMS, at which every call
/// of the EMS (its pings) is answered at once. One thread serves them all, so that the farm costs
/// the machine little.
class NmsFarm {
  public:
    explicit NmsFarm(std::size_t size);
    ~NmsFarm();
    NmsFarm(const NmsFarm&) = delete;
    NmsFarm& operator=(const NmsFarm&) = delete;

    std::size_t size() const { return addresses_.size(); }
    /// "127.0.0.1:port"
    const std::string& address(std::size_t nms) const { return addresses_.at(nms); }
    /// Calls that were answered, and the EMS's connections that are open.
    std::size_t answered() const { return answered_; }
    std::size_t connections() const { return connectionCount_; }

  private:
    struct Connection {
        test::Socket socket;
        std::string unread;
    };

    void watch(int fd);
    void run();
    void accept(int listener);
    void serve(int fd);

    std::vector<std::string> addresses_;
    std::unordered_map<int, test::Socket> listeners_;
    std::unordered_map<int, Connection> connections_;
    test::Socket poll_;
    test::Socket stop_;
    std::atomic<std::size_t> answered_{0};
    std::atomic<std::size_t> connectionCount_{0};
    std::thread thread_;
};

}  // namespace kelp::bench
