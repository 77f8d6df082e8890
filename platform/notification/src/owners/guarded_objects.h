#pragma once

#include <kelp/notification/guard.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "owners/owner.h"

namespace kelp::notification {

/// Who may call an object over connections, and what.
struct ObjectRights {
    OwnerPtr owner{};  ///< null: everybody
    bool isCommon =
        false;  ///< all use it and only the EMS changes it: the channel, a default admin
    bool isOfSuppliers = false;  ///< for addresses that may supply
};

/// The objects of a channel by their keys, which are random so that none can be guessed, and the
/// gate that every request passes on its way to one. NO_PERMISSION is the answer to a caller over a
/// connection
/// - whose address may not use the channel, except that it may disconnect what it has connected,
/// - who is not the owner of the object,
/// - who would change a common object: destroy it, or set its qualities, limits, filters or types,
/// - who may not supply, from an object of suppliers.
/// Whether an object exists, and of which interface, is answered to everybody who has its key.
///
/// Calls inside the process pass. Thread safe. A servant is pinned while it is called.
class GuardedObjects final : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// Null: everybody may use the channel.
    explicit GuardedObjects(const Guard* guard) : guard_(guard), owners_(guard) {}

    Owners& owners() { return owners_; }

    /// NO_PERMISSION for a reference in the request in hand that the channel may not call. Nil is
    /// fine.
    void requireCallable(CORBA::Object_ptr reference) const;

    /// NO_PERMISSION unless the request in hand comes from an address that may supply.
    void requireSupplier() const;

    /// Enters a servant, adding a reference, under a new id, which the caller owns.
    /// OBJECT_NOT_EXIST after close().
    PortableServer::ObjectId* enter(PortableServer::Servant servant, const ObjectRights& rights);
    /// Harmless when it is gone already.
    void forget(PortableServer::Servant servant);
    /// A reference that the caller owns, or null. NO_PERMISSION when the object is not the
    /// caller's.
    PortableServer::Servant findOwn(const PortableServer::ObjectId& id) const;
    /// The servants of all objects of this owner.
    std::vector<PortableServer::ServantBase_var> of(const OwnerPtr& owner) const;
    /// Forgets all; there are no objects from here on.
    void close();

    // -- ServantLocator
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& id,
                                      PortableServer::POA_ptr adapter, const char* operation,
                                      void*& cookie) override;
    void postinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr adapter,
                    const char* operation, void* cookie, PortableServer::Servant servant) override;

  private:
    using Key = std::string;
    struct Entry {
        PortableServer::ServantBase_var servant;
        ObjectRights rights;
    };

    Entry find(const PortableServer::ObjectId& id) const;
    void requirePermission(const ObjectRights& rights, const char* operation) const;

    const Guard* const guard_;
    Owners owners_;
    mutable std::mutex mutex_;  // guards what follows
    std::map<Key, Entry> objects_;
    std::map<PortableServer::Servant, Key> keys_;
    bool closed_ = false;
};

}  // namespace kelp::notification
