#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "connection_table.h"
#include "gate.h"
#include "giop/message_assembler.h"
#include "octet_channel.h"

namespace kelp::orb::gate {

/// One connection: whole messages out of a channel's octets, with limits in size and time. It knows
/// no ORB. One thread at a time reads; all else may be called from any thread.
class GatePeer final : public giop::PeerStanding, public Seat {
  public:
    using Clock = std::chrono::steady_clock;

    /// The gate has admitted the peer; its place is given back with this object.
    GatePeer(std::shared_ptr<Gate> gate, std::unique_ptr<OctetChannel> channel, PeerAddress peer);
    ~GatePeer() override;
    GatePeer(const GatePeer&) = delete;
    GatePeer& operator=(const GatePeer&) = delete;

    /// Waits for a whole message and gives as much of it as fits; never octets of two.
    /// OctetChannel::kEnded when there will be no more.
    long read(std::span<std::uint8_t> into);

    enum class Fed {
        Ready,  ///< read() has something to say without waiting
        More,   ///< nothing whole yet
        Busy    ///< a thread is reading already
    };
    /// Takes what has arrived, without waiting.
    Fed feed();
    /// Whether read() has something to say without waiting.
    bool isReady() const { return ready_; }
    /// No more messages: the peer has gone or was refused. After feed() or read() only.
    bool hasEnded() const { return ended_; }

    /// Sends some octets; kLater when the peer takes none within the limit.
    long write(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit);
    void shutDown() { channel_->shutDown(); }

    /// Octets that arrive are taken from here on, by feed(): the peer's time runs.
    void watched();
    /// From here on it counts as in use, with a whole message brought.
    void leaveLobby() { inLobby_ = false; }
    bool isInLobby() const { return inLobby_; }
    /// Ends the connection when it has been unfinished for too long.
    void sweep(Clock::time_point now);

    OctetChannel& channel() { return *channel_; }
    Gate& gate() { return *gate_; }

    const PeerAddress& peer() const override { return peer_; }
    Use use() const override;
    Time since() const override;
    void close() override { shutDown(); }

  private:
    bool isLoggedIn() override { return gate_->isLoggedIn(peer_); }
    bool mayLocate() override { return gate_->mayLocate(peer_); }

    long give(std::span<std::uint8_t> into);
    bool receiveSome(std::span<std::uint8_t> into, OctetChannel::Wait wait, long& count);
    void advance();
    void end();
    void refuse(giop::Violation violation);
    void answerMessageError();
    void runClock(Clock::time_point now);
    void stopClock();

    const std::shared_ptr<Gate> gate_;
    const std::unique_ptr<OctetChannel> channel_;
    const PeerAddress peer_;

    std::mutex inputMutex_;  // guards the next ones; a reader holds it while it waits
    giop::MessageAssembler assembler_;
    std::span<const std::uint8_t> left_;        ///< of the message being read
    std::optional<Clock::time_point> stopped_;  ///< since when nobody takes what arrives

    std::atomic<bool> ready_{false};
    std::atomic<bool> ended_{false};
    std::atomic<bool> inLobby_{true};
    std::atomic<bool> waits_{false};  ///< a reader waits for the next message
    std::atomic<bool> isUnfinished_{false};
    std::atomic<Clock::rep> used_;
    std::atomic<Clock::rep> overdueAt_;  ///< 0: never
};

}  // namespace kelp::orb::gate
