#pragma once

#include <cos/CosNotifyComm.h>

#include <set>
#include <string>
#include <utility>

namespace kelp::notification {

/// The name of an event type: domain and type, each of which may hold "*" for any text.
using TypeName = std::pair<std::string, std::string>;

/// Names of event types. The name for every type, ("*", "%ALL"), stands alone: no other is beside
/// it.
using TypeSet = std::set<TypeName>;

/// The set of every type.
const TypeSet& allTypes();
bool isAll(const TypeSet& types);

/// The name under which a type is kept. "%ALL" in any domain is every type, and so is "*" in domain
/// "*" or
/// "".
TypeName nameOf(const CosNotification::EventType& type);

/// The set with the changes of an offer_change or a subscription_change. Throws InvalidEventType
/// for a type without a name and NO_RESOURCES for more names than anybody needs.
TypeSet changedTypes(TypeSet types, const CosNotification::EventTypeSeq& added,
                     const CosNotification::EventTypeSeq& removed);

void unite(TypeSet& types, const TypeSet& others);

/// Names of the types that are in both sets, wildcards considered. Where two names overlap and
/// neither holds the other, the one of `types` stays: too much rather than too little.
TypeSet narrowed(const TypeSet& types, const TypeSet& others);

/// The names that are in `types` and not in `others`.
TypeSet without(const TypeSet& types, const TypeSet& others);

CosNotification::EventTypeSeq* asSequence(const TypeSet& types);

/// True when `text` has the form of `pattern`, whose "*" stand for any text.
bool matchesPattern(const char* pattern, const char* text);

}  // namespace kelp::notification
