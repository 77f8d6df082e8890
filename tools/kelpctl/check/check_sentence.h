#pragma once

#include <string>

#include "check/check_result.h"

namespace kelp::ctl {

/// Say what is broken and what to do. The step must have failed. Texts of peers are escaped and
/// truncated.
std::string sentenceOf(const StepResult& failed, const CheckTarget& target);

}  // namespace kelp::ctl
