#include <kelp/corbabase/ior_parser.h>
#include <kelp/orb/references.h>

#include "orb/orb_life.h"

namespace NS_CORBA {

bool IOR_Parser::GetHostInfo(CORBA::Object_ptr reference, std::string& hostInfo) {
    const CORBA::ORB_var orb = OrbLife::instance().orb();
    if (CORBA::is_nil(orb.in()) || CORBA::is_nil(reference))
        return false;
    kelp::orb::ReferenceContent content;
    if (!kelp::orb::describe(orb.in(), reference, content) || content.endpoints.empty())
        return false;
    last_ = kelp::orb::hostAndPort(content.endpoints.front());
    hostInfo = last_;
    return true;
}

bool IOR_Parser::GetIPAndPortInfo(std::string& hostInfo) const {
    if (last_.empty())
        return false;
    hostInfo = last_;
    return true;
}

}  // namespace NS_CORBA
