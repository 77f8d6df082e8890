// The session manager's list of open iterators and its limits: how the EMS protects itself from an NMS that
// opens iterators and never destroys them.

#include <kelp/agent/session_mgr.h>

#include "util/tracepoint.h"

#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/orb/poas.h>

#include <ace/Guard_T.h>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

using IteratorLock = ACE_Write_Guard<ACE_RW_Mutex>;

bool isAbove(std::size_t count, int limit) {
    return limit < 0 || count > static_cast<std::size_t>(limit);
}

/// Closes an iterator that has left the list, and drops the list's reference.
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
        NS_CORBA::TaException(ex,
                              "[SessionMgr::add_iterator] Occurred during deactivate_object of iterator!");
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

void deactivateQuietly(PortableServer::POA_ptr poa, const PortableServer::ObjectId& id) {
    try {
        poa->deactivate_object(id);
    } catch (const CORBA::Exception&) {
        // it is inactive already, or its POA has gone
    }
}

}  // namespace

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator) {
    CORBA::Object_var reference;
    return add_iterator(iterator, reference);
}

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator, CORBA::Object_var& reference) {
    PortableServer::ServantBase* evicted = nullptr;
    PortableServer::ServantBase* evictedLate = nullptr;
    unsigned long result = ReserveIteratorPlace(evicted);
    if (result == 0)
        result = ActivateAndList(iterator, reference, evictedLate);
    if (result != 0)
        reference = CORBA::Object::_nil();  // it may have been active for a moment
    for (PortableServer::ServantBase* each : {evicted, evictedLate}) {
        if (each != nullptr)
            closeEvicted(each);
    }
    return result;
}

PortableServer::ServantBase* SessionMgr::TakeOldestIterator() {
    PortableServer::ServantBase* oldest = iterators_.front();
    iteratorPlaces_.erase(oldest);
    iterators_.pop_front();
    return oldest;
}

unsigned long SessionMgr::ReserveIteratorPlace(PortableServer::ServantBase*& evicted) {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const int softLimit = config->IteratorRestriction();
    const int hardLimit = config->IteratorNum();
    {
        const IteratorLock lock(iteratorLock_);
        if (!lock.locked()) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_iterator] Acquire lock failed!");
            return kRegistryFailure;
        }
        const bool isOverSoftLimit = isAbove(iterators_.size() + iteratorsToCome_, softLimit);
        if (isOverSoftLimit && !iterators_.empty())
            evicted = TakeOldestIterator();
        if (!isAbove(iterators_.size() + iteratorsToCome_ + 1, hardLimit)) {
            // counted at once: however many come together, no more than the limit are opened
            ++iteratorsToCome_;
            if (isOverSoftLimit && evicted == nullptr)
                ++evictionsOwed_;
            return 0;
        }
    }
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::add_iterator] Too much iterator, EMS now starting self-protection!");
    return kTooManyOpenIterators;
}

unsigned long SessionMgr::ActivateAndList(PortableServer::ServantBase* iterator, CORBA::Object_var& reference,
                                          PortableServer::ServantBase*& evicted) {
    PortableServer::POA_var poa;
    PortableServer::ObjectId_var id;
    bool isActivated = false;
    try {
        poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in()))
            throw CORBA::OBJ_ADAPTER();
        id = poa->activate_object(iterator);
        isActivated = true;
        reference = poa->id_to_reference(id.in());
    } catch (const CORBA::Exception& ex) {
        --iteratorsToCome_;
        if (isActivated)
            deactivateQuietly(poa.in(), id.in());
        tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SessionMgr::add_iterator] Occurred during activate_object!");
        return kInternalFailure;
    }
    return ListActivated(iterator, poa.in(), id.in(), evicted);
}

unsigned long SessionMgr::ListActivated(PortableServer::ServantBase* iterator, PortableServer::POA_ptr poa,
                                        const PortableServer::ObjectId& id,
                                        PortableServer::ServantBase*& evicted) {
    const int softLimit = NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorRestriction();
    bool isListed = false;
    {
        const IteratorLock lock(iteratorLock_);
        --iteratorsToCome_;
        if (lock.locked()) {
            // the caller's own stays until the end: whoever takes the iterator out meanwhile drops this one
            iterator->_add_ref();
            iteratorPlaces_[iterator] = iterators_.insert(iterators_.end(), iterator);
            isListed = true;
            if (evictionsOwed_ > 0 && isAbove(iterators_.size() - 1, softLimit) && iterators_.size() > 1) {
                evicted = TakeOldestIterator();
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
    // Its session may have ended before it was listed: then nobody else will take it out. One that somebody
    // has taken out meanwhile was open and is closed again, as may happen at any time.
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
        const auto found = iteratorPlaces_.find(iterator);
        if (found == iteratorPlaces_.end())
            return true;
        iterators_.erase(found->second);
        iteratorPlaces_.erase(found);
        wasListed = true;
    }
    iterator->_remove_ref();
    return true;
}

std::size_t SessionMgr::IteratorCount() {
    const IteratorLock lock(iteratorLock_);
    return iterators_.size();
}

}  // namespace NS_KELPCORBA
