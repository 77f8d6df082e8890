// The session manager's list of open iterators and its limits. They protect the EMS from an NMS
// that opens iterators and never destroys them.

#include <ace/Guard_T.h>
#include <kelp/agent/error_translation.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/orb/poas.h>

#include <string_view>

#include "adapter/iterator_activator.h"
#include "util/trace_point.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

using IteratorLock = ACE_Write_Guard<ACE_RW_Mutex>;

bool isAbove(std::size_t count, int limit) {
    return limit < 0 || count > static_cast<std::size_t>(limit);
}

/// Close an iterator that was removed from the list, and drop the list's reference.
void closeEvicted(PortableServer::ServantBase* iterator) {
    try {
        const PortableServer::POA_var poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in())) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_iterator] _default_POA returned nil POA object!");
        } else {
            const PortableServer::ObjectId_var id = poa->servant_to_id(iterator);
            poa->deactivate_object(id.in());
        }
    } catch (const CORBA::Exception& ex) {
        tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[SessionMgr::add_iterator] Occurred during deactivate_object of iterator!");
    }
    iterator->_remove_ref();
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

}  // namespace

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator) {
    CORBA::Object_var reference;
    return add_iterator(iterator, reference);
}

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator,
                                       CORBA::Object_var& reference) {
    const std::string session = sessionOf(iterator);
    Evicted evicted;
    unsigned long result = ReserveIteratorPlace(session, evicted);
    if (result == 0)
        result = ActivateAndList(iterator, session, reference, evicted);
    if (result != 0)
        reference = CORBA::Object::_nil();  // the iterator may have been active for a moment
    for (PortableServer::ServantBase* each : evicted)
        closeEvicted(each);
    return result;
}

unsigned long SessionMgr::ReserveIteratorPlace(const std::string& session, Evicted& evicted) {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const int softLimit = config->IteratorRestriction();
    const int hardLimit = config->IteratorNum();
    const int ownLimit = config->IteratorsPerSession();
    {
        const IteratorLock lock(iteratorLock_);
        if (!lock.locked()) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_iterator] Acquire lock failed!");
            return kRegistryFailure;
        }
        // evict the session's own iterators first, so that they do not count for the common limits
        while (!session.empty() && isAbove(iterators_.countOf(session) + 1, ownLimit)) {
            PortableServer::ServantBase* const own = iterators_.takeOldestOf(session);
            if (own == nullptr)
                break;  // all of them are being activated; ListActivated() evicts one later
            evicted.push_back(own);
        }
        const bool isOverSoftLimit = isAbove(iterators_.count() + iteratorsToCome_, softLimit);
        PortableServer::ServantBase* const oldest =
            isOverSoftLimit ? iterators_.takeOldest() : nullptr;
        if (oldest != nullptr)
            evicted.push_back(oldest);
        if (!isAbove(iterators_.count() + iteratorsToCome_ + 1, hardLimit)) {
            // counted here already, so that concurrent callers cannot exceed the limit
            ++iteratorsToCome_;
            iterators_.expect(session);
            if (isOverSoftLimit && oldest == nullptr)
                ++evictionsOwed_;
            return 0;
        }
    }
    tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[SessionMgr::add_iterator] Too much iterator, EMS now starting self-protection!");
    return kTooManyOpenIterators;
}

void SessionMgr::GiveIteratorPlaceBack(const std::string& session) {
    const IteratorLock lock(iteratorLock_);
    --iteratorsToCome_;
    if (lock.locked())
        iterators_.arrived(session);
}

unsigned long SessionMgr::ActivateAndList(PortableServer::ServantBase* iterator,
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
        GiveIteratorPlaceBack(session);
        if (isActivated)
            deactivateQuietly(poa.in(), id.in());
        tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SessionMgr::add_iterator] Occurred during activate_object!");
        return kInternalFailure;
    }
    return ListActivated(iterator, session, poa.in(), id.in(), evicted);
}

unsigned long SessionMgr::ListActivated(PortableServer::ServantBase* iterator,
                                        const std::string& session, PortableServer::POA_ptr poa,
                                        const PortableServer::ObjectId& id, Evicted& evicted) {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const int softLimit = config->IteratorRestriction();
    const int ownLimit = config->IteratorsPerSession();
    bool isListed = false;
    {
        const IteratorLock lock(iteratorLock_);
        --iteratorsToCome_;
        if (lock.locked()) {
            iterators_.arrived(session);
            // the caller's own reference stays until the end: a thread that removes the iterator
            // meanwhile drops the list's reference
            iterator->_add_ref();
            iterators_.add(iterator, session);
            isListed = true;
            // concurrent callers may have found none of the session's iterators to evict
            while (!session.empty() && isAbove(iterators_.countOf(session), ownLimit)) {
                PortableServer::ServantBase* const own = iterators_.takeOldestOf(session, iterator);
                if (own == nullptr)
                    break;
                evicted.push_back(own);
            }
            if (evictionsOwed_ > 0 && isAbove(iterators_.count() - 1, softLimit) &&
                iterators_.count() > 1) {
                evicted.push_back(iterators_.takeOldest());
                --evictionsOwed_;
            }
            if (iteratorsToCome_ == 0)
                evictionsOwed_ = 0;
        }
    }
    if (!isListed) {
        deactivateQuietly(poa, id);
        tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::add_iterator] S3 Acquire lock failed!");
        return kRegistryFailure;
    }
    // Its session may have ended before the iterator was listed. Then no other thread removes it,
    // so remove it here. An iterator that another thread has already removed was open and was
    // closed again, which may happen at any time: that is a success.
    bool wasListed = false;
    if (!isActive(poa, id) && TakeOutIterator(iterator, wasListed) && wasListed)
        return kInternalFailure;
    iterator->_remove_ref();
    return 0;
}

int SessionMgr::remove_iterator(PortableServer::ServantBase* iterator) {
    bool wasListed = false;
    return TakeOutIterator(iterator, wasListed) ? 0 : -1;
}

bool SessionMgr::TakeOutIterator(PortableServer::ServantBase* iterator, bool& wasListed) {
    {
        const IteratorLock lock(iteratorLock_);
        if (!lock.locked())
            return false;
        if (!iterators_.remove(iterator))
            return true;
        wasListed = true;
    }
    iterator->_remove_ref();
    return true;
}

std::size_t SessionMgr::IteratorCount() {
    const IteratorLock lock(iteratorLock_);
    return iterators_.count();
}

}  // namespace NS_KELPCORBA
