#pragma once

#include <ace/OS_NS_Thread.h>
#include <cos/CosNaming.h>
#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <string>

namespace NS_KELPCORBA {

/// Keeps the session factory bound in the naming service, where NMS look for it (TMF 814 SD1-43): a
/// round resolves its name and binds the agent's own reference when the entry is missing or is not
/// that reference, octet by octet. What stands there instead is never called, and stands in the
/// security log. What rounds find is in NS_CORBA::NamingWatch.
///
/// Unregistered, a round goes through a freshly built address; registered, it resolves the name
/// again in the context it knows. One object belongs to one thread, which has a call time-out.
class NamingMonitor {
  public:
    /// Keeps a duplicate of the agent's own reference.
    explicit NamingMonitor(emsSessionFactory::EmsSessionFactory_I_ptr own);

    /// One check. CORBA exceptions are traced and end the check, others pass to the caller.
    void Round();
    /// True after a round that found the agent's own entry.
    bool IsRegistered() const { return registered_; }

    /// The naming service's address as a corbaloc; an IPv6 host comes to stand in brackets.
    static std::string AddressOf(const std::string& host, int port, bool ssl);

    /// Body of the monitor thread: a round every 3 s until AgentState's exit flag is set.
    static ACE_THR_FUNC_RETURN Run(void* unused);

    NamingMonitor(const NamingMonitor&) = delete;
    NamingMonitor& operator=(const NamingMonitor&) = delete;

  private:
    bool FindRootContext(bool ssl);
    void CheckEntry();
    /// True when the own reference is bound now.
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
