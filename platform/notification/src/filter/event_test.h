#pragma once

#include <kelp/orb/event_view.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::notification {

class Budget;

/// A filter as its users see it.
class EventTest {
  public:
    virtual ~EventTest() = default;
    /// Whether the event passes. False if the budget is spent before the result is known.
    virtual bool passes(const kelp::orb::EventView& event, Budget& budget) const = 0;
    /// A token that each user holds while it uses the filter.
    virtual std::shared_ptr<const void> use() const = 0;
    /// The constraints as text. Empty if there are none.
    virtual std::vector<std::string> texts() const { return {}; }
};

}  // namespace kelp::notification
