#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

namespace NS_KELPCORBA {

/// Servant manager of a session's "iterator" POA. Iterators are activated explicitly, so it never makes one:
/// a destroyed iterator stays dead. It cleans up after those that the POA lets go.
class IteratorServantActivator : public kelp::orb::CountedLocal<PortableServer::ServantActivator> {
  public:
    /// Always raises OBJECT_NOT_EXIST.
    PortableServer::Servant incarnate(const PortableServer::ObjectId& oid,
                                      PortableServer::POA_ptr adapter) override;
    /// May run on any thread, inside a deactivation or later: it only unlinks and releases.
    void etherealize(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                     PortableServer::Servant servant, CORBA::Boolean cleanup_in_progress,
                     CORBA::Boolean remaining_activations) override;
};

}  // namespace NS_KELPCORBA
