#pragma once

#include <string>

#include "upload/walk_progress.h"

namespace kelp::nms {

/// Return the message for a list that was not read to its end: how much of it was written, and how
/// to get the rest. `what` names its entries, such as "ports".
std::string cutShort(const std::string& what, const WalkPosition& position);

/// Return the message for a dump to a file that was not read to its end. The file `kept` holds the
/// part before the element `next`, with which to go on. If `next` is empty, no file is kept.
std::string dumpCutShort(const std::string& kept, const std::string& next);

}  // namespace kelp::nms
