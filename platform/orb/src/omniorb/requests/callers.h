#pragma once

namespace kelp::orb {

/// Reset the state for a new ORB: all callers are held, and no well-known key exists.
void resetCallers();

}  // namespace kelp::orb
