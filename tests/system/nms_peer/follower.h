#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <mtnm/emsSession.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace kelp::test {

/// A structured push consumer at the session's event channel that counts the events it receives.
class Follower {
  public:
    Follower(emsSession::EmsSession_I_ptr session, PortableServer::POA_ptr poa,
             std::chrono::milliseconds pause);
    /// Returns the reference by which to call an object of the channel, given the reference that
    /// the channel returned.
    using Route = std::function<CORBA::Object_ptr(CORBA::Object_ptr)>;
    Follower(CosNotifyChannelAdmin::EventChannel_ptr channel, PortableServer::POA_ptr poa,
             std::chrono::milliseconds pause, const Route& route);
    /// Disconnects.
    ~Follower();
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    struct Result {
        int events = 0;    ///< different events
        int repeated = 0;  ///< events received again, directly after each other
        int late = 0;      ///< events received after a newer one
        int missing = 0;   ///< ids missing between the ids received
        std::uint64_t lastId = 0;
    };
    Result result() const;

  private:
    class Consumer;
    void connect(CosNotifyChannelAdmin::EventChannel_ptr channel, const Route& route);

    const PortableServer::POA_var poa_;
    Consumer* consumer_;  ///< owned by the POA, active during the lifetime of this
    CosNotifyChannelAdmin::StructuredProxyPushSupplier_var proxy_;
};

/// Connects a follower and disconnects it, once a second.
class Restless {
  public:
    Restless(emsSession::EmsSession_I_ptr session, PortableServer::POA_ptr poa);
    ~Restless();

  private:
    void run();

    const emsSession::EmsSession_I_var session_;
    const PortableServer::POA_var poa_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ending_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace kelp::test
