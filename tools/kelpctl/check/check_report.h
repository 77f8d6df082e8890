#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "check/check_result.h"

namespace kelp::ctl {

/// Return the table of the steps, then the sentence about the first failed step or what the check
/// left out.
std::string checkTable(const std::vector<StepResult>& steps, const CheckTarget& target);

/// Return the same as JSON.
nlohmann::ordered_json checkJson(const std::vector<StepResult>& steps, const CheckTarget& target);

}  // namespace kelp::ctl
