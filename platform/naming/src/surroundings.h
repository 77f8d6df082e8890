#pragma once

#include <cos/CosNaming.h>
#include <kelp/util/naming_path.h>

#include <optional>
#include <string>

namespace kelp::naming {

/// What the servants need of the ORB that serves them.
class Surroundings {
  public:
    virtual ~Surroundings() = default;
    /// New references, which the caller owns.
    virtual CosNaming::NamingContextExt_ptr contextAt(const util::NamingPath& path) = 0;
    virtual CosNaming::BindingIterator_ptr iteratorOf(const std::string& id) = 0;
    /// Of the call in hand. Raises what PortableServer::Current raises outside one.
    virtual std::string currentObjectId() = 0;
    /// Address, without port, of the peer whose request the calling thread serves; none for a call
    /// of this process.
    virtual std::optional<std::string> caller() = 0;
};

}  // namespace kelp::naming
