#pragma once

#include <httplib.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/peer_address.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

namespace kelp::host {

/// Limits of one connection to the operator's interface.
struct ConnectionLimits {
    /// Maximum size of a request: head and body together.
    std::size_t bytesMax = 0;
    /// Time for the whole request, from the start of the connection.
    std::chrono::milliseconds readTime{0};
    /// Time for the whole answer.
    std::chrono::milliseconds writeTime{0};
};

/// One connection, which the HTTP library reads and writes as a stream. Its limits apply to the
/// whole request, in whatever pieces its bytes arrive. One thread uses it. Only cut() and
/// owesRequestFor() may be called by any thread.
class Connection : public httplib::Stream {
  public:
    Connection(util::Descriptor socket, const ConnectionLimits& limits);

    /// Whether the request has been read for at least `time` and is not complete. Any thread may
    /// call it.
    bool owesRequestFor(std::chrono::milliseconds time) const;
    /// End the reading, now and for all later reads. Bytes already written are still sent. Any
    /// thread may call it.
    void cut();
    /// Signal the end of the answer and read on for at most 0.5 s, until the caller has closed its
    /// side. Closing a connection with unread bytes would destroy the answer.
    virtual void finish();
    /// Identifies the caller in limits. Empty for a Unix socket.
    const std::string& peerNetwork() const { return peerNetwork_; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* to, std::size_t size) override;
    ssize_t write(const char* from, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_.get(); }

  protected:
    using Clock = std::chrono::steady_clock;
    /// Wait for an event of poll(2). Return false at `until`.
    bool waitFor(short what, Clock::time_point until) const;
    bool isCut() const { return isCut_; }

  private:
    /// Receive or send a part, waiting for it until a moment. 0 at the end of the input, negative
    /// when that fails.
    virtual ssize_t receive(char* to, std::size_t room, Clock::time_point until);
    virtual ssize_t send(const char* from, std::size_t size, Clock::time_point until);
    ssize_t fill();

    const util::Descriptor socket_;
    const ConnectionLimits limits_;
    const util::PeerAddress peer_;  ///< empty for a Unix socket
    const std::string peerNetwork_;
    const Clock::time_point readUntil_;
    Clock::time_point writeUntil_{};  ///< set by the first write
    std::size_t bytesRead_ = 0;
    std::array<char, 4096> buffer_{};
    std::size_t bufferBegin_ = 0;
    std::size_t bufferEnd_ = 0;
    std::atomic<bool> isCut_{false};
    /// Time of the first read. time_point::max() before it and from the first write on.
    std::atomic<Clock::time_point> readingSince_{Clock::time_point::max()};
};

}  // namespace kelp::host
