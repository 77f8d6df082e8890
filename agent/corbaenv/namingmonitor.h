#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/references.h>

#include <ace/OS_NS_Thread.h>
#include <cos/CosNaming.h>
#include <mtnm/emsSessionFactory.h>

#include <string>

namespace NS_KELPCORBA {

/// Keeps the session factory bound in the naming service, where NMS look for it (TMF 814 SD1-43): a round
/// finds out whether the entry is there and alive, and binds the agent's own reference when it is missing or
/// dead. An entry of another factory that lives is left alone.
///
/// Unregistered, a round goes through a freshly built address and tests the entry; registered, it resolves
/// the name again in the context it knows and only looks whether the entry is still its own. One object
/// belongs to one thread, which has a call time-out.
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
    void CheckKnownEntry();
    bool IsInvalid(CORBA::Object_ptr entry);
    bool IsOwn(CORBA::Object_ptr entry) const;
    void LeaveAlone(const std::string& entry);
    void Register();

    emsSessionFactory::EmsSessionFactory_I_var own_;
    CosNaming::NamingContext_var root_;
    CosNaming::Name name_;
    std::string addressTrace_;
    std::string notifyHost_;
    int notifyPort_ = 0;
    bool registered_ = false;
    kelp::orb::DeathWatch watch_;
    std::string watchedEntry_;  ///< text of the entry that watch_ counts for
    std::string spared_;        ///< text of the foreign entry that was traced last
};

}  // namespace NS_KELPCORBA
