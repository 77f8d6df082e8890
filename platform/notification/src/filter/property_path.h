#pragma once

#include <cos/CosNotification.h>

#include <string>
#include <vector>

#include "value.h"

namespace kelp::notification {

/// One step of a path into an event: "$a.b", "$a[1]", "$a(name)", "$a.2", "$a._length".
struct PathStep {
    enum class Kind { Member, Index, Name, Position, Length, Discriminant, TypeId, RepositoryId };
    Kind kind = Kind::Member;
    std::string name;      ///< of a member, or to be looked up in a list of names and values
    std::uint32_t at = 0;  ///< index or position
};
using PropertyPath = std::vector<PathStep>;

/// What a path leads to in an event.
class EventReader {
  public:
    explicit EventReader(const CosNotification::StructuredEvent& event) : event_(event) {}

    /// The value at the path; none when there is none, or when it is no simple value.
    Result value(const PropertyPath& path) const;
    bool exists(const PropertyPath& path) const;
    /// Whether the sequence or array at the path has an element of this value.
    Result contains(const PropertyPath& path, const Value& element) const;

  private:
    const CosNotification::StructuredEvent& event_;
};

}  // namespace kelp::notification
