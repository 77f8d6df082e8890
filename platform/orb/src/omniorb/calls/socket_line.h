#pragma once

#include <kelp/util/mutex.h>
#include <omnithread.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>
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
    /// The connection's end: the descriptor is not used any more. No call uses the line then, so
    /// this needs no lock. The ORB's own lock is held here, and is taken while a request is sent.
    void close() { isClosed_ = true; }

    /// A call that is awaited. The line keeps it until it ends.
    struct Awaited {
        virtual ~Awaited() = default;
    };
    /// Send a request whose reply is awaited: `sendRequest` calls send(). The lock is held
    /// meanwhile, so that no other thread sees the reply of a request that is still being sent. If
    /// `sendRequest` throws, nothing is awaited and `call` stays with the caller.
    template <class SendRequest>
    void beginAwaiting(std::unique_ptr<Awaited>& call, Clock::time_point deadline,
                       const SendRequest& sendRequest) KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        beginKeeping();
        try {
            sendRequest();
        } catch (...) {
            mode_ = Mode::Waits;
            throw;
        }
        deadline_ = deadline;
        awaited_ = std::move(call);
    }
    /// Whether the request being sent is to be awaited. For the thread that makes the call.
    bool isKeeping() const { return mode_ == Mode::Keeps; }
    /// For the thread that makes a call, which keeps the connection open.
    int descriptor() const { return descriptor_; }
    /// Send and receive what is possible for the awaited call. Return the call, once, if it has
    /// ended: its reply has arrived, the connection has failed, or `now` is not before its
    /// deadline. Then receive() returns the octets that have arrived and does
    /// not wait.
    std::unique_ptr<Awaited> proceed(Clock::time_point now) KELP_EXCLUDES(mutex_);
    /// The number of who watches the line. For the thread that makes a call.
    std::uint64_t watcher() const { return watcher_; }
    void watcher(std::uint64_t number) { watcher_ = number; }
    /// The call that was awaited has read its reply. The next one may wait again.
    void endAwaiting();
    bool isClosed() const { return isClosed_; }

  private:
    enum class Mode { Waits, Keeps, Ended };

    int receiveFromSocket(void* octets, std::size_t size, const omni_time_t& deadline);
    bool setReceiveLimit(std::chrono::milliseconds limit);
    void beginKeeping();
    bool sendKept();
    bool collect();
    bool isReplyComplete() const;

    const int descriptor_;
    mutable util::Mutex mutex_{util::LockRank::ServiceControl, "SocketLine::mutex_"};
    std::atomic<bool> isClosed_{false};
    std::unique_ptr<Awaited> awaited_ KELP_GUARDED_BY(mutex_);
    Clock::time_point deadline_ KELP_GUARDED_BY(mutex_){};

    // Used by the thread that makes the call and, under the lock, by proceed() while the call is
    // awaited. The lock at both ends of that time orders them.
    Mode mode_ = Mode::Waits;
    std::uint64_t watcher_ = 0;
    bool isExpired_ = false;
    std::vector<std::uint8_t> unsent_;
    std::size_t keptSent_ = 0;
    std::vector<std::uint8_t> received_;
    std::size_t taken_ = 0;
    std::chrono::milliseconds receiveLimit_{0};
};

}  // namespace kelp::orb
