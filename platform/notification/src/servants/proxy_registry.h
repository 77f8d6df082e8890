#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/orb/corba.h>

#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace kelp::notification {

/// The proxies of one admin by number. `Part` is the proxy servant's part that all kinds have in
/// common; the registry keeps a reference of the servant. Thread safe.
template <class Part>
class ProxyRegistry {
  public:
    using ProxyID = CosNotifyChannelAdmin::ProxyID;

    ProxyID newId() {
        const std::lock_guard guard(mutex_);
        return ++lastId_;
    }
    /// OBJECT_NOT_EXIST once it is closed: nobody would end the proxy any more.
    void enter(ProxyID id, PortableServer::Servant servant, Part* part,
               CORBA::Object_ptr reference) {
        Entry entry;
        servant->_add_ref();
        entry.servant = servant;
        entry.part = part;
        entry.reference = CORBA::Object::_duplicate(reference);
        const std::lock_guard guard(mutex_);
        if (closed_)
            throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
        entries_.emplace(id, entry);
    }
    /// No proxy is entered from here on.
    void close() {
        const std::lock_guard guard(mutex_);
        closed_ = true;
    }
    void forget(ProxyID id) {
        Entry gone;  // its servant may end with it, and must not do so under the lock
        const std::lock_guard guard(mutex_);
        const auto found = entries_.find(id);
        if (found == entries_.end())
            return;
        gone = found->second;
        entries_.erase(found);
    }
    bool empty() const {
        const std::lock_guard guard(mutex_);
        return entries_.empty();
    }
    /// Nil when there is none, or one that `which` is false for.
    template <class Which>
    CORBA::Object_ptr reference(ProxyID id, Which which) const {
        const std::lock_guard guard(mutex_);
        const auto found = entries_.find(id);
        return found == entries_.end() || !which(std::as_const(*found->second.part))
                   ? CORBA::Object::_nil()
                   : CORBA::Object::_duplicate(found->second.reference.in());
    }
    template <class Which>
    CosNotifyChannelAdmin::ProxyIDSeq* ids(Which which) const {
        CosNotifyChannelAdmin::ProxyIDSeq_var ids = new CosNotifyChannelAdmin::ProxyIDSeq;
        const std::lock_guard guard(mutex_);
        for (const auto& [id, entry] : entries_) {
            if (!which(*entry.part))
                continue;
            ids->length(ids->length() + 1);
            ids[ids->length() - 1] = id;
        }
        return ids._retn();
    }
    /// Calls `act` with the proxy's part, kept alive meanwhile, without the lock.
    template <class Act>
    void with(ProxyID id, Act act) const {
        Entry entry;
        {
            const std::lock_guard guard(mutex_);
            const auto found = entries_.find(id);
            if (found == entries_.end())
                return;
            entry = found->second;
        }
        act(*entry.part);
    }
    template <class Act>
    void withAll(Act act) const {
        std::vector<ProxyID> all;
        {
            const std::lock_guard guard(mutex_);
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

    mutable std::mutex mutex_;
    std::map<ProxyID, Entry> entries_;  // guarded by mutex_
    ProxyID lastId_ = 0;                // likewise
    bool closed_ = false;               // likewise
};

}  // namespace kelp::notification
