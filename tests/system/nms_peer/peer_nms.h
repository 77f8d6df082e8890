#pragma once

#include <kelp/nms/listener.h>
#include <kelp/nms/session.h>
#include <mtnm/emsSessionFactory.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "nms_peer/element_lists.h"
#include "nms_peer/follower.h"

namespace kelp::test {

/// Counts what the EMS calls; holds the calls on demand.
class CountingListener : public nms::NmsListener {
  public:
    void pinged() override;
    void sessionEnded() override;
    void eventLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventLossCleared(const std::string& endTime) override;

    void hold(bool held);

    struct Counts {
        int pings = 0;
        int ended = 0;
        int losses = 0;
        int cleared = 0;
        std::string startTime = "-";
        std::string notificationId = "-";
        std::string endTime = "-";
    };
    Counts counts() const;
    /// The times between one ping and the next so far.
    std::vector<std::chrono::milliseconds> pingGaps() const;

  private:
    template <class Change>
    void count(Change change);

    mutable std::mutex mutex_;
    std::condition_variable released_;
    bool held_ = false;
    Counts counts_;
    std::vector<std::chrono::steady_clock::time_point> pings_;
};

/// Calls the EMS all the time on a thread of its own: two calls, a pause, and so on.
class Chatter {
  public:
    Chatter(emsSession::EmsSession_I_ptr session, std::chrono::milliseconds pause);
    ~Chatter();

    struct Result {
        int calls = 0;
        int failures = 0;
        long slowestMs = 0;
    };
    Result result() const;
    /// How long each pair of calls took since this was last asked.
    std::vector<std::chrono::microseconds> takeLatencies();

  private:
    void run();

    const emsSession::EmsSession_I_var session_;
    const std::chrono::milliseconds pause_;
    std::atomic<bool> stopped_{false};
    mutable std::mutex mutex_;
    Result result_;
    std::vector<std::chrono::microseconds> latencies_;
    std::thread thread_;
};

/// One NMS of the process: its own session object, and its log-in at the EMS while it has one.
class PeerNms {
  public:
    /// The object is reached by the address of `endpoint` among those the ORB listens on.
    PeerNms(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, std::size_t endpoint);

    /// Logs in, with another reference than its own where one is given.
    void logIn(emsSessionFactory::EmsSessionFactory_I_ptr factory, const std::string& user,
               const std::string& password, const std::string& otherReference = "");

    /// Throws when it never logged in.
    emsSession::EmsSession_I_ptr session() const;
    std::string ownReference() const { return ownReference_; }

    CountingListener& listener() { return *listener_; }
    std::unique_ptr<Chatter>& chatter() { return chatter_; }
    std::unique_ptr<Follower>& followed() { return followed_; }
    std::unique_ptr<Restless>& restless() { return restless_; }
    /// Throws when it never logged in.
    ElementLists& lists();

  private:
    CORBA::ORB_var orb_;
    std::shared_ptr<CountingListener> listener_ = std::make_shared<CountingListener>();
    nms::CallbackActivation callback_;
    std::string ownReference_;
    emsSession::EmsSession_I_var session_;
    std::unique_ptr<Chatter> chatter_;
    std::unique_ptr<Follower> followed_;
    std::unique_ptr<Restless> restless_;
    std::unique_ptr<ElementLists> lists_;
};

}  // namespace kelp::test
