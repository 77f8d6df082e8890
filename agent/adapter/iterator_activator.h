#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <atomic>
#include <cstdint>

#include "adapter/token_holder.h"

namespace NS_KELPCORBA {

/// Servant manager of a session's "iterator" POA. Iterators are activated explicitly, so it never
/// makes one: a destroyed iterator stays dead. It gives them their object ids and cleans up after
/// those that the POA lets go.
class IteratorServantActivator : public kelp::orb::CountedLocal<PortableServer::ServantActivator> {
  public:
    /// Activates the iterator in a POA with a servant manager of this kind, under a new id that
    /// ends in the session's token; the caller owns the id. Throws what activate_object_with_id
    /// throws, WrongPolicy for another POA.
    static PortableServer::ObjectId* activate(PortableServer::POA_ptr poa,
                                              PortableServer::Servant iterator);
    /// The ids given from here on end in this token.
    void setToken(const NS_CORBA::SessionToken& token) { token_.set(token); }

    /// Always raises OBJECT_NOT_EXIST, as for an object that no POA knows.
    PortableServer::Servant incarnate(const PortableServer::ObjectId& oid,
                                      PortableServer::POA_ptr adapter) override;
    /// May run on any thread, inside a deactivation or later: it only unlinks and releases.
    void etherealize(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                     PortableServer::Servant servant, CORBA::Boolean cleanup_in_progress,
                     CORBA::Boolean remaining_activations) override;

  private:
    PortableServer::ObjectId* newId();

    TokenHolder token_;
    std::atomic<std::uint64_t> lastNumber_{0};
};

}  // namespace NS_KELPCORBA
