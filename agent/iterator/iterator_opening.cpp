#include "iterator/iterator_opening.h"

#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>

#include <string>
#include <string_view>

#include "adapter/iterator_activator.h"
#include "iterator/iterator_list.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

using Evicted = IteratorList::Evicted;

/// Read on every call, because the limits may change while the agent runs.
IteratorLimits configuredLimits() {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    return {config->IteratorRestriction(), config->IteratorNum(), config->IteratorsPerSession()};
}

/// Close an iterator that was removed from the list.
void closeEvicted(PortableServer::ServantBase* iterator) {
    try {
        const PortableServer::POA_var poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in())) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_iterator] _default_POA returned nil POA object!");
        } else {
            const PortableServer::ObjectId_var id = poa->servant_to_id(iterator);
            poa->deactivate_object(id.in());
        }
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[SessionMgr::add_iterator] Occurred during deactivate_object of iterator!");
    }
}

bool isActive(PortableServer::POA_ptr poa, const PortableServer::ObjectId& id) {
    if (kelp::orb::isDying(poa))
        return false;
    try {
        const PortableServer::ServantBase_var servant = poa->id_to_servant(id);
        return true;
    } catch (const CORBA::Exception&) {
        return false;
    }
}

/// Return the name of the top POA of the iterator's session. Empty for an iterator without a
/// session.
std::string sessionOf(PortableServer::ServantBase* iterator) {
    try {
        const PortableServer::POA_var poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in()))
            return {};
        const CORBA::String_var name = poa->the_name();
        const PortableServer::POA_var parent = poa->the_parent();
        if (std::string_view(name.in()) != "iterator" || CORBA::is_nil(parent.in()))
            return {};
        const CORBA::String_var session = parent->the_name();
        return session.in();
    } catch (const CORBA::Exception&) {
        // its session has just ended: the iterator cannot be activated either
        return {};
    }
}

void deactivateQuietly(PortableServer::POA_ptr poa, const PortableServer::ObjectId& id) {
    try {
        poa->deactivate_object(id);
    } catch (const CORBA::Exception&) {
        // it is already inactive, or its POA was destroyed
    }
}

/// Reserve a place for the iterator. Return 0 or an error code.
unsigned long reservePlace(IteratorList& list, const std::string& session, Evicted& evicted) {
    switch (list.reserve(session, configuredLimits(), evicted)) {
        case IteratorList::Reservation::Reserved:
            return 0;
        case IteratorList::Reservation::LockFailed:
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_iterator] Acquire lock failed!");
            return kRegistryFailure;
        case IteratorList::Reservation::HardLimitReached:
            break;
    }
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[SessionMgr::add_iterator] Too much iterator, EMS now starting self-protection!");
    return kTooManyOpenIterators;
}

/// List an iterator that was activated in its reserved place. Return 0 and drop the caller's
/// reference, or return an error code.
unsigned long listActivated(IteratorList& list, PortableServer::ServantBase* iterator,
                            const std::string& session, PortableServer::POA_ptr poa,
                            const PortableServer::ObjectId& id, Evicted& evicted) {
    // the caller's own reference stays until the end: a thread that removes the iterator meanwhile
    // drops the list's reference
    if (!list.add(iterator, session, configuredLimits(), evicted)) {
        deactivateQuietly(poa, id);
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::add_iterator] S3 Acquire lock failed!");
        return kRegistryFailure;
    }
    // Its session may have ended before the iterator was listed. Then no other thread removes it,
    // so remove it here. An iterator that another thread has already removed was open and was
    // closed again, which may happen at any time: that is a success.
    if (!isActive(poa, id) && list.remove(iterator) == IteratorList::Removal::Removed)
        return kInternalFailure;
    iterator->_remove_ref();
    return 0;
}

/// Activate and list an iterator whose place is reserved. Return 0 or an error code.
unsigned long activateAndList(IteratorList& list, PortableServer::ServantBase* iterator,
                              const std::string& session, CORBA::Object_var& reference,
                              Evicted& evicted) {
    PortableServer::POA_var poa;
    PortableServer::ObjectId_var id;
    bool isActivated = false;
    try {
        poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in()))
            throw CORBA::OBJ_ADAPTER();
        id = IteratorServantActivator::activate(poa.in(), iterator);
        isActivated = true;
        reference = poa->id_to_reference(id.in());
    } catch (const CORBA::Exception& ex) {
        list.giveBack(session);
        if (isActivated)
            deactivateQuietly(poa.in(), id.in());
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SessionMgr::add_iterator] Occurred during activate_object!");
        return kInternalFailure;
    }
    return listActivated(list, iterator, session, poa.in(), id.in(), evicted);
}

}  // namespace

unsigned long openIterator(IteratorList& list, PortableServer::ServantBase* iterator,
                           CORBA::Object_var& reference) {
    const std::string session = sessionOf(iterator);
    Evicted evicted;
    unsigned long result = reservePlace(list, session, evicted);
    if (result == 0)
        result = activateAndList(list, iterator, session, reference, evicted);
    if (result != 0)
        reference = CORBA::Object::_nil();  // the iterator may have been active for a moment
    for (auto& each : evicted) {
        closeEvicted(each.get());
        each.reset();
    }
    return result;
}

}  // namespace NS_KELPCORBA
