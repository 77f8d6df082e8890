#include "omniorb/requests/locating.h"

#include <kelp/orb/poas.h>
#include <omniORB4/omniORB.h>

// a request's object key and a POA's policies are declared only in the ORB's internal headers,
// whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
#include <omniORB4/internal/poaimpl.h>
// clang-format on

#include <algorithm>
#include <string>

#include "omniorb/requests/object_key.h"

namespace kelp::orb {

namespace {

/// The operation for which a servant locator is asked: that of a client who wants to know whether
/// an object exists.
constexpr const char* kQuestion = "_non_existent";

PortableServer::ObjectId idOf(std::string_view octets) {
    PortableServer::ObjectId id;
    id.length(static_cast<CORBA::ULong>(octets.size()));
    std::copy(octets.begin(), octets.end(), id.get_buffer());
    return id;
}

/// Return the POA at a path. Throws AdapterNonExistent for a path that leads nowhere.
PortableServer::POA_ptr poaAt(std::string_view path) {
    // A request may arrive while the ORB shuts down, after the root POA has gone. Resolving
    // "RootPOA" would then make a new one, at which the ORB aborts.
    PortableServer::POA_var poa = omni::omniOrbPOA::rootPOA(0);
    if (CORBA::is_nil(poa.in()))
        throw PortableServer::POA::AdapterNonExistent();
    while (!path.empty()) {
        const std::string name(ObjectKey::takeName(path));
        poa = poa->find_POA(name.c_str(), false);
    }
    return poa._retn();
}

bool isPersistent(PortableServer::POA_ptr poa) {
    const CORBA::PolicyList& policies = *static_cast<omni::omniOrbPOA*>(poa)->policy_list();
    for (CORBA::ULong i = 0; i < policies.length(); ++i) {
        const PortableServer::LifespanPolicy_var lifespan =
            PortableServer::LifespanPolicy::_narrow(policies[i]);
        if (!CORBA::is_nil(lifespan.in()))
            return lifespan->value() == PortableServer::PERSISTENT;
    }
    return false;
}

bool isOfThisLife(const ObjectKey& key) {
    // the ORB itself compares the 8 octets where they exist, and finds no POA without an object id
    if (key.hasTransientMark || !key.hasObjectId)
        return true;
    if (key.poaPath.empty())
        return false;  // the root POA is transient
    try {
        const PortableServer::POA_var poa = poaAt(key.poaPath);
        return isPersistent(poa.in());
    } catch (const CORBA::Exception&) {
        return true;  // there is no such POA, which the ORB finds out as well
    }
}

bool isServedBy(PortableServer::ServantLocator_ptr locator, const PortableServer::ObjectId& id,
                PortableServer::POA_ptr poa) {
    PortableServer::ServantLocator::Cookie cookie = nullptr;
    const PortableServer::Servant servant = locator->preinvoke(id, poa, kQuestion, cookie);
    if (servant == nullptr)
        return false;
    locator->postinvoke(id, poa, kQuestion, cookie, servant);
    return true;
}

/// Return whether the POA serves the object. Throws a CORBA exception, or returns false, when it
/// does not exist.
bool isThere(PortableServer::POA_ptr poa, const PortableServer::ObjectId& id) {
    PortableServer::ServantManager_var manager;
    try {
        manager = poa->get_servant_manager();
    } catch (const PortableServer::POA::WrongPolicy&) {
        return true;  // without a servant manager the ORB answers correctly itself
    }
    const PortableServer::ServantLocator_var locator =
        PortableServer::ServantLocator::_narrow(manager.in());
    if (!CORBA::is_nil(locator.in()))
        return isServedBy(locator.in(), id, poa);
    // with an activator only active objects count: it must not activate one just to answer
    const PortableServer::ServantBase_var servant = poa->id_to_servant(id);
    return true;
}

bool mayBeThere(std::string_view octets) {
    const ObjectKey key = ObjectKey::of(octets);
    if (!isOfThisLife(key))
        return false;
    if (key.poaPath.empty())
        return true;  // a well-known key, or the root POA's own
    if (!key.hasObjectId)
        return false;
    try {
        const PortableServer::POA_var poa = poaAt(key.poaPath);
        return isThere(poa.in(), idOf(key.objectId));
    } catch (const CORBA::Exception&) {
        return false;
    }
}

using Unmarshal = void (*)(omni::giopStream*);

/// Wraps the ORB's function that reads LocateRequests, one for each minor version of GIOP.
template <CORBA::Octet Minor>
struct Guarded {
    static inline Unmarshal ofTheOrb = nullptr;

    static void unmarshal(omni::giopStream* stream) {
        ofTheOrb(stream);
        auto& request = *static_cast<omni::GIOP_S*>(stream);
        const int size = request.keysize();
        if (size > 0 && !mayBeThere({reinterpret_cast<const char*>(request.key()),
                                     static_cast<std::size_t>(size)}))
            request.resetKey();  // without a key the ORB finds no object
    }

    static void install() {
        const GIOP::Version version = {1, Minor};
        omni::giopStreamImpl* const implementation = omni::giopStreamImpl::matchVersion(version);
        if (implementation == nullptr || implementation->unmarshalLocateRequest == unmarshal)
            return;
        ofTheOrb = implementation->unmarshalLocateRequest;
        implementation->unmarshalLocateRequest = unmarshal;
    }
};

}  // namespace

CORBA::OBJECT_NOT_EXIST unknownObject() {
    return {omni::OBJECT_NOT_EXIST_NoMatch, CORBA::COMPLETED_NO};
}

void answerLocateRequestsTruly() {
    Guarded<0>::install();
    Guarded<1>::install();
    Guarded<2>::install();
}

bool isOfThisLife(std::string_view octets) {
    return isOfThisLife(ObjectKey::of(octets));
}

}  // namespace kelp::orb
