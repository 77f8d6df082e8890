#include "cos_names.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace kelp::naming {

using CosNaming::Name;
using CosNaming::NamingContext;
using util::NamingComponent;
using util::NamingPath;

namespace {

constexpr std::size_t kShortBytesMax = 200;

void set(CosNaming::NameComponent& component, const NamingComponent& from) {
    component.id = CORBA::string_dup(from.id.c_str());
    component.kind = CORBA::string_dup(from.kind.c_str());
}

}  // namespace

NamingPath pathOf(const Name& name) {
    if (name.length() == 0 || name.length() > kComponentsMax)
        throw NamingContext::InvalidName();
    NamingPath path;
    path.reserve(name.length());
    std::size_t bytes = 0;
    for (CORBA::ULong i = 0; i < name.length(); ++i) {
        bytes += std::strlen(name[i].id.in()) + std::strlen(name[i].kind.in());
        if (bytes > kNameBytesMax)
            throw NamingContext::InvalidName();
        path.push_back({name[i].id.in(), name[i].kind.in()});
    }
    return path;
}

NamingPath pathOf(const char* stringifiedName) {
    // escaping every character doubles the length
    if (::strnlen(stringifiedName, 2 * kNameBytesMax + 1) > 2 * kNameBytesMax)
        throw NamingContext::InvalidName();
    try {
        NamingPath path = util::toNamingPath(stringifiedName);
        if (path.size() > kComponentsMax)
            throw NamingContext::InvalidName();
        return path;
    } catch (const std::invalid_argument&) {
        throw NamingContext::InvalidName();
    }
}

void throwGone() {
    throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
}

Name* nameOf(const NamingPath& path) {
    CosNaming::Name_var name = new Name;
    name->length(static_cast<CORBA::ULong>(path.size()));
    for (CORBA::ULong i = 0; i < name->length(); ++i)
        set(name[i], path[i]);
    return name._retn();
}

std::string shortText(const Name& name) {
    std::string text;
    for (CORBA::ULong i = 0; i < name.length() && text.size() < kShortBytesMax; ++i) {
        text += i > 0 ? "/" : "";
        text.append(name[i].id.in(), ::strnlen(name[i].id.in(), kShortBytesMax));
        if (*name[i].kind.in() == '\0')
            continue;
        text += ".";
        text.append(name[i].kind.in(), ::strnlen(name[i].kind.in(), kShortBytesMax));
    }
    if (text.size() > kShortBytesMax)
        text.resize(kShortBytesMax);
    return text;
}

CosNaming::Binding bindingOf(const NameEntry& entry) {
    CosNaming::Binding binding;
    binding.binding_name.length(1);
    set(binding.binding_name[0], entry.name);
    binding.binding_type = entry.isContext ? CosNaming::ncontext : CosNaming::nobject;
    return binding;
}

CosNaming::BindingList* bindingsOf(const std::vector<NameEntry>& entries) {
    CosNaming::BindingList_var bindings = new CosNaming::BindingList;
    bindings->length(static_cast<CORBA::ULong>(entries.size()));
    for (CORBA::ULong i = 0; i < bindings->length(); ++i)
        bindings[i] = bindingOf(entries[i]);
    return bindings._retn();
}

}  // namespace kelp::naming
