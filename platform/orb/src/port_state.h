#pragma once

#include <kelp/orb/corba.h>

namespace kelp::orb {

/// Keeps references to the process's running ORB for the port. Callable from any thread. Each
/// getter returns a new reference, which the caller owns.
class PortState {
  public:
    static PortState& instance();

    /// Keep the ORB, which is up, and its POACurrent, which cannot be resolved any more once a
    /// shutdown has begun.
    void keep(CORBA::ORB_ptr orb);
    void forget();

    /// Return the ORB passed to keep(); nil before. It may have been destroyed since.
    CORBA::ORB_ptr orb() const;
    /// Return POACurrent of that ORB; nil before keep().
    PortableServer::Current_ptr poaCurrent() const;

  private:
    PortState() = default;
};

}  // namespace kelp::orb
