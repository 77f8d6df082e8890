#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>

#include <cstdint>
#include <string>

namespace kelp::test {

/// The naming path of the session factory of an EMS under its default name and version (TMF 814
/// SD1-43).
CosNaming::Name factoryName();

/// What a test sees and does in a naming service, by an ORB of the test's own process. Every call
/// has a limit; what fails raises CORBA exceptions.
class NamingClient {
  public:
    NamingClient(CORBA::ORB_ptr orb, std::uint16_t port);

    /// "host:port" out of the reference bound under the factory's name; empty when none is bound
    /// there, or the service does not answer.
    std::string factoryAddress() const;
    /// Binds a reference under the factory's name, making the contexts above it; replaces what is
    /// there.
    void bindFactory(CORBA::Object_ptr reference);
    void unbindFactory();

  private:
    CosNaming::NamingContext_ptr root() const;

    CORBA::ORB_var orb_;
    std::string address_;
};

}  // namespace kelp::test
