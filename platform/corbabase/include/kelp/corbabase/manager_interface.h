#pragma once

#include <kelp/util/export.h>

#include <list>
#include <map>
#include <string>

namespace POA_common {
class Common_I;
}

namespace NS_CORBA {

/// A northbound manager interface that a bundle plugs into the agent. The agent's thread calls it
/// at start and stop. `ExitThread` and `Destroy` must be harmless without a successful `Init`. The
/// order of the virtual operations is the binary contract with other bundles.
class KELP_EXPORT CorbaI {
  public:
    /// Start the interface. False makes the start of the agent fail.
    virtual bool Init() = 0;
    virtual void ExitThread() = 0;
    virtual void Destroy() = 0;
    /// Start rank: lower starts first and stops last.
    virtual long Order() = 0;
    virtual const char* Name() = 0;

  protected:
    virtual ~CorbaI();
};

/// Creates the servant of one manager. One servant serves all sessions.
class KELP_EXPORT NorthMgrFactory {
  public:
    /// Return a new servant with a reference count of 1, which the caller takes over. Null when it
    /// cannot be created.
    virtual POA_common::Common_I* CreateServant() = 0;

  protected:
    virtual ~NorthMgrFactory();
};

using MGRList = std::list<CorbaI*>;
/// Factories by the manager name that an NMS passes to getManager (TMF 814 SD1-43), for example
/// "EMS".
using NorthMgrMap = std::map<std::string, NorthMgrFactory*>;

}  // namespace NS_CORBA
