#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/list_options.h"
#include "upload/network_reader.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Takes out, and tells, elements that occur again.
void dropRepeated(std::vector<std::string>& elements, WalkProgress& progress);

/// Leaves out the elements before `from`, if that is given. Throws std::invalid_argument when it is
/// not there.
void beginWith(const std::optional<std::string>& from, std::vector<std::string>& elements);

/// Reads what belongs to one element after the other. One that the EMS no longer has, or whose
/// network element it cannot reach, is told and left out. False when there was one. Throws what
/// `read` throws otherwise.
bool elementByElement(const std::vector<std::string>& elements, WalkProgress& progress,
                      const std::function<void(const std::string&)>& read);

}  // namespace kelp::nms
