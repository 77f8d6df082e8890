#pragma once

#include <cos/CosNotification.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace kelp::notification {

/// A text that is no constraint.
class ConstraintSyntaxError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A constraint of the extended trader constraint language (Notification Service 2.4), parsed once.
/// Immutable: any thread may ask it. An empty text matches every event.
class Constraint {
  public:
    /// Throws ConstraintSyntaxError, also for texts that are too long or too deep to be honest.
    explicit Constraint(const std::string& text);
    ~Constraint();
    Constraint(const Constraint&) = delete;
    Constraint& operator=(const Constraint&) = delete;

    /// False too when it fails: a property is missing, types do not go together.
    bool matches(const CosNotification::StructuredEvent& event) const;

  private:
    class Tree;
    std::unique_ptr<const Tree> tree_;
};

}  // namespace kelp::notification
