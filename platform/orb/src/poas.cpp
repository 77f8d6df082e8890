#include <kelp/orb/poas.h>

#include "port_state.h"

namespace kelp::orb {

bool isDying(PortableServer::POA_ptr poa) {
    if (CORBA::is_nil(poa))
        return true;
    try {
        PortableServer::POA_var lower = PortableServer::POA::_duplicate(poa);
        for (;;) {
            PortableServer::POA_var upper = lower->the_parent();
            if (CORBA::is_nil(upper.in()))
                return false;
            const CORBA::String_var name = lower->the_name();
            const PortableServer::POA_var found = upper->find_POA(name.in(), false);
            if (!found->_is_equivalent(lower.in()))
                return true;
            lower = upper._retn();
        }
    } catch (const CORBA::Exception&) {
        // the parent does not find the POA, or the POA itself is destroyed
        return true;
    }
}

std::string topPoaName(PortableServer::POA_ptr poa) {
    if (CORBA::is_nil(poa))
        return {};
    try {
        std::string name;
        PortableServer::POA_var lower = PortableServer::POA::_duplicate(poa);
        for (;;) {
            PortableServer::POA_var upper = lower->the_parent();
            if (CORBA::is_nil(upper.in()))
                return name;
            const CORBA::String_var lowerName = lower->the_name();
            name = lowerName.in();
            lower = upper._retn();
        }
    } catch (const CORBA::Exception&) {
        return {};
    }
}

std::string currentTopPoaName(CORBA::ORB_ptr orb) {
    if (CORBA::is_nil(orb))
        return {};
    try {
        const PortableServer::Current_var current = PortState::instance().poaCurrent();
        if (CORBA::is_nil(current.in()))
            return {};
        const PortableServer::POA_var poa = current->get_POA();
        return topPoaName(poa.in());
    } catch (const CORBA::Exception&) {
        return {};
    }
}

}  // namespace kelp::orb
