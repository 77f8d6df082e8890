#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <map>
#include <optional>
#include <string>

namespace NS_KELPCORBA {

/// The manager interfaces that bundles entered, in start order: ascending order value, equal values
/// as entered. The platform's list is locked against entering and leaving while an object of this
/// class lives.
///
/// An interface that throws is traced and counts as failed at start and as done at stop.
class ManagerInterfaces {
  public:
    ManagerInterfaces();

    /// Starts them one after the other. Name of the one that failed, where it stopped; none when
    /// all run.
    std::optional<std::string> Init();
    /// Exactly the reverse of the start order.
    void ExitThreads();
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
