#pragma once

#include <kelp/util/mutex.h>
#include <omnithread.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace kelp::orb {

/// The octets of one outgoing TCP connection. It sends and receives first, and waits only if that
/// is not possible at once.
///
/// An ordinary call waits in send() and receive(). A call whose reply is awaited elsewhere does
/// not: send() keeps what the socket does not take, proceed() sends the rest and collects the
/// reply when the socket is ready, and receive() then returns the reply's octets.
///
/// One call at a time uses a line. The thread that makes it calls send() and receive(). While the
/// call is awaited, any thread may call proceed().
class SocketLine {
  public:
    using Clock = std::chrono::steady_clock;

    /// Does not own `descriptor`, which stays open until close().
    explicit SocketLine(int descriptor) : descriptor_(descriptor) {}

    /// Send octets by the deadline, in the ORB's absolute time; none if it is zero. Return the
    /// number of octets sent, 0 at the deadline, -1 if the connection has failed.
    int send(const void* octets, std::size_t size, const omni_time_t& deadline);
    /// The same for receiving. The end of the connection counts as its failure.
    int receive(void* octets, std::size_t size, const omni_time_t& deadline);
    /// The connection's end: the descriptor is not used any more.
    void close() KELP_EXCLUDES(mutex_);

    /// Send a request whose reply is awaited: `sendRequest` calls send(). The lock is held
    /// meanwhile, so that no other thread sees the reply of a request that is still being sent. If
    /// `sendRequest` throws, nothing is awaited.
    void beginAwaiting(Clock::time_point deadline, const std::function<void()>& sendRequest)
        KELP_EXCLUDES(mutex_);
    /// Whether the request being sent is to be awaited. For the thread that makes the call.
    bool isKeeping() const { return mode_ == Mode::Keeps; }
    /// Report to `watch` the descriptor, unless the line is closed.
    template <class Watch>
    bool withDescriptor(const Watch& watch) KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        return !isClosed_ && watch(descriptor_);
    }
    /// Send and receive what is possible for the awaited call. Return true, once for each call, if
    /// it has ended: its reply has arrived, the connection has failed, or `now` is later than its
    /// deadline. Then receive() returns what there is and does not wait.
    bool proceed(Clock::time_point now) KELP_EXCLUDES(mutex_);
    /// The call that was awaited has read its reply. The next one may wait again.
    void endAwaiting();
    bool isClosed() const { return isClosed_; }

  private:
    enum class Mode { Waits, Keeps, Ended };

    int receiveFromSocket(void* octets, std::size_t size, const omni_time_t& deadline);
    bool setReceiveLimit(std::chrono::milliseconds limit);
    bool sendKept();
    bool collect();
    bool isReplyComplete() const;

    const int descriptor_;
    mutable util::Mutex mutex_{util::LockRank::ServiceControl, "SocketLine::mutex_"};
    std::atomic<bool> isClosed_{false};
    bool isAwaited_ KELP_GUARDED_BY(mutex_) = false;
    Clock::time_point deadline_ KELP_GUARDED_BY(mutex_){};

    // Used by the thread that makes the call and, under the lock, by proceed() while the call is
    // awaited. The lock at both ends of that time orders them.
    Mode mode_ = Mode::Waits;
    bool isExpired_ = false;
    std::vector<std::uint8_t> unsent_;
    std::size_t keptSent_ = 0;
    std::vector<std::uint8_t> received_;
    std::size_t taken_ = 0;
    std::chrono::milliseconds receiveLimit_{0};
};

}  // namespace kelp::orb
