#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "giop/fragmented_request.h"
#include "giop/input_budget.h"
#include "giop/message_header.h"
#include "giop/octet_buffer.h"
#include "giop/progress.h"
#include "giop/request_header.h"
#include "giop/violation.h"

namespace kelp::orb::giop {

struct AssemblerLimits {
    std::size_t messageOctetsMax = 104857600;  ///< of a message with all its fragments
    std::size_t octetsMaxBeforeLogin =
        65536;                       ///< the same for an address that nobody is logged in from
    std::size_t fragmentedMax = 16;  ///< unfinished fragmented requests of one connection
    ProgressRule progress;
};

/// What the assembler has to know of the peer. Asked on the thread that uses the assembler.
class PeerStanding {
  public:
    virtual ~PeerStanding() = default;
    virtual bool isLoggedIn() = 0;
    /// Counts a LocateRequest; false when that is one too many.
    virtual bool mayLocate() = 0;
};

/// Turns the octets of one connection into whole messages that the ORB can rely on: complete
/// Requests and LocateRequests, whose framing and headers were checked (CORBA 15.4, 15.4.9).
/// Fragments are joined; a target named by a profile or a reference is named by its key; parameters
/// that would harm the ORB are cut off, so that it answers MARSHAL. CancelRequests go no further: a
/// request that is complete cannot be called back, and one that is not is forgotten. Pure: no ORB,
/// no system calls but for memory. Not thread safe.
class MessageAssembler {
  public:
    using Time = Progress::Time;
    enum class Step {
        Message,  ///< message() is one
        More,     ///< more octets are needed
        End,      ///< the peer ends the connection
        Refused   ///< violation() says why; the connection is of no further use
    };

    MessageAssembler(const AssemblerLimits& limits, PeerStanding& peer, InputBudget& budget);

    /// The common case without a copy: true when nothing is waiting here and these octets are one
    /// whole Request that the ORB may have as they are. Otherwise they are to be handed over with
    /// append().
    bool passes(Octets octets);

    /// Takes octets over. False when there is no memory left: violation() says so.
    bool append(Octets octets);
    /// Room for the next octets, to be filled by the caller and taken over with grew(); empty when
    /// there is no memory left.
    std::span<std::uint8_t> room();
    void grew(std::size_t octets);

    /// Drops the last message and looks for the next.
    Step next(Time now);
    Octets message() const { return message_; }
    Violation violation() const { return violation_; }

    /// Whether octets are waiting, a message not dropped yet included.
    bool isEmpty() const { return raw_.size() == 0 && made_.size() == 0; }
    /// When the peer must have sent more at the latest; none while nothing is unfinished.
    std::optional<Time> deadline() const;
    /// Nobody read from the peer for so long: that is not the peer's fault.
    void wasPaused(Progress::Duration pause);

  private:
    using Open = std::vector<FragmentedRequest>;
    enum class Taken { Deliver, Drop, End, Refuse };

    void dropDelivered();
    bool nextOfMade();
    Step waitForMore(Time now);
    Step refuse(Violation violation);

    Violation checkHeader(const MessageHeader& header);
    Violation checkSize(std::uint64_t messageOctets, std::uint64_t octets);
    Violation checkFragment(Octets waiting);
    Violation idOf(Octets whole, std::uint32_t& id) const;
    Open::iterator findOpen(std::uint32_t id);
    Open::iterator requestOf(Octets fragment);

    Taken take(Octets whole, Time now);
    Taken takeRequest(Octets whole, Time now);
    Taken takeFragment(Octets whole, Time now);
    Taken cancel(Octets whole);
    Taken deliver(Octets whole, const MessageHeader& header);
    Taken deliverJoined(OctetBuffer joined, const MessageHeader& header);
    Taken deliverParts(OctetBuffer parts);
    Taken deliverWithoutBody(Octets whole, const MessageHeader& header,
                             const RequestHeader& request);
    Taken reject(Violation violation);

    const AssemblerLimits limits_;
    PeerStanding& peer_;
    InputBudget& budget_;

    OctetBuffer raw_;             ///< as received; the first octet is that of a message
    std::size_t at_ = 0;          ///< what is before has been delivered or dropped
    std::size_t passed_ = 0;      ///< octets of raw_ that the message being delivered was made of
    bool headerChecked_ = false;  ///< of the message at at_
    bool fragmentChecked_ = false;
    MessageHeader header_;              ///< the one at at_, when checked
    std::optional<Progress> progress_;  ///< of the unfinished message at at_
    std::size_t counted_ = 0;           ///< octets of it that progress_ has counted
    OctetBuffer made_;                  ///< messages that are not delivered as they came
    std::size_t madeAt_ = 0;
    Octets message_;
    Open open_;
    std::optional<std::uint8_t> minor_;  ///< the connection's version
    Violation violation_ = Violation::None;
};

}  // namespace kelp::orb::giop
