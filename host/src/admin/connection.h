#pragma once

#include <httplib.h>
#include <kelp/util/descriptor.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

namespace kelp::host {

/// What one caller of the operator's interface may cost.
struct ConnectionLimits {
    std::size_t bytesMax = 0;  ///< read, head and body together
    std::chrono::milliseconds readTime{
        0};  ///< for the whole request, from the connection's beginning
    std::chrono::milliseconds writeTime{0};  ///< for the whole answer
};

/// One connection, as the HTTP library reads and writes it: with limits that hold for all of a
/// request together, however its bytes come. Used by one thread, but for cut().
class Connection final : public httplib::Stream {
  public:
    Connection(util::Descriptor socket, const ConnectionLimits& limits);

    /// Whether the request has been read for at least so long and is not complete. Any thread.
    bool owesRequestFor(std::chrono::milliseconds time) const;
    /// Ends the reading, now and for good; what is written still goes out. Any thread.
    void cut();
    /// Tells the caller that nothing more comes, and reads on for a moment until it has closed its
    /// side: a connection closed with bytes unread would take the answer along.
    void finish();

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* to, std::size_t size) override;
    ssize_t write(const char* from, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_.get(); }

  private:
    using Clock = std::chrono::steady_clock;
    bool waitFor(short what, Clock::time_point until) const;
    ssize_t fill();

    const util::Descriptor socket_;
    const ConnectionLimits limits_;
    const Clock::time_point readUntil_;
    Clock::time_point writeUntil_{};  ///< set by the first write
    std::size_t bytesRead_ = 0;
    std::array<char, 4096> buffer_{};
    std::size_t bufferBegin_ = 0;
    std::size_t bufferEnd_ = 0;
    std::atomic<bool> isCut_{false};
    /// When the first read began; the end of time before it and from the first write on.
    std::atomic<Clock::time_point> readingSince_{Clock::time_point::max()};
};

}  // namespace kelp::host
