#pragma once

namespace kelp::host {

/// Lets this process, and its children, have as many descriptors as the system allows it at most.
/// Before the first of them is needed.
void raiseDescriptorLimit();

}  // namespace kelp::host
