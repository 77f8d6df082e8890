#pragma once

#include <kelp/util/peer_address.h>

#include <string>

namespace kelp::traps {

/// The address in the form that every way of writing it has in common; empty for no address.
std::string commonText(const util::PeerAddress& address);

}  // namespace kelp::traps
