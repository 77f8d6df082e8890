#pragma once

#include <kelp/notification/guard.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <map>
#include <mutex>
#include <string>

namespace kelp::notification {

/// The objects of a channel by their keys, which are random so that none can be guessed, and the gate that
/// every request passes on its way to one. A caller over a connection whose address may not use the channel
/// gets NO_PERMISSION for every operation but these: an end is always taken (disconnect_...), and whether an
/// object is there, and of which interface, is told to those who have its key.
///
/// Calls inside the process pass. Thread safe. A servant is pinned while it is called.
class GuardedObjects final : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// Null: everybody may use the channel.
    explicit GuardedObjects(const Guard* guard) : guard_(guard) {}

    /// NO_PERMISSION for a reference in the request in hand that the channel may not call. Nil is fine.
    void requireCallable(CORBA::Object_ptr reference) const;

    /// Enters a servant, adding a reference, under a new id, which the caller owns. OBJECT_NOT_EXIST after
    /// close().
    PortableServer::ObjectId* enter(PortableServer::Servant servant);
    /// Harmless when it is gone already.
    void forget(PortableServer::Servant servant);
    /// A reference that the caller owns, or null.
    PortableServer::Servant find(const PortableServer::ObjectId& id) const;
    /// Forgets all; there are no objects from here on.
    void close();

    // -- ServantLocator
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr adapter,
                                      const char* operation, void*& cookie) override;
    void postinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr adapter,
                    const char* operation, void* cookie, PortableServer::Servant servant) override;

  private:
    using Key = std::string;

    void requirePermission(const char* operation) const;

    const Guard* const guard_;
    mutable std::mutex mutex_;  // guards what follows
    std::map<Key, PortableServer::ServantBase_var> servants_;
    std::map<PortableServer::Servant, Key> keys_;
    bool closed_ = false;
};

}  // namespace kelp::notification
