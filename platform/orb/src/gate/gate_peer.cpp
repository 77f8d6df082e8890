#include "gate_peer.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace kelp::orb::gate {

namespace {

/// Input is received directly into the ORB's buffer if that is at least this large.
constexpr std::size_t kDirectMin = 1024;
/// Maximum reads from one connection before others have their turn.
constexpr int kFeedRounds = 8;

/// Accurate to a few milliseconds, and cheap enough for every message.
GatePeer::Clock::rep coarseNow() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::chrono::duration_cast<GatePeer::Clock::duration>(
               std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec))
        .count();
}

GatePeer::Clock::rep count(GatePeer::Clock::time_point time) {
    return time.time_since_epoch().count();
}

/// Return whether a violation is about the message itself, which is answered with a MessageError
/// (CORBA 15.4.8). The others may not be the peer's fault, or the peer does not speak GIOP.
bool isProtocolError(giop::Violation violation) {
    return violation != giop::Violation::NoMemory && violation != giop::Violation::TooSlow &&
           violation != giop::Violation::TooManyLocates && violation != giop::Violation::NotGiop;
}

}  // namespace

GatePeer::GatePeer(std::shared_ptr<Gate> gate, std::unique_ptr<OctetChannel> channel,
                   util::PeerAddress peer)
    : gate_(std::move(gate)),
      channel_(std::move(channel)),
      peer_(std::move(peer)),
      assembler_(gate_->assemblerLimits(), *this, gate_->budget()),
      used_(count(Clock::now())),
      overdueAt_(count(Clock::now() + gate_->assemblerLimits().progress.window)) {
    gate_->connections().enter(*this);
}

GatePeer::~GatePeer() {
    gate_->ended(peer_);
    gate_->connections().leave(*this);
}

long GatePeer::read(std::span<std::uint8_t> into) {
    const util::MutexLock lock(inputMutex_);
    for (;;) {
        if (!left_.empty())
            return give(into);
        if (ended_)
            return OctetChannel::kEnded;
        const bool direct = assembler_.isEmpty() && into.size() >= kDirectMin;
        const std::span<std::uint8_t> room = direct ? into : assembler_.room();
        long received = 0;
        if (!receiveSome(room, OctetChannel::Wait::Yes, received))
            return OctetChannel::kEnded;
        const auto octets = room.first(static_cast<std::size_t>(received));
        if (!direct) {
            assembler_.grew(octets.size());
        } else if (assembler_.passes(octets)) {
            used_ = coarseNow();
            if (channel_->hasBuffered())
                advance();
            return received;
        } else if (!assembler_.append(octets)) {
            refuse(assembler_.violation());
            return OctetChannel::kEnded;
        }
        advance();
    }
}

/// Return false when the connection is over.
bool GatePeer::receiveSome(std::span<std::uint8_t> into, OctetChannel::Wait wait, long& received) {
    if (into.empty()) {
        refuse(assembler_.violation());
        return false;
    }
    if (wait == OctetChannel::Wait::Yes) {
        if (isUnfinished_)
            runClock(Clock::now());
        waits_ = true;
    }
    received = channel_->receive(into, wait);
    waits_ = false;
    if (received != OctetChannel::kEnded)
        return true;
    end();
    return false;
}

long GatePeer::give(std::span<std::uint8_t> into) {
    const std::size_t given = std::min(into.size(), left_.size());
    std::memcpy(into.data(), left_.data(), given);
    left_ = left_.subspan(given);
    if (left_.empty()) {
        gate_->messageRead(assembler_.message().size());
        advance();
        stopClock();
    }
    return static_cast<long>(given);
}

/// Search what has been received for the next whole message.
void GatePeer::advance() {
    giop::MessageAssembler::Step step = assembler_.next(Clock::now());
    while (step == giop::MessageAssembler::Step::More && channel_->hasBuffered()) {
        long received = 0;
        const std::span<std::uint8_t> room = assembler_.room();
        if (!receiveSome(room, OctetChannel::Wait::No, received))
            return;
        if (received == OctetChannel::kLater)
            break;
        assembler_.grew(static_cast<std::size_t>(received));
        step = assembler_.next(Clock::now());
    }
    isUnfinished_ = assembler_.deadline().has_value();
    switch (step) {
        case giop::MessageAssembler::Step::Message:
            left_ = assembler_.message();
            used_ = coarseNow();
            ready_ = true;
            stopClock();
            break;
        case giop::MessageAssembler::Step::More:
            ready_ = false;
            if (isUnfinished_)
                runClock(Clock::now());
            break;
        case giop::MessageAssembler::Step::End:
            end();
            break;
        case giop::MessageAssembler::Step::Refused:
            refuse(assembler_.violation());
            break;
    }
}

GatePeer::Fed GatePeer::feed() {
    if (!inputMutex_.try_lock())
        return Fed::Busy;
    const util::MutexLock lock(inputMutex_, std::adopt_lock);
    for (int round = 0; round < kFeedRounds && !ready_; ++round) {
        long received = 0;
        if (!receiveSome(assembler_.room(), OctetChannel::Wait::No, received))
            return Fed::Ready;
        if (received == OctetChannel::kLater)
            break;
        assembler_.grew(static_cast<std::size_t>(received));
        advance();
    }
    return ready_ ? Fed::Ready : Fed::More;
}

long GatePeer::write(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) {
    return channel_->send(octets, limit);
}

void GatePeer::watched() {
    if (!isUnfinished_)
        return;
    // a reading thread runs the clock itself
    if (!inputMutex_.try_lock())
        return;
    const util::MutexLock lock(inputMutex_, std::adopt_lock);
    runClock(Clock::now());
}

void GatePeer::runClock(Clock::time_point now) {
    if (stopped_)
        assembler_.wasPaused(now - *stopped_);
    stopped_.reset();
    if (const auto deadline = assembler_.deadline())
        overdueAt_ = count(*deadline);
}

/// Stop the deadlines: nobody receives what arrives until the next runClock().
void GatePeer::stopClock() {
    overdueAt_ = 0;
    if (isUnfinished_ && !stopped_)
        stopped_ = Clock::now();
}

void GatePeer::sweep(Clock::time_point now) {
    const Clock::rep overdueAt = overdueAt_;
    if (overdueAt == 0 || count(now) < overdueAt)
        return;
    overdueAt_ = 0;
    gate_->refused(peer_, giop::textOf(giop::Violation::TooSlow));
    shutDown();
}

void GatePeer::end() {
    ended_ = true;
    ready_ = true;
    overdueAt_ = 0;
}

void GatePeer::refuse(giop::Violation violation) {
    gate_->refused(peer_, giop::textOf(violation));
    if (isProtocolError(violation))
        answerMessageError();
    end();
}

void GatePeer::answerMessageError() {
    static constexpr std::array<std::uint8_t, giop::kHeaderOctets> message{
        'G', 'I', 'O', 'P', 1, 0, 0, static_cast<std::uint8_t>(giop::MessageType::MessageError),
        0,   0,   0,   0};
    (void)channel_->send(message, std::chrono::milliseconds(0));
}

Seat::Use GatePeer::use() const {
    if (inLobby_)
        return Use::New;
    return waits_ ? Use::Idle : Use::Busy;
}

Seat::Time GatePeer::since() const {
    return Time(Clock::duration(used_.load()));
}

}  // namespace kelp::orb::gate
