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

/// A structured push consumer at the session's event channel that keeps account of what comes.
class Follower {
  public:
    Follower(emsSession::EmsSession_I_ptr session, PortableServer::POA_ptr poa,
             std::chrono::milliseconds pause);
    /// Where to call an object of the channel, by the reference that the channel has told.
    using Route = std::function<CORBA::Object_ptr(CORBA::Object_ptr)>;
    Follower(CosNotifyChannelAdmin::EventChannel_ptr channel, PortableServer::POA_ptr poa,
             std::chrono::milliseconds pause, const Route& route);
    /// Disconnects.
    ~Follower();
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    struct Result {
        int events = 0;    ///< different ones
        int repeated = 0;  ///< came again, one after the other
        int late = 0;      ///< came after a newer one
        int missing = 0;   ///< ids left out between those that came
        std::uint64_t lastId = 0;
    };
    Result result() const;

  private:
    class Consumer;
    void connect(CosNotifyChannelAdmin::EventChannel_ptr channel, const Route& route);

    const PortableServer::POA_var poa_;
    Consumer* consumer_;  ///< of the adapter, as long as this lives
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
