#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <atomic>

#include "adapter/token_holder.h"

namespace NS_KELPCORBA {

/// Finds, for every request on a session's manager references, the one servant that all sessions
/// share: the object id is the manager's name and the session's token. Runs on the request's thread
/// and holds no lock over the request; the servant is pinned from preinvoke to postinvoke.
class TAServantLocator : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// How a request learns that the POA tree is being destroyed.
    enum class Ending {
        IsTold,     ///< by beginRefusing(), called before the destruction begins
        IsLookedUp  ///< by asking the POAs upwards, which costs a walk a request
    };
    explicit TAServantLocator(Ending ending = Ending::IsLookedUp) : ending_(ending) {}

    /// Tells the locator of this POA, if it has one of this kind, that the POA is about to be
    /// destroyed: its requests are refused from here on. Throws OBJECT_NOT_EXIST when the POA has
    /// been destroyed.
    static void beginRefusing(PortableServer::POA_ptr poa);

    /// Object ids must end in this token from here on. Without one they are bare names.
    void setToken(const NS_CORBA::SessionToken& token) { token_.set(token); }

    /// Raises OBJECT_NOT_EXIST, as for an object that no POA knows, for an id without the token,
    /// for an unknown name and when the session's POA tree is being destroyed.
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& oid,
                                      PortableServer::POA_ptr adapter, const char* operation,
                                      void*& cookie) override;
    void postinvoke(const PortableServer::ObjectId& oid, PortableServer::POA_ptr adapter,
                    const char* operation, void* cookie, PortableServer::Servant servant) override;

  private:
    bool isEnding(PortableServer::POA_ptr adapter) const;

    const Ending ending_;
    TokenHolder token_;
    std::atomic<bool> refusing_{false};
};

}  // namespace NS_KELPCORBA
