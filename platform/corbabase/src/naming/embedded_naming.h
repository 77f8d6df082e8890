#pragma once

#include <kelp/bundlemgr/light_event.h>
#include <kelp/naming/naming_service.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <memory>

namespace NS_CORBA {

/// The naming service that this process serves itself, as long as its ORB lives. Configured by
/// [naming]; applies aliases and limits again after each re-read of the configuration. One for the
/// process; any thread may call it. Never destroyed, because ORB threads may outlive main.
class EmbeddedNaming : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    static EmbeddedNaming& instance();

    /// Set whether the next ORB serves it.
    void want(bool wanted) { wanted_ = wanted; }
    bool isWanted() const { return wanted_; }

    /// Start the service if it is wanted. Callers wait until letCallersThrough(). Throws CORBA
    /// exceptions and std::invalid_argument.
    void start(CORBA::ORB_ptr orb, PortableServer::POA_ptr rootPoa);
    void letCallersThrough();
    /// Stop the service. Does nothing when it does not run.
    void stop();

    /// Return the root context for calls from inside this process; nil when the service does not
    /// run. The caller owns the result.
    CosNaming::NamingContext_ptr root() const;

    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;

    EmbeddedNaming(const EmbeddedNaming&) = delete;
    EmbeddedNaming& operator=(const EmbeddedNaming&) = delete;

  private:
    EmbeddedNaming() = default;
    std::shared_ptr<kelp::naming::NamingService> service() const KELP_EXCLUDES(mutex_);

    std::atomic<bool> wanted_{false};
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "EmbeddedNaming::mutex_"};
    std::shared_ptr<kelp::naming::NamingService> service_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_CORBA
