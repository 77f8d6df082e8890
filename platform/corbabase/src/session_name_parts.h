#pragma once

#include <string_view>

namespace NS_CORBA {

// What a tagged session name says (see TEUserHelper), as parts of that name; empty for a name of another
// form.
std::string_view userOfSessionName(std::string_view sessionName);
/// "address:port"
std::string_view nmsAddressOfSessionName(std::string_view sessionName);

}  // namespace NS_CORBA
