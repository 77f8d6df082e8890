#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>

#include <mutex>
#include <string>

namespace NS_CORBA {

/// The factory's entry in the naming service. Every call is bounded; nothing throws. Callable from
/// any thread.
class NamingRegistration {
  public:
    /// Binds `factory` under `name` in the naming service at `address` (a corbaloc text), making
    /// missing contexts and replacing what is bound. False, traced with the reason, when that
    /// failed.
    bool bind(CORBA::ORB_ptr orb, const std::string& address, const CosNaming::Name& name,
              CORBA::Object_ptr factory);
    /// Takes the entry bound last out again if the name still leads to it.
    void unbind(CORBA::ORB_ptr orb, const std::string& address);

  private:
    std::mutex mutex_;
    CosNaming::Name name_;  // these two are guarded by mutex_
    CORBA::Object_var bound_;
};

/// The root context to register in: that of the embedded naming service, for calls inside the
/// process, while it runs, else that of the service at `address` (a corbaloc text). Nil when there
/// is something else. Throws CORBA exceptions; the caller owns the result.
CosNaming::NamingContext_ptr namingRoot(CORBA::ORB_ptr orb, const std::string& address);

/// The naming path of a session factory (TMF 814 SD1-43): contexts Class, Vendor, EmsInstance and
/// Version, and the object.
void constructFactoryName(const std::string& emsName, const std::string& version,
                          CosNaming::Name& name);

}  // namespace NS_CORBA
