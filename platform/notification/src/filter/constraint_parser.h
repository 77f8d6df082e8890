#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "expression.h"

namespace kelp::notification {

struct ConstraintLimits;

/// What a text of the extended trader constraint language says (Notification Service 2.4.4, the
/// grammar there); none for a blank text, which every event matches. Throws ConstraintSyntaxError:
/// for another text, for one that is longer, deeper or more costly than the limits allow, and for
/// one that names what no event has.
std::optional<Expression> parseConstraint(std::string_view text, const ConstraintLimits& limits);

}  // namespace kelp::notification
