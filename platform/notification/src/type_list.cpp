#include "type_list.h"

namespace kelp::notification {

namespace {

bool meansAll(const CosNotification::EventType& type) {
    const std::string name(type.type_name.in());
    const std::string domain(type.domain_name.in());
    return name == "%ALL" || (name == "*" && (domain == "*" || domain.empty()));
}

void requireName(const CosNotification::EventTypeSeq& types) {
    for (CORBA::ULong i = 0; i < types.length(); ++i) {
        if (*types[i].type_name.in() == '\0')
            throw CosNotifyComm::InvalidEventType(types[i]);
    }
}

}  // namespace

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

void TypeList::change(const CosNotification::EventTypeSeq& added,
                      const CosNotification::EventTypeSeq& removed) {
    requireName(added);
    requireName(removed);
    const std::lock_guard guard(mutex_);
    for (CORBA::ULong i = 0; i < removed.length(); ++i)
        types_.erase(Type(removed[i].domain_name.in(), removed[i].type_name.in()));
    for (CORBA::ULong i = 0; i < added.length(); ++i) {
        if (meansAll(added[i])) {
            types_.clear();
            return;
        }
        types_.emplace(added[i].domain_name.in(), added[i].type_name.in());
    }
}

bool TypeList::matches(const CosNotification::EventType& type) const {
    const std::lock_guard guard(mutex_);
    if (types_.empty())
        return true;
    for (const auto& [domain, name] : types_) {
        if (matchesPattern(domain.c_str(), type.domain_name.in()) &&
            matchesPattern(name.c_str(), type.type_name.in()))
            return true;
    }
    return false;
}

CosNotification::EventTypeSeq* TypeList::list() const {
    CosNotification::EventTypeSeq_var list = new CosNotification::EventTypeSeq;
    const std::lock_guard guard(mutex_);
    list->length(types_.empty() ? 1 : static_cast<CORBA::ULong>(types_.size()));
    CORBA::ULong i = 0;
    for (const auto& [domain, name] : types_) {
        list[i].domain_name = CORBA::string_dup(domain.c_str());
        list[i].type_name = CORBA::string_dup(name.c_str());
        ++i;
    }
    if (types_.empty()) {
        list[0].domain_name = CORBA::string_dup("*");
        list[0].type_name = CORBA::string_dup("%ALL");
    }
    return list._retn();
}

}  // namespace kelp::notification
