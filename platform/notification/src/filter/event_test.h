#pragma once

#include <cos/CosNotification.h>

#include <memory>

namespace kelp::notification {

class Budget;

/// What a filter is for those who use it.
class EventTest {
  public:
    virtual ~EventTest() = default;
    /// Whether the event passes. False when the budget is spent before that is known.
    virtual bool passes(const CosNotification::StructuredEvent& event, Budget& budget) const = 0;
    /// Held by each user.
    virtual std::shared_ptr<const void> use() const = 0;
};

}  // namespace kelp::notification
