#pragma once

#include <cos/CosNotifyComm.h>

#include <set>
#include <string>
#include <utility>

namespace kelp::notification {

/// The name of an event type: domain and type. In each, "*" stands for any text.
using TypeName = std::pair<std::string, std::string>;

/// Names of event types. The name for every type, ("*", "%ALL"), is always the only one in its set.
using TypeSet = std::set<TypeName>;

/// The set of every type.
const TypeSet& allTypes();
bool isAll(const TypeSet& types);

/// The name of a type in a set. "%ALL" in any domain means every type, as does "*" in domain "*" or
/// "".
TypeName nameOf(const CosNotification::EventType& type);

/// The set after the changes of an offer_change or a subscription_change. Throws InvalidEventType
/// for a type without a name, and NO_RESOURCES if the set becomes larger than 200 names.
TypeSet changedTypes(TypeSet types, const CosNotification::EventTypeSeq& added,
                     const CosNotification::EventTypeSeq& removed);

void unite(TypeSet& types, const TypeSet& others);

/// Names of the types that are in both sets, with regard to wildcards. Of two names that overlap
/// without one including the other, the one of `types` stays: too many types rather than too few.
TypeSet narrowed(const TypeSet& types, const TypeSet& others);

/// The names that are in `types` and not in `others`.
TypeSet without(const TypeSet& types, const TypeSet& others);

CosNotification::EventTypeSeq* asSequence(const TypeSet& types);

/// True if `text` matches `pattern`, in which "*" stands for any text.
bool matchesPattern(const char* pattern, const char* text);

}  // namespace kelp::notification
