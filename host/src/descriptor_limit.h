#pragma once

namespace kelp::host {

/// Raise the limit of open descriptors of this process and its children to the maximum that the
/// system allows. Call it before many descriptors are needed.
void raiseDescriptorLimit();

}  // namespace kelp::host
