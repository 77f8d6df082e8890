#pragma once

#include <kelp/corbabase/manager_interface.h>
#include <kelp/util/mutex.h>

#include <functional>
#include <list>
#include <memory>
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

    void enter(CorbaI* managerInterface) KELP_EXCLUDES(mutex_);
    void leave(CorbaI* managerInterface) KELP_EXCLUDES(mutex_);
    /// Return the interfaces in order of entry and lock them against enter and leave by other
    /// threads until the calling thread's release(). Null, with nothing locked, when none was ever
    /// entered.
    const MGRList* hold() KELP_EXCLUDES(mutex_);
    /// End one hold() of the calling thread. Does nothing without one.
    void release() KELP_EXCLUDES(mutex_);

    bool enter(const std::string& name, NorthMgrFactory* factory) KELP_EXCLUDES(mutex_);
    void leave(const std::string& name) KELP_EXCLUDES(mutex_);
    /// Enter a factory that is used while no other one is entered under the name.
    void enterFallback(const std::string& name, NorthMgrFactory* factory) KELP_EXCLUDES(mutex_);
    void leaveFallback(const std::string& name) KELP_EXCLUDES(mutex_);
    /// Return the offered factories: those entered, and the fallbacks of names that nobody entered.
    /// Null when none was ever entered. A map that was handed out is never changed or freed.
    const NorthMgrMap* factories() KELP_EXCLUDES(mutex_);

  private:
    void waitUntilMine() KELP_REQUIRES(mutex_);
    void renewMap() KELP_REQUIRES(mutex_);

    const std::function<bool(const std::string& name)> isOffered_;

    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "ManagerRegistry::mutex_"};
    kelp::util::ConditionVariable released_;
    MGRList interfaces_ KELP_GUARDED_BY(mutex_);
    bool everEntered_ KELP_GUARDED_BY(mutex_) = false;
    std::thread::id holder_ KELP_GUARDED_BY(mutex_);
    unsigned holds_ KELP_GUARDED_BY(mutex_) = 0;
    NorthMgrMap entered_ KELP_GUARDED_BY(mutex_);
    NorthMgrMap fallbacks_ KELP_GUARDED_BY(mutex_);
    /// The last is current, the earlier ones were handed out.
    std::list<NorthMgrMap> factoryMaps_ KELP_GUARDED_BY(mutex_);
    bool lastHandedOut_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace NS_CORBA
