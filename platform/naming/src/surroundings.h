#pragma once

#include <cos/CosNaming.h>
#include <kelp/util/naming_path.h>

#include <optional>
#include <string>

namespace kelp::naming {

/// What the servants need from the ORB that calls them. Any thread may call it.
class Surroundings {
  public:
    virtual ~Surroundings() = default;
    /// Create a reference, which the caller owns.
    virtual CosNaming::NamingContextExt_ptr contextAt(const util::NamingPath& path) = 0;
    virtual CosNaming::BindingIterator_ptr iteratorOf(const std::string& id) = 0;
    /// The object id of the current call. Outside a call it raises what PortableServer::Current
    /// raises.
    virtual std::string currentObjectId() = 0;
    /// Address, without port, of the peer whose request the calling thread serves. None for a call
    /// from this process.
    virtual std::optional<std::string> caller() = 0;
};

}  // namespace kelp::naming
