#pragma once

#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>
#include <kelp/util/mutex.h>

#include <string>

namespace NS_CORBA {

/// The factory's entry in the naming service. Each call of the service takes at most 2 s; nothing
/// throws. Any thread may call it.
class NamingRegistration {
  public:
    /// Bind `factory` under `name` in the naming service at `address` (a corbaloc text), creating
    /// missing contexts and replacing an existing binding. False, traced with the reason, on
    /// failure.
    bool bind(CORBA::ORB_ptr orb, const std::string& address, const CosNaming::Name& name,
              CORBA::Object_ptr factory) KELP_EXCLUDES(mutex_);
    /// Remove the entry bound last if the name still leads to the same reference.
    void unbind(CORBA::ORB_ptr orb, const std::string& address) KELP_EXCLUDES(mutex_);

  private:
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "NamingRegistration::mutex_"};
    CosNaming::Name name_ KELP_GUARDED_BY(mutex_);
    CORBA::Object_var bound_ KELP_GUARDED_BY(mutex_);
};

/// Return the root context to register in: that of the embedded naming service while it runs, for
/// calls inside the process, otherwise that of the service at `address` (a corbaloc text). Nil when
/// the object there is not a naming context. Throws CORBA exceptions. The caller owns the result.
CosNaming::NamingContext_ptr namingRoot(CORBA::ORB_ptr orb, const std::string& address);

/// Write configuredFactoryPath() to `name`.
void constructFactoryName(CosNaming::Name& name);

}  // namespace NS_CORBA
