#pragma once

namespace kelp::orb {

/// Limits how often the ORB sends one call, and where replies may forward it to. Called at each
/// start of the ORB.
void guardOutgoingCalls();

}  // namespace kelp::orb
