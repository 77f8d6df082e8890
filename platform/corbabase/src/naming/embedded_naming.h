#pragma once

#include <kelp/bundlemgr/light_event.h>
#include <kelp/naming/naming_service.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace NS_CORBA {

/// The naming service that this process serves itself, with the life of an ORB, configured by
/// [naming]. Takes over aliases and limits each time the configuration has been read again. One for
/// the process, callable from any thread; it is never destroyed, since ORB threads may outlive
/// main.
class EmbeddedNaming : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    static EmbeddedNaming& instance();

    /// Whether the next ORB is to serve it.
    void want(bool wanted) { wanted_ = wanted; }
    bool isWanted() const { return wanted_; }

    /// Starts it if it is wanted; callers wait. Throws CORBA exceptions and std::invalid_argument.
    void start(CORBA::ORB_ptr orb, PortableServer::POA_ptr rootPoa);
    void letCallersThrough();
    /// Harmless when it does not run.
    void stop();

    /// The root context for calls of this process; nil when it does not run. The caller owns it.
    CosNaming::NamingContext_ptr root() const;

    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;

    EmbeddedNaming(const EmbeddedNaming&) = delete;
    EmbeddedNaming& operator=(const EmbeddedNaming&) = delete;

  private:
    EmbeddedNaming() = default;
    std::shared_ptr<kelp::naming::NamingService> service() const;

    std::atomic<bool> wanted_{false};
    mutable std::mutex mutex_;
    std::shared_ptr<kelp::naming::NamingService> service_;  // guarded by mutex_
};

}  // namespace NS_CORBA
