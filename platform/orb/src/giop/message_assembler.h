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
    std::size_t messageOctetsMax = 104857600;  ///< of a message including its fragments
    /// The same for an address without a log-in.
    std::size_t octetsMaxBeforeLogin = 65536;
    std::size_t fragmentedMax = 16;  ///< unfinished fragmented requests of one connection
    ProgressRule progress;
};

/// What the assembler has to know about the peer. Called on the thread that uses the assembler.
class PeerStanding {
  public:
    virtual ~PeerStanding() = default;
    virtual bool isLoggedIn() = 0;
    /// Count a LocateRequest. Return false when it exceeds the limit.
    virtual bool mayLocate() = 0;
};

/// Turns the octets of one connection into whole messages that the ORB can rely on: complete
/// Requests and LocateRequests, whose framing and headers were checked (CORBA 15.4, 15.4.9). It
/// joins fragments. It replaces a target given by a profile or a reference by the object key. It
/// cuts off parameters that would harm the ORB, so that the ORB answers MARSHAL. It does not pass
/// on CancelRequests: a complete request cannot be cancelled, and an incomplete one is dropped.
///
/// It needs no ORB, and makes no system calls except for memory. Not thread safe.
class MessageAssembler {
  public:
    using Time = Progress::Time;
    enum class Step {
        Message,  ///< message() returns it
        More,     ///< more octets are needed
        End,      ///< the peer ends the connection
        Refused   ///< violation() is the reason; the connection is of no further use
    };

    MessageAssembler(const AssemblerLimits& limits, PeerStanding& peer, InputBudget& budget);

    /// The common case without a copy. Return true when nothing is waiting here and these octets
    /// are exactly one whole Request that the ORB may read unchanged. Otherwise they must be passed
    /// to append().
    bool passes(Octets octets);

    /// Add received octets, by copying them. Return false when no memory is left; violation() says
    /// so.
    bool append(Octets octets);
    /// Return room for the next octets; empty when no memory is left. The caller fills it and then
    /// calls grew().
    std::span<std::uint8_t> room();
    void grew(std::size_t octets);

    /// Drop the last message and search for the next.
    Step next(Time now);
    Octets message() const { return message_; }
    Violation violation() const { return violation_; }

    /// Return whether no octets are waiting here. A message that was not dropped yet counts as
    /// waiting.
    bool isEmpty() const { return raw_.size() == 0 && made_.size() == 0; }
    /// Return the time by which the peer must have sent more; none while nothing is unfinished.
    std::optional<Time> deadline() const;
    /// Extend the deadlines by a time in which nobody read from the peer: that is not the peer's
    /// fault.
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

    OctetBuffer raw_;     ///< as received, from the beginning of a message
    std::size_t at_ = 0;  ///< offset of the next message; what precedes it was delivered or dropped
    std::size_t passed_ = 0;  ///< octets of raw_ from which the message being delivered was made
    bool headerChecked_ = false;  ///< of the message at at_
    bool fragmentChecked_ = false;
    MessageHeader header_;              ///< of the message at at_, once checked
    std::optional<Progress> progress_;  ///< of the unfinished message at at_
    std::size_t counted_ = 0;           ///< octets of that message that progress_ has counted
    OctetBuffer made_;  ///< messages that are delivered from here instead of from raw_
    std::size_t madeAt_ = 0;
    Octets message_;
    Open open_;
    std::optional<std::uint8_t> minor_;  ///< the connection's GIOP version
    Violation violation_ = Violation::None;
};

}  // namespace kelp::orb::giop
