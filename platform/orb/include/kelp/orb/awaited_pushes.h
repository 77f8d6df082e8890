#pragma once

#include <kelp/orb/event_sender.h>
#include <kelp/orb/export.h>

#include <chrono>
#include <memory>
#include <optional>
#include <span>

namespace kelp::orb {

/// A push that has come to its end. Used by one thread.
class EndedPush {
  public:
    enum class End {
        Accepted,   ///< the consumer has the events
        Undecided,  ///< to be repeated with an ordinary push, as the ORB would do
    };
    virtual ~EndedPush() = default;
    /// Return how the push has ended, or raise what an ordinary push would have raised. Called once
    /// at most. Does not wait. Afterwards the next push can be sent over the same connection.
    virtual End end() = 0;
};

/// Learns of the end of a push.
class PushWaiter {
  public:
    virtual ~PushWaiter() = default;
    /// Called once for each push that was sent, on a thread that calls AwaitedPushes::wait().
    /// `push` is valid during the call.
    virtual void ended(EndedPush& push) noexcept = 0;
};

/// Sends pushes over connections that are open already, without waiting for anything, and waits for
/// the replies of all of them together. A few threads so serve any number of consumers. Callable
/// from any thread.
class KELP_EXPORT AwaitedPushes {
  public:
    /// No push may be awaited any more.
    virtual ~AwaitedPushes() = default;

    /// Send a push. Its end is reported to `waiter` at the latest when `limit` is over. Return
    /// false, and send nothing, if the consumer can be called only by an ordinary push at the
    /// moment: there is no connection to it that is open and free, it lives in this process, or the
    /// connection is encrypted. The consumer may then have received the push, but nobody waits for
    /// its reply. Raises the exceptions of an ordinary push that occur before it is sent. `events`
    /// are not used any more after the return. Keeps what the connection does not take at once, so
    /// a push should not be larger than unsentOctetsMax.
    virtual bool push(CosNotifyComm::StructuredPushConsumer_ptr consumer, const SharedEvent& event,
                      std::chrono::milliseconds limit, std::shared_ptr<PushWaiter> waiter) = 0;
    virtual bool push(CosNotifyComm::SequencePushConsumer_ptr consumer,
                      std::span<const SharedEvent* const> events, std::chrono::milliseconds limit,
                      std::shared_ptr<PushWaiter> waiter) = 0;

    /// Wait until pushes have ended, `until` is over, or wake() is called, and report the pushes
    /// that have ended. Without `until` there is no limit. Several threads may wait. Each end wakes
    /// one of them. Return true if the thread was woken by wake().
    virtual bool wait(std::optional<std::chrono::steady_clock::time_point> until) = 0;
    /// Let one waiting thread return; if none waits, the next one that does.
    virtual void wake() = 0;
    /// The number of pushes that have not ended.
    virtual std::size_t awaited() const = 0;
};

/// Largest push that should be sent this way, in octets.
inline constexpr std::size_t unsentOctetsMax = std::size_t{256} * 1024;

/// Return a new set of awaited pushes, or null if this ORB or system cannot do this; then ordinary
/// pushes are left.
KELP_EXPORT std::unique_ptr<AwaitedPushes> makeAwaitedPushes();

}  // namespace kelp::orb
