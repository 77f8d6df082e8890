#pragma once

#include <ace/OS_NS_Thread.h>
#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <string>

namespace NS_KELPCORBA {

/// Keeps the session factory bound in the naming service, where NMS look for it (TMF 814 SD1-43). A
/// round resolves the factory's name. It binds the agent's own reference when the entry is missing
/// or differs from that reference in any octet. A foreign entry is never called, and is recorded in
/// the security log. NS_CORBA::NamingFindings holds the findings of the rounds.
///
/// While the factory is not registered a round builds the naming service's address anew. While it
/// is registered the round resolves the name in the context that is already known. Each object
/// belongs to one thread, which has a call time-out.
class NamingMonitor {
  public:
    /// Keep a duplicate of the agent's own reference.
    explicit NamingMonitor(emsSessionFactory::EmsSessionFactory_I_ptr own);

    /// Do one check. CORBA exceptions are traced and end the check. Others propagate to the caller.
    void Round();
    /// True after a round that found the agent's own entry.
    bool IsRegistered() const { return registered_; }

    /// Return the naming service's address as a corbaloc. An IPv6 host is put in brackets.
    static std::string AddressOf(const std::string& host, int port, bool ssl);

    /// Body of the monitor thread: a round every 3 s until AgentState::exitRequested is set.
    static ACE_THR_FUNC_RETURN Run(void* unused);

    NamingMonitor(const NamingMonitor&) = delete;
    NamingMonitor& operator=(const NamingMonitor&) = delete;

  private:
    bool FindRootContext(bool ssl);
    void CheckEntry();
    /// Bind the agent's own reference. Return true when it is bound.
    bool Register();
    void Fail(const CORBA::Exception& reason);

    emsSessionFactory::EmsSessionFactory_I_var own_;
    CosNaming::NamingContext_var root_;
    CosNaming::Name name_;
    std::string addressTrace_;
    std::string notifyHost_;
    int notifyPort_ = 0;
    bool registered_ = false;
};

}  // namespace NS_KELPCORBA
