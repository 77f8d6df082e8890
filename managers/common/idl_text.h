#pragma once

#include <kelp/orb/corba.h>

#include <cstring>
#include <string_view>

namespace kelp::managers {

/// Fill a string member of a structure. The member must be empty, as a default-constructed one is.
/// This is faster than CORBA::string_dup, which would search for the end of the text twice and
/// allocate memory even for an empty text.
template <class Member>
void textToIdl(std::string_view text, Member& member) {
    if (text.empty())
        return;
    char* const copy = CORBA::string_alloc(static_cast<CORBA::ULong>(text.size()));
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    member = copy;
}

}  // namespace kelp::managers
