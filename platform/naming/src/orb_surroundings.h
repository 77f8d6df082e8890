#pragma once

#include <kelp/orb/corba.h>

#include "surroundings.h"

namespace kelp::naming {

/// The POAs of a naming service: one for contexts, one below it for iterators, each with one
/// servant for all its objects, under a POA manager of their own.
class OrbSurroundings final : public Surroundings {
  public:
    /// Makes the POAs; their callers wait. Throws CORBA system exceptions.
    OrbSurroundings(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent);

    CosNaming::NamingContextExt_ptr contextAt(const util::NamingPath& path) override;
    CosNaming::BindingIterator_ptr iteratorOf(const std::string& id) override;
    std::string currentObjectId() override;
    std::optional<std::string> caller() override;

    /// Borrowed.
    PortableServer::POA_ptr contexts() const { return contexts_.in(); }
    PortableServer::POA_ptr iterators() const { return iterators_.in(); }

  private:
    PortableServer::Current_var current_;
    PortableServer::POA_var contexts_;
    PortableServer::POA_var iterators_;
};

}  // namespace kelp::naming
