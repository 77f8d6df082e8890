#include "connection_table.h"

#include <utility>

namespace kelp::orb::gate {

namespace {

/// A connection counts as idle from this time after its last use.
constexpr std::chrono::seconds kIdleFrom{2};

}  // namespace

ConnectionTable::ConnectionTable(const Limits& limits, IsLoggedIn isLoggedIn)
    : limits_(limits), isLoggedIn_(std::move(isLoggedIn)) {}

ConnectionTable::Verdict ConnectionTable::admit(const util::PeerAddress& peer, Seat::Time now) {
    const bool loggedIn = isLoggedIn_(peer);
    const std::size_t reserved = loggedIn ? 0 : limits_.reserved;
    const std::size_t max =
        limits_.connectionsMax > reserved ? limits_.connectionsMax - reserved : 1;
    const util::MutexLock lock(mutex_);
    const auto ofAddress = perAddress_.find(peer.text);
    if (ofAddress != perAddress_.end() && ofAddress->second >= limits_.perAddressMax &&
        !makeRoom(&peer.text, now))
        return Verdict::TooManyOfAddress;
    if (count_ >= max && !makeRoom(nullptr, now))
        return Verdict::TooMany;
    ++perAddress_[peer.text];
    ++count_;
    return Verdict::Admitted;
}

void ConnectionTable::enter(Seat& seat) {
    const util::MutexLock lock(mutex_);
    seats_.insert(&seat);
}

void ConnectionTable::leave(Seat& seat) {
    const util::MutexLock lock(mutex_);
    seats_.erase(&seat);
    if (closing_.erase(&seat) == 0)
        release(seat.peer().text);
}

void ConnectionTable::giveBack(const util::PeerAddress& peer) {
    const util::MutexLock lock(mutex_);
    release(peer.text);
}

std::size_t ConnectionTable::count() const {
    const util::MutexLock lock(mutex_);
    return count_;
}

void ConnectionTable::release(const std::string& address) {
    --count_;
    const auto found = perAddress_.find(address);
    if (found != perAddress_.end() && --found->second == 0)
        perAddress_.erase(found);
}

/// Close the connection that is needed least, of one address or of all. Return false when all are
/// in use.
bool ConnectionTable::makeRoom(const std::string* onlyOfAddress, Seat::Time now) {
    Seat* found = nullptr;
    bool foundIsNew = false;
    for (Seat* const seat : seats_) {
        const Seat::Use use = seat->use();
        const bool isNew = use == Seat::Use::New;
        const bool isIdle = use == Seat::Use::Idle && now - seat->since() >= kIdleFrom;
        if ((!isNew && !isIdle) || (found != nullptr && foundIsNew && !isNew))
            continue;
        if (onlyOfAddress != nullptr && seat->peer().text != *onlyOfAddress)
            continue;
        const bool isBetter =
            found == nullptr || isNew != foundIsNew || seat->since() < found->since();
        if (!isBetter || closing_.contains(seat))
            continue;
        // an idle connection of a logged-in NMS is closed only at the limit of its address
        if (!isNew && onlyOfAddress == nullptr && isLoggedIn_(seat->peer()))
            continue;
        found = seat;
        foundIsNew = isNew;
    }
    if (found == nullptr)
        return false;
    closing_.insert(found);
    release(found->peer().text);
    found->close();
    return true;
}

}  // namespace kelp::orb::gate
