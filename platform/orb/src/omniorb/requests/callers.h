#pragma once

namespace kelp::orb {

/// A new ORB begins with all callers held and no well-known key.
void resetCallers();

}  // namespace kelp::orb
