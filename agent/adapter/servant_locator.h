#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>

#include <atomic>

#include "adapter/token_holder.h"

namespace NS_KELPCORBA {

/// Finds the servant for each request on a session's manager references. All sessions share one
/// servant per manager. The object id consists of the manager's name and the session's token. Runs
/// on the request's thread and holds no lock during the request. The servant is pinned from
/// preinvoke to postinvoke.
class TAServantLocator : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    /// How the locator knows that the POA tree is being destroyed.
    enum class Ending {
        IsTold,     ///< by beginRefusing(), which is called before the destruction
        IsLookedUp  ///< by checking the POA and its parents, at each request
    };
    explicit TAServantLocator(Ending ending = Ending::IsLookedUp) : ending_(ending) {}

    /// Refuse all further requests on this POA, which is about to be destroyed. Does nothing if the
    /// POA's servant manager is of another class. Throws OBJECT_NOT_EXIST when the POA has already
    /// been destroyed.
    static void beginRefusing(PortableServer::POA_ptr poa);

    /// Set the token that object ids must end in. Without a token object ids are plain names.
    void setToken(const NS_CORBA::SessionToken& token) { token_.set(token); }

    /// Throw OBJECT_NOT_EXIST, as for an object that no POA knows, when the id lacks the token,
    /// when the name is unknown, or when the session's POA tree is being destroyed.
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
