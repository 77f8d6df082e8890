#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "upload/network_reader.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Remove and report elements that are listed more than once.
void dropRepeated(std::vector<std::string>& elements, WalkProgress& progress);

/// Remove the elements before `from`, if that is given. Throws std::invalid_argument when it is not
/// in the list.
void beginWith(const std::optional<std::string>& from, std::vector<std::string>& elements);

/// Call `read` for one element after the other. An element that the EMS no longer has, or whose
/// network element it cannot reach, is reported and skipped. Returns false when an element was
/// skipped. Throws what `read` throws otherwise.
bool elementByElement(const std::vector<std::string>& elements, WalkProgress& progress,
                      const std::function<void(const std::string&)>& read);

}  // namespace kelp::nms
