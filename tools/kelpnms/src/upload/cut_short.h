#pragma once

#include <string>

#include "upload/walk_progress.h"

namespace kelp::nms {

/// What to tell of a list that was not read to its end: how much of it was written and how to get
/// the rest. `what` are its entries, such as "ports".
std::string cutShort(const std::string& what, const WalkPosition& position);

/// The same for a dump that goes to a file, of which the beginning is kept under the name `kept`,
/// up to the element to go on with; without one nothing is kept.
std::string dumpCutShort(const std::string& kept, const std::string& next);

}  // namespace kelp::nms
