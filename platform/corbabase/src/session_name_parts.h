#pragma once

#include <string>

namespace NS_CORBA {

// What a tagged session name says (see TEUserHelper); empty texts for a name of another form.
std::string userOfSessionName(const std::string& sessionName);
/// "address:port"
std::string nmsAddressOfSessionName(const std::string& sessionName);

}  // namespace NS_CORBA
