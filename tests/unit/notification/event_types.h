#pragma once

#include <cos/CosNotification.h>

#include <initializer_list>
#include <utility>

namespace kelp::notification::test {

inline CosNotification::EventType type(const char* domain, const char* name) {
    CosNotification::EventType made;
    made.domain_name = CORBA::string_dup(domain);
    made.type_name = CORBA::string_dup(name);
    return made;
}

inline CosNotification::EventTypeSeq types(
    std::initializer_list<std::pair<const char*, const char*>> named) {
    CosNotification::EventTypeSeq made;
    for (const auto& [domain, name] : named) {
        made.length(made.length() + 1);
        made[made.length() - 1] = type(domain, name);
    }
    return made;
}

}  // namespace kelp::notification::test
