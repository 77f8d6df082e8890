#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/orb/corba.h>
#include <kelp/util/mutex.h>

#include <map>
#include <utility>
#include <vector>

namespace kelp::notification {

/// The proxies of one admin by id. `Part` is the base class that proxy servants of all kinds have
/// in common. The registry holds a reference to each servant. Thread safe.
template <class Part>
class ProxyRegistry {
  public:
    using ProxyID = CosNotifyChannelAdmin::ProxyID;

    ProxyID newId() KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        return ++lastId_;
    }
    /// Add a proxy. Throws OBJECT_NOT_EXIST after close(), because nobody would end the proxy.
    void enter(ProxyID id, PortableServer::Servant servant, Part* part, CORBA::Object_ptr reference)
        KELP_EXCLUDES(mutex_) {
        Entry entry;
        servant->_add_ref();
        entry.servant = servant;
        entry.part = part;
        entry.reference = CORBA::Object::_duplicate(reference);
        const util::MutexLock guard(mutex_);
        if (closed_)
            throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
        entries_.emplace(id, entry);
    }
    /// No proxy can be added from here on.
    void close() KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        closed_ = true;
    }
    void forget(ProxyID id) KELP_EXCLUDES(mutex_) {
        Entry gone;  // may delete the servant, which must not happen under the lock
        const util::MutexLock guard(mutex_);
        const auto found = entries_.find(id);
        if (found == entries_.end())
            return;
        gone = found->second;
        entries_.erase(found);
    }
    bool empty() const KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        return entries_.empty();
    }
    /// The proxy's reference; nil if there is no such proxy or `which` is false for it. `which` is
    /// called under the lock.
    template <class Which>
    CORBA::Object_ptr reference(ProxyID id, Which which) const KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        const auto found = entries_.find(id);
        return found == entries_.end() || !which(std::as_const(*found->second.part))
                   ? CORBA::Object::_nil()
                   : CORBA::Object::_duplicate(found->second.reference.in());
    }
    template <class Which>
    CosNotifyChannelAdmin::ProxyIDSeq* ids(Which which) const KELP_EXCLUDES(mutex_) {
        CosNotifyChannelAdmin::ProxyIDSeq_var ids = new CosNotifyChannelAdmin::ProxyIDSeq;
        const util::MutexLock guard(mutex_);
        for (const auto& [id, entry] : entries_) {
            if (!which(*entry.part))
                continue;
            ids->length(ids->length() + 1);
            ids[ids->length() - 1] = id;
        }
        return ids._retn();
    }
    /// Call `act` with the proxy's part, without the lock. The proxy stays alive meanwhile.
    template <class Act>
    void with(ProxyID id, Act act) const KELP_EXCLUDES(mutex_) {
        Entry entry;
        {
            const util::MutexLock guard(mutex_);
            const auto found = entries_.find(id);
            if (found == entries_.end())
                return;
            entry = found->second;
        }
        act(*entry.part);
    }
    template <class Act>
    void withAll(Act act) const KELP_EXCLUDES(mutex_) {
        std::vector<ProxyID> all;
        {
            const util::MutexLock guard(mutex_);
            for (const auto& [id, entry] : entries_)
                all.push_back(id);
        }
        for (const ProxyID id : all)
            with(id, act);
    }

  private:
    struct Entry {
        PortableServer::ServantBase_var servant;
        Part* part = nullptr;
        CORBA::Object_var reference;
    };

    mutable util::Mutex mutex_{util::LockRank::ChannelPart, "ProxyRegistry::mutex_"};
    std::map<ProxyID, Entry> entries_ KELP_GUARDED_BY(mutex_);
    ProxyID lastId_ KELP_GUARDED_BY(mutex_) = 0;
    bool closed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
