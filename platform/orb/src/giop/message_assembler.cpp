#include "giop/message_assembler.h"

#include <algorithm>
#include <utility>

#include "giop/arguments/argument_check.h"
#include "giop/key_address.h"

namespace kelp::orb::giop {

namespace {

/// Octets to read at once while a long message is received.
constexpr std::size_t kChunk = std::size_t{64} * 1024;
constexpr std::size_t kSmallChunk = 4096;
constexpr std::size_t kIdOctets = 4;

bool endsConnection(MessageType type) {
    return type == MessageType::CloseConnection || type == MessageType::MessageError;
}

/// Return whether the request's id follows directly after the header of such a message.
bool beginsWithId(MessageType type, std::uint8_t minor) {
    return minor >= 2 || type == MessageType::CancelRequest;
}

ArgumentVerdict checkParameters(Octets message, const MessageHeader& header,
                                const RequestHeader& request,
                                std::span<const std::size_t> fragments) {
    EncodedArguments arguments;
    arguments.message = message;
    arguments.body = request.body;
    arguments.littleEndian = header.littleEndian;
    arguments.minorVersion = header.minor;
    arguments.fragments = fragments;
    return checkArguments(request.operation, arguments);
}

}  // namespace

MessageAssembler::MessageAssembler(const AssemblerLimits& limits, PeerStanding& peer,
                                   InputBudget& budget)
    : limits_(limits), peer_(peer), budget_(budget), raw_(budget), made_(budget) {}

bool MessageAssembler::passes(Octets octets) {
    if (!isEmpty() || !open_.empty() || violation_ != Violation::None ||
        octets.size() < kHeaderOctets)
        return false;
    MessageHeader header;
    if (readHeader(octets, header) != Violation::None || header.type != MessageType::Request ||
        header.moreFragments || header.octets != octets.size() ||
        checkHeader(header) != Violation::None)
        return false;
    RequestHeader request;
    if (readRequestHeader(octets, header, request) != Violation::None || request.namesProfile ||
        checkParameters(octets, header, request, {}) != ArgumentVerdict::Fine)
        return false;
    minor_ = header.minor;
    return true;
}

bool MessageAssembler::append(Octets octets) {
    if (raw_.append(octets))
        return true;
    violation_ = Violation::NoMemory;
    return false;
}

std::span<std::uint8_t> MessageAssembler::room() {
    const bool isLong = headerChecked_ && header_.octets > kSmallChunk;
    const std::size_t useful = headerChecked_ ? at_ + static_cast<std::size_t>(header_.octets) : 0;
    const std::size_t missing = useful > raw_.size() ? useful - raw_.size() : 0;
    if (!raw_.reserve(isLong ? std::clamp(missing, std::size_t{1}, kChunk) : kSmallChunk, useful)) {
        violation_ = Violation::NoMemory;
        return {};
    }
    return raw_.room();
}

void MessageAssembler::grew(std::size_t octets) {
    raw_.grew(octets);
}

void MessageAssembler::wasPaused(Progress::Duration pause) {
    if (progress_)
        progress_->postpone(pause);
    for (FragmentedRequest& request : open_)
        request.postpone(pause);
}

std::optional<MessageAssembler::Time> MessageAssembler::deadline() const {
    std::optional<Time> earliest;
    if (progress_)
        earliest = progress_->deadline();
    for (const FragmentedRequest& request : open_)
        earliest = earliest ? std::min(*earliest, request.deadline()) : request.deadline();
    return earliest;
}

MessageAssembler::Step MessageAssembler::refuse(Violation violation) {
    violation_ = violation;
    return Step::Refused;
}

MessageAssembler::Taken MessageAssembler::reject(Violation violation) {
    violation_ = violation;
    return Taken::Refuse;
}

void MessageAssembler::dropDelivered() {
    message_ = {};
    at_ += std::exchange(passed_, 0);
}

/// Go on to the next message in made_. Return false when there is none left.
bool MessageAssembler::nextOfMade() {
    if (madeAt_ < made_.size()) {
        MessageHeader header;
        const Octets rest = std::as_const(made_).octets().subspan(madeAt_);
        (void)readHeader(rest, header);
        message_ = rest.first(static_cast<std::size_t>(header.octets));
        madeAt_ += message_.size();
        return true;
    }
    made_.release();
    madeAt_ = 0;
    return false;
}

MessageAssembler::Step MessageAssembler::next(Time now) {
    if (violation_ != Violation::None)
        return Step::Refused;
    message_ = {};
    if (nextOfMade())
        return Step::Message;
    dropDelivered();
    for (;;) {
        const Octets waiting = std::as_const(raw_).octets().subspan(at_);
        if (!headerChecked_ && waiting.size() >= kHeaderOctets) {
            Violation violation = readHeader(waiting, header_);
            if (violation == Violation::None)
                violation = checkHeader(header_);
            if (violation != Violation::None)
                return refuse(violation);
            headerChecked_ = true;
        }
        if (headerChecked_ && !fragmentChecked_ && header_.type == MessageType::Fragment &&
            waiting.size() >= std::min<std::uint64_t>(header_.octets, kHeaderOctets + kIdOctets)) {
            if (const Violation violation = checkFragment(waiting); violation != Violation::None)
                return refuse(violation);
            fragmentChecked_ = true;
        }
        if (!headerChecked_ || waiting.size() < header_.octets)
            return waitForMore(now);
        const Octets whole = waiting.first(static_cast<std::size_t>(header_.octets));
        headerChecked_ = false;
        fragmentChecked_ = false;
        progress_.reset();
        passed_ = whole.size();
        switch (take(whole, now)) {
            case Taken::Deliver:
                return Step::Message;
            case Taken::Drop:
                dropDelivered();
                break;
            case Taken::End:
                return Step::End;
            case Taken::Refuse:
                return Step::Refused;
        }
    }
}

MessageAssembler::Step MessageAssembler::waitForMore(Time now) {
    raw_.dropFront(std::exchange(at_, 0));
    if (raw_.size() == 0)
        return Step::More;
    if (!progress_) {
        progress_.emplace(limits_.progress, now);
        counted_ = 0;
    }
    progress_->arrived(raw_.size() - counted_, limits_.progress, now);
    counted_ = raw_.size();
    return Step::More;
}

/// Check the size of a message, and that of the fragmented request that it continues. For a message
/// that continues none, both are the same.
Violation MessageAssembler::checkSize(std::uint64_t messageOctets, std::uint64_t octets) {
    if (octets > limits_.messageOctetsMax)
        return Violation::TooLarge;
    // before log-in the limit applies to all unfinished input of a connection
    std::uint64_t unfinished = messageOctets;
    for (const FragmentedRequest& request : open_)
        unfinished += request.octets();
    if (std::max(octets, unfinished) > limits_.octetsMaxBeforeLogin && !peer_.isLoggedIn())
        return Violation::TooLargeBeforeLogin;
    return Violation::None;
}

Violation MessageAssembler::checkHeader(const MessageHeader& header) {
    // a client may close in any version
    if (endsConnection(header.type))
        return Violation::None;
    if (minor_.value_or(header.minor) != header.minor)
        return Violation::VersionChanged;
    if (beginsWithId(header.type, header.minor) && header.octets < kHeaderOctets + kIdOctets)
        return Violation::RequestHeader;
    if (header.type == MessageType::CancelRequest && header.octets != kHeaderOctets + kIdOctets)
        return Violation::RequestHeader;
    if (header.moreFragments && header.minor >= 2 && header.octets % 8 != 0)
        return Violation::FragmentSize;
    if (header.type == MessageType::Fragment && open_.empty())
        return Violation::FragmentOfNothing;
    return checkSize(header.octets, header.octets);
}

MessageAssembler::Open::iterator MessageAssembler::findOpen(std::uint32_t id) {
    return std::find_if(open_.begin(), open_.end(),
                        [id](const FragmentedRequest& each) { return each.id() == id; });
}

/// Return the request to which a fragment belongs. GIOP 1.1 does not name it, because at most one
/// fragmented request is open.
MessageAssembler::Open::iterator MessageAssembler::requestOf(Octets fragment) {
    if (header_.minor < 2)
        return open_.begin();
    return findOpen(numberAt(fragment, kHeaderOctets, header_.littleEndian));
}

/// Limit the whole of a fragmented request before its next fragment is received.
Violation MessageAssembler::checkFragment(Octets waiting) {
    const auto request = requestOf(waiting);
    if (request == open_.end())
        return Violation::FragmentOfNothing;
    if (request->header().littleEndian != header_.littleEndian)
        return Violation::Flags;
    return checkSize(header_.octets, request->octetsWith(header_));
}

MessageAssembler::Taken MessageAssembler::take(Octets whole, Time now) {
    if (endsConnection(header_.type))
        return Taken::End;
    minor_ = header_.minor;
    switch (header_.type) {
        case MessageType::Request:
        case MessageType::LocateRequest:
            return takeRequest(whole, now);
        case MessageType::Fragment:
            return takeFragment(whole, now);
        case MessageType::CancelRequest:
            return cancel(whole);
        default:
            return reject(Violation::Type);
    }
}

Violation MessageAssembler::idOf(Octets whole, std::uint32_t& id) const {
    if (header_.minor >= 2) {
        id = numberAt(whole, kHeaderOctets, header_.littleEndian);
        return Violation::None;
    }
    // the ORB reads the whole header from the first message, so it must be complete there
    RequestHeader request;
    const Violation violation = readRequestHeader(whole, header_, request);
    id = request.id;
    return violation;
}

MessageAssembler::Taken MessageAssembler::takeRequest(Octets whole, Time now) {
    if (header_.minor < 2 && !open_.empty())
        return reject(Violation::Interleaved);
    if (!header_.moreFragments && open_.empty())
        return deliver(whole, header_);
    std::uint32_t id = 0;
    if (const Violation violation = idOf(whole, id); violation != Violation::None)
        return reject(violation);
    if (findOpen(id) != open_.end())
        return reject(Violation::RequestIdInUse);
    if (!header_.moreFragments)
        return deliver(whole, header_);
    if (open_.size() >= limits_.fragmentedMax)
        return reject(Violation::TooManyFragmented);
    FragmentedRequest& request =
        open_.emplace_back(id, header_, budget_, Progress(limits_.progress, now));
    return request.add(whole, limits_.progress, now) ? Taken::Drop : reject(Violation::NoMemory);
}

MessageAssembler::Taken MessageAssembler::takeFragment(Octets whole, Time now) {
    const auto request = requestOf(whole);
    if (!request->add(whole, limits_.progress, now))
        return reject(Violation::NoMemory);
    if (header_.moreFragments)
        return Taken::Drop;
    FragmentedRequest complete = std::move(*request);
    open_.erase(request);
    return complete.header().minor >= 2 ? deliverJoined(complete.joined(), complete.header())
                                        : deliverParts(complete.messages());
}

MessageAssembler::Taken MessageAssembler::cancel(Octets whole) {
    const auto request = findOpen(numberAt(whole, kHeaderOctets, header_.littleEndian));
    if (request != open_.end())
        open_.erase(request);
    return Taken::Drop;
}

MessageAssembler::Taken MessageAssembler::deliver(Octets whole, const MessageHeader& header) {
    RequestHeader request;
    if (const Violation violation = readRequestHeader(whole, header, request);
        violation != Violation::None)
        return reject(violation);
    if (header.type == MessageType::LocateRequest && !peer_.mayLocate())
        return reject(Violation::TooManyLocates);
    if (header.type == MessageType::Request &&
        checkParameters(whole, header, request, {}) != ArgumentVerdict::Fine)
        return deliverWithoutBody(whole, header, request);
    if (!request.namesProfile) {
        message_ = whole;
        return Taken::Deliver;
    }
    OctetBuffer made(budget_);
    if (!addressByKey(whole, header, request, made))
        return reject(Violation::NoMemory);
    made_ = std::move(made);
    (void)nextOfMade();
    return Taken::Deliver;
}

/// Deliver the request without its parameters. The ORB finds them missing, and answers and records
/// the request as it does with any such one.
MessageAssembler::Taken MessageAssembler::deliverWithoutBody(Octets whole,
                                                             const MessageHeader& header,
                                                             const RequestHeader& request) {
    RequestHeader bodiless = request;
    bodiless.body = request.headerEnd;
    const Octets head = whole.first(request.headerEnd);
    OctetBuffer made(budget_);
    if (!(request.namesProfile ? addressByKey(head, header, bodiless, made) : made.append(head)))
        return reject(Violation::NoMemory);
    const std::span<std::uint8_t> octets = made.octets();
    octets[kFlagsAt] = static_cast<std::uint8_t>(octets[kFlagsAt] & ~kMoreFragmentsFlag);
    putNumber(octets, kSizeAt, static_cast<std::uint32_t>(octets.size() - kHeaderOctets),
              header.littleEndian);
    made_ = std::move(made);
    madeAt_ = 0;
    (void)nextOfMade();
    return Taken::Deliver;
}

MessageAssembler::Taken MessageAssembler::deliverJoined(OctetBuffer joined,
                                                        const MessageHeader& header) {
    MessageHeader whole = header;
    whole.moreFragments = false;
    whole.octets = joined.size();
    const Taken taken = deliver(std::as_const(joined).octets(), whole);
    // message_ refers to `joined`: keep that
    if (taken == Taken::Deliver && made_.size() == 0) {
        made_ = std::move(joined);
        madeAt_ = 0;
        (void)nextOfMade();
    }
    return taken;
}

MessageAssembler::Taken MessageAssembler::deliverParts(OctetBuffer parts) {
    const JoinedParts joined = joinParts(std::as_const(parts).octets(), budget_);
    const Octets whole = joined.message.octets();
    if (whole.empty())
        return reject(Violation::NoMemory);
    MessageHeader header;
    RequestHeader request;
    Violation violation = readHeader(whole, header);
    if (violation == Violation::None)
        violation = readRequestHeader(whole, header, request);
    if (violation != Violation::None)
        return reject(violation);
    if (checkParameters(whole, header, request, joined.fragments) != ArgumentVerdict::Fine)
        return deliverWithoutBody(whole, header, request);
    made_ = std::move(parts);
    madeAt_ = 0;
    (void)nextOfMade();
    return Taken::Deliver;
}

}  // namespace kelp::orb::giop
