#pragma once

#include <kelp/orb/corba.h>

#include "surroundings.h"

namespace kelp::naming {

/// The POAs of a naming service: one for contexts and, as its child, one for iterators. Each has
/// one servant for all its objects. Both share a separate POA manager.
class OrbSurroundings final : public Surroundings {
  public:
    /// Create the POAs. Calls to them wait. Throws CORBA system exceptions.
    OrbSurroundings(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent);

    CosNaming::NamingContextExt_ptr contextAt(const util::NamingPath& path) override;
    CosNaming::BindingIterator_ptr iteratorOf(const std::string& id) override;
    std::string currentObjectId() override;
    std::optional<std::string> caller() override;

    /// The caller borrows the POAs.
    PortableServer::POA_ptr contexts() const { return contexts_.in(); }
    PortableServer::POA_ptr iterators() const { return iterators_.in(); }

  private:
    PortableServer::Current_var current_;
    PortableServer::POA_var contexts_;
    PortableServer::POA_var iterators_;
};

}  // namespace kelp::naming
