#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "support/tcp_peers.h"

namespace kelp::bench {

/// The servers of many NMSs: loopback ports, one for each NMS, which answer every call of the EMS
/// (its pings) at once. One thread serves them all, so that the farm uses little processor time.
class NmsFarm {
  public:
    explicit NmsFarm(std::size_t size);
    ~NmsFarm();
    NmsFarm(const NmsFarm&) = delete;
    NmsFarm& operator=(const NmsFarm&) = delete;

    std::size_t size() const { return addresses_.size(); }
    /// "127.0.0.1:port"
    const std::string& address(std::size_t nms) const { return addresses_.at(nms); }
    /// The number of calls answered so far, and of connections that the EMS has open.
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
