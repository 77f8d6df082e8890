#pragma once

namespace kelp::orb {

/// Make the ORB free a reference that it cannot decode. Without this the ORB leaks it, so that a
/// peer could fill the memory. Call it once for each ORB, after ORB_init.
void freeBrokenReferences();

}  // namespace kelp::orb
