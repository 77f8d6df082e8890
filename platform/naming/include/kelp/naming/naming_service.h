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

/// What a caller from outside may use up.
struct NamingLimits {
    std::size_t listMax = 1000;              ///< entries in one reply
    std::size_t iteratorsPerAddress = 10;    ///< one more closes the address's oldest
    std::size_t iteratorsMax = 200;          ///< one more closes the oldest
    std::chrono::seconds iteratorIdle{120};  ///< after its last use an iterator ends
};

/// A modification that was refused because it came from outside.
struct RefusedChange {
    std::string operation;
    std::string
        name;  ///< stringified, cut; the peer's text, not escaped; empty where there is none
};
/// Called on the request's thread; must not throw.
using OnRefusedChange = std::function<void(const RefusedChange&)>;

struct NamingSettings {
    util::NamingPath objectPath;            ///< where the object is bound
    std::vector<util::NamingPath> aliases;  ///< where it is shown as well
    NamingLimits limits;
};

/// A naming service inside the process (OMG Naming Service 1.3): a fixed tree of contexts with one
/// object, under its path and under aliases. Everybody may read it. Only this process may change
/// it, and nothing but the one binding: modifications that arrive over a connection raise
/// NO_PERMISSION and are reported, other ones raise NO_PERMISSION unless they bind or unbind the
/// object at its path.
///
/// Callers find the root context under the well-known keys NameService, DefaultNamingContext and
/// NamingContextExt on every address of the ORB. All calls wait until letCallersThrough(). What
/// callers keep are paths, so nothing grows with them but a limited number of iterators. Callable
/// from any thread; the ORB outlives it or is shut down with it.
class NamingService {
  public:
    /// Throws std::invalid_argument for paths that do not fit together, CORBA::BAD_PARAM when one
    /// of the keys is in use, and other system exceptions.
    NamingService(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent,
                  const NamingSettings& settings, OnRefusedChange onRefused);
    /// Withdraws the keys and all contexts; calls in progress end normally.
    ~NamingService();
    NamingService(const NamingService&) = delete;
    NamingService& operator=(const NamingService&) = delete;

    void letCallersThrough();
    /// The root context for this process's own calls; the caller owns the reference.
    CosNaming::NamingContextExt_ptr root() const;
    /// Takes over other aliases and limits; contexts that are gone answer OBJECT_NOT_EXIST. Throws
    /// std::invalid_argument, and changes nothing, for aliases that do not fit together.
    void change(const std::vector<util::NamingPath>& aliases, const NamingLimits& limits);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::naming
