#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>
#include <kelp/util/naming_path.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kelp::naming {

/// Limits on what callers over connections may use.
struct NamingLimits {
    std::size_t listMax = 1000;            ///< maximum number of entries in one reply
    std::size_t iteratorsPerAddress = 10;  ///< one more closes the oldest of that address
    std::size_t iteratorsMax = 200;        ///< one more closes the oldest
    std::chrono::seconds iteratorIdle{
        120};  ///< an iterator ends when it has not been used for this time
};

/// A modification that was refused because it came over a connection.
struct RefusedChange {
    std::string operation;
    /// Stringified and truncated. Comes from the peer and is not escaped. Empty if the operation
    /// has no name argument.
    std::string name;
};
/// Called for each refused modification, on the thread of the request. Must not throw.
using OnRefusedChange = std::function<void(const RefusedChange&)>;

/// The paths of the object, and the limits of the service.
struct NamingSettings {
    util::NamingPath objectPath;            ///< path at which the object is bound
    std::vector<util::NamingPath> aliases;  ///< further paths that show the object
    NamingLimits limits;
};

/// A naming service inside the process (OMG Naming Service 1.3). It is a fixed tree of contexts
/// with one object, which has a path and aliases. Everybody may read the tree. Only this process
/// may change it, by binding or unbinding the object at its path. Any other modification raises
/// NO_PERMISSION. One that arrives over a connection is also reported.
///
/// Callers find the root context under the well-known keys NameService, DefaultNamingContext and
/// NamingContextExt at every address of the ORB. All calls wait until letCallersThrough(). The
/// reference to a context contains its path, so callers use no memory except for a limited number
/// of iterators. Any thread may call it. The ORB must outlive it, or be shut down before it is
/// destroyed.
class NamingService {
  public:
    /// Throws std::invalid_argument if the paths contradict each other, CORBA::BAD_PARAM if one of
    /// the keys is in use, and other system exceptions.
    NamingService(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent,
                  const NamingSettings& settings, OnRefusedChange onRefused);
    /// Withdraws the keys and all contexts. Calls in progress end normally.
    ~NamingService();
    NamingService(const NamingService&) = delete;
    NamingService& operator=(const NamingService&) = delete;

    void letCallersThrough();
    /// The root context for calls from this process. The caller owns the reference.
    CosNaming::NamingContextExt_ptr root() const;
    /// Replace the aliases and the limits. Contexts that no longer exist answer OBJECT_NOT_EXIST.
    /// Throws std::invalid_argument and changes nothing if the paths contradict each other.
    void change(const std::vector<util::NamingPath>& aliases, const NamingLimits& limits);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::naming
