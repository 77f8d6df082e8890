#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace NS_CORBA {

/// The manager interfaces and servant factories that bundles entered. Callable from any thread.
class ManagerRegistry {
  public:
    void enter(CorbaI* managerInterface);
    void leave(CorbaI* managerInterface);
    /// The interfaces in order of entry, held against other threads' enter and leave until the calling
    /// thread's release(); null, and nothing held, when none was ever entered.
    const MGRList* hold();
    /// Ends one hold() of the calling thread; harmless without.
    void release();

    bool enter(const std::string& name, NorthMgrFactory* factory);
    void leave(const std::string& name);
    /// Null when none was ever entered. A map handed out is never changed or freed.
    const NorthMgrMap* factories();

  private:
    using Lock = std::unique_lock<std::mutex>;
    void waitUntilMine(Lock& lock);
    NorthMgrMap& changeableFactories();

    std::mutex mutex_;
    std::condition_variable released_;
    MGRList interfaces_;  // all below is guarded by mutex_
    bool everEntered_ = false;
    std::thread::id holder_;
    unsigned holds_ = 0;
    std::list<NorthMgrMap> factoryMaps_;  // the last one counts, those before were handed out
    bool lastHandedOut_ = false;
};

}  // namespace NS_CORBA
