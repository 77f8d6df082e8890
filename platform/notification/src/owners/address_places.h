#pragma once

#include <kelp/orb/request.h>

#include "owners/keyed_places.h"

namespace kelp::notification {

/// How many objects of one kind clients at each address have in the channel. An object holds a
/// place of the address that it was made from, until it ends. Thread safe; places may outlive this.
class AddressPlaces {
  public:
    using Place = KeyedPlaces::Place;

    /// Places of one address.
    explicit AddressPlaces(std::size_t max) : places_(max) {}

    std::size_t max() const { return places_.max(); }
    /// A place of this peer's address; null when it has all of them. A caller inside the process,
    /// who has no address, always gets one.
    Place take(const kelp::orb::PeerAddress& peer) {
        return places_.take(kelp::orb::networkOf(peer));
    }

  private:
    KeyedPlaces places_;
};

}  // namespace kelp::notification
