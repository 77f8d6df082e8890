#pragma once

#include <kelp/util/peer_address.h>

#include "owners/keyed_places.h"

namespace kelp::notification {

/// Counts the objects of one kind for each address. An object holds a place of the address that it
/// was made from until it ends. Thread safe. Places may outlive this object.
class AddressPlaces {
  public:
    using Place = KeyedPlaces::Place;

    /// `max` places for each address.
    explicit AddressPlaces(std::size_t max) : places_(max) {}

    std::size_t max() const { return places_.max(); }
    /// A place of this peer's address; null if none is left. A caller inside the process has no
    /// address and always gets a place.
    Place take(const kelp::util::PeerAddress& peer) {
        return places_.take(kelp::util::networkOf(peer));
    }

  private:
    KeyedPlaces places_;
};

}  // namespace kelp::notification
