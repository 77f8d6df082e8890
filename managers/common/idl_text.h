#pragma once

#include <kelp/orb/corba.h>

#include <cstring>
#include <string_view>

namespace kelp::managers {

/// Fills a structure's string that is as newly made, that is, empty. CORBA::string_dup would look
/// for the text's end, twice, and give an empty text room of its own.
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
