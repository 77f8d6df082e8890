#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <map>
#include <optional>
#include <string>

namespace NS_KELPCORBA {

/// The manager interfaces that bundles have entered, in start order: ascending by order value, and
/// by time of entry for equal values. While an object of this class lives it locks the platform's
/// list, so no interface enters or leaves.
///
/// When an interface throws, the exception is traced. At the start the interface then counts as
/// failed, at the stop as done.
class ManagerInterfaces {
  public:
    ManagerInterfaces();

    /// Start the interfaces one after the other and stop at the first failure. Return the name of
    /// the one that failed; none when all run.
    std::optional<std::string> Init();
    /// End their threads, in the exact reverse of the start order.
    void ExitThreads();
    /// Destroy them, in the same reverse order.
    void Destroy();

    ManagerInterfaces(const ManagerInterfaces&) = delete;
    ManagerInterfaces& operator=(const ManagerInterfaces&) = delete;

  private:
    struct ListLock {
        ListLock();
        ~ListLock();
        ListLock(const ListLock&) = delete;
        ListLock& operator=(const ListLock&) = delete;
        const NS_CORBA::MGRList* const list;
    };

    ListLock lock_;
    std::multimap<long, NS_CORBA::CorbaI*> byOrder_;
};

}  // namespace NS_KELPCORBA
