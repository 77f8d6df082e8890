#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>

#include <cstdint>
#include <string>

namespace kelp::test {

/// The naming path of the session factory of an EMS with the default name and version (TMF 814 /
/// SD1-43).
CosNaming::Name factoryName();

/// A client of a naming service, with the ORB of the test's process. Every call has a time-out.
/// Failed calls throw CORBA exceptions.
class NamingClient {
  public:
    NamingClient(CORBA::ORB_ptr orb, std::uint16_t port);

    /// Return "host:port" from the reference bound under the factory's name; empty if none is bound
    /// there or the service does not answer.
    std::string factoryAddress() const;
    /// Bind a reference under the factory's name. Create the contexts above it and replace an
    /// existing binding.
    void bindFactory(CORBA::Object_ptr reference);
    void unbindFactory();

  private:
    CosNaming::NamingContext_ptr root() const;

    CORBA::ORB_var orb_;
    std::string address_;
};

}  // namespace kelp::test
