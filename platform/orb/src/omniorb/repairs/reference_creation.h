#pragma once

namespace kelp::orb {

/// Makes the ORB free what it holds of a reference that it cannot make sense of. By itself it loses
/// the whole of it, so that a peer could fill the memory. Once for each ORB, after ORB_init.
void freeBrokenReferences();

}  // namespace kelp::orb
