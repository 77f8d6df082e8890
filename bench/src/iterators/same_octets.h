#pragma once

#include <cstddef>

#include "iterators/stand.h"

namespace kelp::bench {

/// What the answers to next_n of a whole list take on the wire.
struct ListOctets {
    std::size_t entries = 0;
    std::size_t octets = 0;
};

/// Uploads a list from both servers over connections without an ORB's client, and compares the
/// replies octet by octet. Throws std::runtime_error when they differ.
ListOctets requireSameOctets(CORBA::ORB_ptr orb, const ListServer& product, const ListServer& floor,
                             const ListName& name);

}  // namespace kelp::bench
