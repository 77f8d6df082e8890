#pragma once

#include <cos/CosNotification.h>

#include <string>
#include <vector>

#include "budget.h"
#include "value.h"

namespace kelp::notification {

/// One step of a path into an event: "$a.b", "$a[1]", "$a(name)", "$a.2", "$a.(3)", "$a.()",
/// "$a._length".
struct PathStep {
    enum class Kind {
        Member,
        Index,
        Name,
        Position,
        Label,         ///< the member of a union, if that label is the active one
        DefaultLabel,  ///< the member of a union, if none of its labels is the active one
        Length,
        Discriminant,
        TypeId,
        RepositoryId
    };
    Kind kind = Kind::Member;
    std::string
        name;  ///< of a member, or to be looked up in a list of names and values; a label as text
    std::uint32_t at = 0;  ///< index or position
};
using PropertyPath = std::vector<PathStep>;

/// False for a path that leads nowhere in any event, whatever its properties are:
/// "$.header.nonsense".
bool isPossible(const PropertyPath& path);

/// What a possible path leads to in an event; nothing when the budget is spent on the way.
/// "$curtime" is the current time (Notification Service 2.4), which counts as a number of 100 ns as
/// the time of every TimeBase::UtcT does.
class EventReader {
  public:
    /// Both are borrowed.
    EventReader(const CosNotification::StructuredEvent& event, Budget& budget)
        : event_(event), budget_(budget) {}

    /// The value at the path; none when there is none, or when it is no simple value.
    Result value(const PropertyPath& path) const;
    bool exists(const PropertyPath& path) const;
    /// Whether none of the labels of the union at the path is the active one.
    Result hasDefaultLabel(const PropertyPath& path) const;
    /// Whether the sequence or array at the path has an element of this value.
    Result contains(const PropertyPath& path, const Value& element) const;

  private:
    const CosNotification::StructuredEvent& event_;
    Budget& budget_;
};

}  // namespace kelp::notification
