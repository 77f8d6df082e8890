#pragma once

#include <kelp/orb/event_view.h>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

#include "budget.h"
#include "expression.h"

namespace kelp::notification {

/// A text is not a valid constraint.
class ConstraintSyntaxError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Maximum size and cost of a constraint.
struct ConstraintLimits {
    std::size_t octets = 8192;  ///< of the text
    std::size_t cost = 20000;   ///< steps that one evaluation may need, estimated from the text
};

/// A constraint of the extended trader constraint language (Notification Service 2.4), parsed once.
/// Immutable, so any thread may call it. An empty text matches every event.
class Constraint {
  public:
    /// Throws what parseConstraint() throws.
    explicit Constraint(const std::string& text, const ConstraintLimits& limits = {});
    Constraint(const Constraint&) = delete;
    Constraint& operator=(const Constraint&) = delete;

    /// Whether the event matches. Also false if the evaluation fails: a property is missing, types
    /// do not fit each other, or the budget is spent.
    bool matches(const kelp::orb::EventView& event, Budget& budget) const;
    /// The same with a budget of ConstraintLimits::cost steps.
    bool matches(const kelp::orb::EventView& event) const;

  private:
    const ConstraintLimits limits_;
    const std::optional<Expression> expression_;
};

}  // namespace kelp::notification
