#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace NS_CORBA {

/// Keeps the manager interfaces and servant factories that bundles entered. Any thread may call it.
class ManagerRegistry {
  public:
    /// `isOffered` decides which names appear in the map of factories. It is called when a factory
    /// is entered or leaves.
    explicit ManagerRegistry(std::function<bool(const std::string& name)> isOffered)
        : isOffered_(std::move(isOffered)) {}

    void enter(CorbaI* managerInterface);
    void leave(CorbaI* managerInterface);
    /// Return the interfaces in order of entry and lock them against enter and leave by other
    /// threads until the calling thread's release(). Null, with nothing locked, when none was ever
    /// entered.
    const MGRList* hold();
    /// End one hold() of the calling thread. Does nothing without one.
    void release();

    bool enter(const std::string& name, NorthMgrFactory* factory);
    void leave(const std::string& name);
    /// Enter a factory that is used while no other one is entered under the name.
    void enterFallback(const std::string& name, NorthMgrFactory* factory);
    void leaveFallback(const std::string& name);
    /// Return the offered factories: those entered, and the fallbacks of names that nobody entered.
    /// Null when none was ever entered. A map that was handed out is never changed or freed.
    const NorthMgrMap* factories();

  private:
    using Lock = std::unique_lock<std::mutex>;
    void waitUntilMine(Lock& lock);
    void renewMap();

    const std::function<bool(const std::string& name)> isOffered_;

    std::mutex mutex_;
    std::condition_variable released_;
    MGRList interfaces_;  // all below is guarded by mutex_
    bool everEntered_ = false;
    std::thread::id holder_;
    unsigned holds_ = 0;
    NorthMgrMap entered_;
    NorthMgrMap fallbacks_;
    std::list<NorthMgrMap> factoryMaps_;  // the last is current, the earlier ones were handed out
    bool lastHandedOut_ = false;
};

}  // namespace NS_CORBA
