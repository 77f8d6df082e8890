#pragma once

#include <kelp/notification/guard.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>
#include <kelp/util/mutex.h>

#include <map>
#include <string>
#include <vector>

#include "owners/owner.h"

namespace kelp::notification {

/// Who may call an object over connections, and which operations.
struct ObjectRights {
    OwnerPtr owner{};  ///< null: everybody may call it
    bool isCommon =
        false;  ///< all may use it but only the EMS may change it: the channel, a default admin
    bool isOfSuppliers = false;  ///< only addresses that may supply may call it
};

/// The objects of a channel by their keys, and the check that every request to them passes. Keys
/// are random so that nobody can guess one. A caller over a connection gets NO_PERMISSION if
/// - its address may not use the channel, except to disconnect what it has connected,
/// - it is not the owner of the object,
/// - it wants to change a common object: destroy it, or set its qualities, limits, filters or
/// types,
/// - it may not supply, and the object is one for suppliers.
/// Everybody who has the key of an object may ask whether it exists and which interface it has.
///
/// Calls inside the process are not restricted. Thread safe. A servant is pinned while it is
/// called.
class GuardedObjects final : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// `guard` is borrowed. Null: everybody may use the channel.
    explicit GuardedObjects(const Guard* guard) : guard_(guard), owners_(guard) {}

    Owners& owners() { return owners_; }

    /// Throws NO_PERMISSION if the channel may not call this reference, which the current request
    /// brings. A nil reference is accepted.
    void requireCallable(CORBA::Object_ptr reference) const;

    /// Throws NO_PERMISSION if the current request comes from an address that may not supply.
    void requireSupplier() const;

    /// Add a servant, with a reference to it, under a new id that the caller owns. Throws
    /// OBJECT_NOT_EXIST after close().
    PortableServer::ObjectId* enter(PortableServer::Servant servant, const ObjectRights& rights)
        KELP_EXCLUDES(mutex_);
    /// Remove a servant. Does nothing if it has been removed.
    void forget(PortableServer::Servant servant) KELP_EXCLUDES(mutex_);
    /// The servant, with a reference that the caller owns, or null. Throws NO_PERMISSION if the
    /// object is not the caller's.
    PortableServer::Servant findOwn(const PortableServer::ObjectId& id) const KELP_EXCLUDES(mutex_);
    /// The servants of all objects of this owner.
    std::vector<PortableServer::ServantBase_var> of(const OwnerPtr& owner) const
        KELP_EXCLUDES(mutex_);
    /// Remove all objects. None can be added from here on.
    void close() KELP_EXCLUDES(mutex_);

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

    Entry find(const PortableServer::ObjectId& id) const KELP_EXCLUDES(mutex_);
    void requirePermission(const ObjectRights& rights, const char* operation) const;

    const Guard* const guard_;
    Owners owners_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "GuardedObjects::mutex_"};
    std::map<Key, Entry> objects_ KELP_GUARDED_BY(mutex_);
    std::map<PortableServer::Servant, Key> keys_ KELP_GUARDED_BY(mutex_);
    bool closed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
