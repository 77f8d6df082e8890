#pragma once

#include <cstddef>

#include "iterators/stand.h"

namespace kelp::bench {

/// The size on the wire of all answers to next_n for a whole list.
struct ListOctets {
    std::size_t entries = 0;
    std::size_t octets = 0;
};

/// Upload a list from both servers over plain connections without an ORB's client, and compare the
/// replies octet by octet. Throws std::runtime_error when they differ.
ListOctets requireSameOctets(CORBA::ORB_ptr orb, const ListServer& product, const ListServer& floor,
                             const ListName& name);

}  // namespace kelp::bench
