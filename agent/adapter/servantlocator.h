#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

namespace NS_KELPCORBA {

/// Finds, for every request on a session's manager references, the one servant that all sessions share: the
/// object id is the manager's name. Runs on the request's thread and holds no lock over the request; the
/// servant is pinned from preinvoke to postinvoke.
class TAServantLocator : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// Raises OBJECT_NOT_EXIST for an unknown name and when the session's POA tree is being destroyed.
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                                      const char* operation, void*& cookie) override;
    void postinvoke(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                    const char* operation, void* cookie, PortableServer::Servant servant) override;
};

}  // namespace NS_KELPCORBA
