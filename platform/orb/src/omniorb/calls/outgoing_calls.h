#pragma once

namespace kelp::orb {

/// Limit how often the ORB sends one call, and to which addresses replies may forward it. Called at
/// each start of the ORB.
void guardOutgoingCalls();

}  // namespace kelp::orb
