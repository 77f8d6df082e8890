#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "expression.h"

namespace kelp::notification {

struct ConstraintLimits;

/// Parse a text of the extended trader constraint language (grammar in Notification Service 2.4.4).
/// Returns none for a blank text, which matches every event. Throws ConstraintSyntaxError if the
/// text is not a constraint, is longer, deeper or more costly than the limits allow, or names a
/// property that no event can have.
std::optional<Expression> parseConstraint(std::string_view text, const ConstraintLimits& limits);

}  // namespace kelp::notification
