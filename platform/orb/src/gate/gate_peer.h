#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "connection_table.h"
#include "gate.h"
#include "giop/message_assembler.h"
#include "octet_channel.h"

namespace kelp::orb::gate {

/// One connection. Turns a channel's octets into whole messages, with limits in size and time. It
/// does not use the ORB. One thread at a time reads; everything else may be called from any thread.
class GatePeer final : public giop::PeerStanding, public Seat {
  public:
    using Clock = std::chrono::steady_clock;

    /// The gate has admitted the peer. The destructor gives its place back.
    GatePeer(std::shared_ptr<Gate> gate, std::unique_ptr<OctetChannel> channel,
             util::PeerAddress peer);
    ~GatePeer() override;
    GatePeer(const GatePeer&) = delete;
    GatePeer& operator=(const GatePeer&) = delete;

    /// Wait for a whole message and return as much of it as fits, but never octets of two messages.
    /// Return OctetChannel::kEnded when there are no more messages.
    long read(std::span<std::uint8_t> into) KELP_EXCLUDES(inputMutex_);

    enum class Fed {
        Ready,  ///< read() returns without waiting
        More,   ///< no whole message yet
        Busy    ///< another thread is reading
    };
    /// Receive what has arrived, without waiting.
    Fed feed() KELP_EXCLUDES(inputMutex_);
    /// Return whether read() returns without waiting.
    bool isReady() const { return ready_; }
    /// Return whether there are no more messages, because the peer has gone or was refused. Valid
    /// after feed() and read() only.
    bool hasEnded() const { return ended_; }

    /// Send some octets. Return kLater when the peer accepts none within the limit.
    long write(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit);
    void shutDown() { channel_->shutDown(); }

    /// From now on feed() receives what arrives, so the peer's deadlines run.
    void watched() KELP_EXCLUDES(inputMutex_);
    /// Count the connection as in use from now on: it has sent a whole message.
    void leaveLobby() { inLobby_ = false; }
    bool isInLobby() const { return inLobby_; }
    /// End the connection if its input has been unfinished for too long.
    void sweep(Clock::time_point now);

    OctetChannel& channel() { return *channel_; }
    Gate& gate() { return *gate_; }

    const util::PeerAddress& peer() const override { return peer_; }
    Use use() const override;
    Time since() const override;
    void close() override { shutDown(); }

  private:
    bool isLoggedIn() override { return gate_->isLoggedIn(peer_); }
    bool mayLocate() override { return gate_->mayLocate(peer_); }

    long give(std::span<std::uint8_t> into) KELP_REQUIRES(inputMutex_);
    bool receiveSome(std::span<std::uint8_t> into, OctetChannel::Wait wait, long& count)
        KELP_REQUIRES(inputMutex_);
    void advance() KELP_REQUIRES(inputMutex_);
    void end();
    void refuse(giop::Violation violation);
    void answerMessageError();
    void runClock(Clock::time_point now) KELP_REQUIRES(inputMutex_);
    void stopClock() KELP_REQUIRES(inputMutex_);

    const std::shared_ptr<Gate> gate_;
    const std::unique_ptr<OctetChannel> channel_;
    const util::PeerAddress peer_;

    /// A reader holds it while it waits.
    util::Mutex inputMutex_{util::LockRank::GateInput, "GatePeer::inputMutex_"};
    giop::MessageAssembler assembler_ KELP_GUARDED_BY(inputMutex_);
    /// Unread octets of the current message.
    std::span<const std::uint8_t> left_ KELP_GUARDED_BY(inputMutex_);
    /// Since when nobody receives what arrives.
    std::optional<Clock::time_point> stopped_ KELP_GUARDED_BY(inputMutex_);

    std::atomic<bool> ready_{false};
    std::atomic<bool> ended_{false};
    std::atomic<bool> inLobby_{true};
    std::atomic<bool> waits_{false};  ///< a reader waits for the next message
    std::atomic<bool> isUnfinished_{false};
    std::atomic<Clock::rep> used_;
    /// When the input has been unfinished for too long; 0: never.
    std::atomic<Clock::rep> overdueAt_;
};

}  // namespace kelp::orb::gate
