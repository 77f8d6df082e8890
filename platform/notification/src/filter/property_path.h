#pragma once

#include <kelp/orb/event_view.h>

#include <string>
#include <vector>

#include "budget.h"
#include "value.h"

namespace kelp::notification {

/// One step of a path into an event, such as "$a.b", "$a[1]", "$a(name)", "$a.2", "$a.(3)", "$a.()"
/// or "$a._length".
struct PathStep {
    enum class Kind {
        Member,
        Index,
        Name,
        Position,
        Label,         ///< the member of a union if that label is active
        DefaultLabel,  ///< the member of a union if none of its labels is active
        Length,
        Discriminant,
        TypeId,
        RepositoryId
    };
    Kind kind = Kind::Member;
    std::string
        name;  ///< a member, a name to look up in a list of names and values, or a label as text
    std::uint32_t at = 0;  ///< index or position
};
using PropertyPath = std::vector<PathStep>;

/// False for a path that leads nowhere in any event, whatever its properties are, such as
/// "$.header.nonsense".
bool isPossible(const PropertyPath& path);

/// Reads an event along paths for which isPossible() is true. Finds nothing once the budget is
/// spent. "$curtime" is the current time (Notification Service 2.4). Times, those of TimeBase::UtcT
/// as well, are numbers in units of 100 ns.
class EventReader {
  public:
    /// Borrows the view's event and the budget.
    EventReader(const kelp::orb::EventView& event, Budget& budget)
        : event_(event), budget_(budget) {}

    /// The value at the path; none if the path leads nowhere or the value is not a simple one.
    Result value(const PropertyPath& path) const;
    bool exists(const PropertyPath& path) const;
    /// Whether none of the labels of the union at the path is active.
    Result hasDefaultLabel(const PropertyPath& path) const;
    /// Whether the sequence or array at the path contains an element with this value.
    Result contains(const PropertyPath& path, const Value& element) const;

  private:
    const kelp::orb::EventView event_;
    Budget& budget_;
};

}  // namespace kelp::notification
