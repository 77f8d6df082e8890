#pragma once

#include <kelp/orb/corba.h>

namespace kelp::orb {

/// What the port keeps of the process's one running ORB. Any thread may ask; each call gives a
/// reference of its own.
class PortState {
  public:
    static PortState& instance();

    /// The ORB is up: keeps it, and POACurrent with it, which cannot be resolved any more once a
    /// shutdown has begun.
    void keep(CORBA::ORB_ptr orb);
    void forget();

    /// The ORB given to keep(); nil before. It may have been destroyed since.
    CORBA::ORB_ptr orb() const;
    /// POACurrent of the ORB; nil before keep().
    PortableServer::Current_ptr poaCurrent() const;

  private:
    PortState() = default;
};

}  // namespace kelp::orb
