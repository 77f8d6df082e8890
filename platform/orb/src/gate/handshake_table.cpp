#include "handshake_table.h"

#include <algorithm>

namespace kelp::orb::gate {

namespace {

/// The time in which a handshake keeps its place: three round trips over a satellite link, and some
/// time for both sides' keys.
constexpr std::chrono::seconds kOwnTime{3};

}  // namespace

bool HandshakeTable::enter(HandshakeSeat& seat, Time now) {
    const util::MutexLock lock(mutex_);
    const auto ofAddress = perAddress_.find(seat.address());
    if (ofAddress != perAddress_.end() && ofAddress->second >= limits_.perAddressMax &&
        !makeRoom(&seat.address(), now))
        return false;
    if (places_.size() >= limits_.handshakesMax && !makeRoom(nullptr, now))
        return false;
    bySeat_[&seat] = places_.insert(places_.end(), {&seat, now});
    ++perAddress_[seat.address()];
    return true;
}

void HandshakeTable::leave(HandshakeSeat& seat) {
    const util::MutexLock lock(mutex_);
    if (const auto found = bySeat_.find(&seat); found != bySeat_.end())
        erase(found->second);
}

std::size_t HandshakeTable::count() const {
    const util::MutexLock lock(mutex_);
    return places_.size();
}

/// End the oldest handshake, of one address or of all. Return false when it has not had its time.
bool HandshakeTable::makeRoom(const std::string* onlyOfAddress, Time now) {
    const auto oldest = std::find_if(places_.begin(), places_.end(), [&](const Place& place) {
        return onlyOfAddress == nullptr || place.seat->address() == *onlyOfAddress;
    });
    if (oldest == places_.end() || now - oldest->begin < kOwnTime)
        return false;
    // safe under the lock: a seat leaves before it is destroyed
    oldest->seat->giveUp();
    erase(oldest);
    return true;
}

void HandshakeTable::erase(Places::iterator place) {
    const auto ofAddress = perAddress_.find(place->seat->address());
    if (ofAddress != perAddress_.end() && --ofAddress->second == 0)
        perAddress_.erase(ofAddress);
    bySeat_.erase(place->seat);
    places_.erase(place);
}

}  // namespace kelp::orb::gate
