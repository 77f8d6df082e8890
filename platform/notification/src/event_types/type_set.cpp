#include "event_types/type_set.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace kelp::notification {

namespace {

/// A longer list does not select types any more.
constexpr std::size_t kTypesMax = 200;

void requireName(const CosNotification::EventTypeSeq& types) {
    for (CORBA::ULong i = 0; i < types.length(); ++i) {
        if (*types[i].type_name.in() == '\0')
            throw CosNotifyComm::InvalidEventType(types[i]);
    }
}

/// The pattern for what two patterns have in common; none if no text matches both.
std::optional<std::string> overlap(const std::string& one, const std::string& other) {
    if (matchesPattern(other.c_str(), one.c_str()))
        return one;
    if (matchesPattern(one.c_str(), other.c_str()))
        return other;
    const bool bothVary =
        one.find('*') != std::string::npos && other.find('*') != std::string::npos;
    return bothVary ? std::optional(one) : std::nullopt;
}

void keepAllAlone(TypeSet& types) {
    if (types.contains(*allTypes().begin()))
        types = allTypes();
}

}  // namespace

const TypeSet& allTypes() {
    static const TypeSet all{{"*", "%ALL"}};
    return all;
}

bool isAll(const TypeSet& types) {
    return types == allTypes();
}

TypeName nameOf(const CosNotification::EventType& type) {
    TypeName name(type.domain_name.in(), type.type_name.in());
    const bool anyDomain = name.first == "*" || name.first.empty();
    return name.second == "%ALL" || (name.second == "*" && anyDomain) ? *allTypes().begin() : name;
}

TypeSet changedTypes(TypeSet types, const CosNotification::EventTypeSeq& added,
                     const CosNotification::EventTypeSeq& removed) {
    requireName(added);
    requireName(removed);
    for (CORBA::ULong i = 0; i < removed.length(); ++i)
        types.erase(nameOf(removed[i]));
    for (CORBA::ULong i = 0; i < added.length(); ++i) {
        types.insert(nameOf(added[i]));
        if (types.size() > kTypesMax)
            throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    }
    keepAllAlone(types);
    return types;
}

void unite(TypeSet& types, const TypeSet& others) {
    types.insert(others.begin(), others.end());
    keepAllAlone(types);
}

TypeSet narrowed(const TypeSet& types, const TypeSet& others) {
    if (isAll(others))
        return types;
    if (isAll(types))
        return others;
    TypeSet common;
    for (const auto& [domain, name] : types) {
        for (const auto& [otherDomain, otherName] : others) {
            const auto commonDomain = overlap(domain, otherDomain);
            const auto commonName = overlap(name, otherName);
            if (commonDomain && commonName)
                common.emplace(*commonDomain, *commonName);
        }
    }
    return common;
}

TypeSet without(const TypeSet& types, const TypeSet& others) {
    TypeSet rest;
    std::set_difference(types.begin(), types.end(), others.begin(), others.end(),
                        std::inserter(rest, rest.end()));
    return rest;
}

CosNotification::EventTypeSeq* asSequence(const TypeSet& types) {
    CosNotification::EventTypeSeq_var list = new CosNotification::EventTypeSeq;
    list->length(static_cast<CORBA::ULong>(types.size()));
    CORBA::ULong i = 0;
    for (const auto& [domain, name] : types) {
        list[i].domain_name = CORBA::string_dup(domain.c_str());
        list[i].type_name = CORBA::string_dup(name.c_str());
        ++i;
    }
    return list._retn();
}

bool matchesPattern(const char* pattern, const char* text) {
    const char* star = nullptr;
    const char* resume = nullptr;
    while (*text != '\0') {
        if (*pattern == '*') {
            star = pattern++;
            resume = text;
        } else if (*pattern == *text) {
            ++pattern;
            ++text;
        } else if (star != nullptr) {
            pattern = star + 1;
            text = ++resume;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

}  // namespace kelp::notification
