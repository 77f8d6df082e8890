#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <atomic>
#include <cstdint>

#include "adapter/token_holder.h"

namespace NS_KELPCORBA {

/// The servant manager of a session's "iterator" POA. Iterators are activated explicitly, so it
/// never makes one, and a destroyed iterator stays destroyed. It assigns their object ids, and
/// releases the iterators that the POA deactivates.
class IteratorServantActivator : public kelp::orb::CountedLocal<PortableServer::ServantActivator> {
  public:
    /// Activate the iterator under a new id that ends in the session's token, in a POA whose
    /// servant manager is of this class. Return the id, which the caller owns. Throws what
    /// activate_object_with_id throws, and WrongPolicy for another POA.
    static PortableServer::ObjectId* activate(PortableServer::POA_ptr poa,
                                              PortableServer::Servant iterator);
    /// Set the token that new ids end in.
    void setToken(const NS_CORBA::SessionToken& token) { token_.set(token); }

    /// Always throw OBJECT_NOT_EXIST, as for an object that no POA knows.
    PortableServer::Servant incarnate(const PortableServer::ObjectId& oid,
                                      PortableServer::POA_ptr adapter) override;
    /// Remove the iterator from the session manager's list and drop the POA's reference. Does
    /// nothing else, because it may run on any thread, during a deactivation or later.
    void etherealize(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                     PortableServer::Servant servant, CORBA::Boolean cleanup_in_progress,
                     CORBA::Boolean remaining_activations) override;

  private:
    PortableServer::ObjectId* newId();

    TokenHolder token_;
    std::atomic<std::uint64_t> lastNumber_{0};
};

}  // namespace NS_KELPCORBA
