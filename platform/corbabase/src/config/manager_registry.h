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

/// The manager interfaces and servant factories that bundles entered. Callable from any thread.
class ManagerRegistry {
  public:
    /// `isOffered` says which names are to be in the map of factories; it is asked when a factory
    /// is entered.
    explicit ManagerRegistry(std::function<bool(const std::string& name)> isOffered)
        : isOffered_(std::move(isOffered)) {}

    void enter(CorbaI* managerInterface);
    void leave(CorbaI* managerInterface);
    /// The interfaces in order of entry, held against other threads' enter and leave until the
    /// calling thread's release(); null, and nothing held, when none was ever entered.
    const MGRList* hold();
    /// Ends one hold() of the calling thread; harmless without.
    void release();

    bool enter(const std::string& name, NorthMgrFactory* factory);
    void leave(const std::string& name);
    /// A factory for the name as long as no other is entered.
    void enterFallback(const std::string& name, NorthMgrFactory* factory);
    void leaveFallback(const std::string& name);
    /// Those entered, and the fallbacks of names that nobody entered, as far as they are offered.
    /// Null when none was ever entered. A map handed out is never changed or freed.
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
    std::list<NorthMgrMap> factoryMaps_;  // the last one counts, those before were handed out
    bool lastHandedOut_ = false;
};

}  // namespace NS_CORBA
