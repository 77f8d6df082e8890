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

/// Counts the EMS's calls, and holds them on demand.
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
    /// Return the intervals so far between the calls of the EMS's rounds: a ping or, instead of it,
    /// the report of an event loss.
    std::vector<std::chrono::milliseconds> roundGaps() const;

  private:
    template <class Change>
    void count(Change change);

    mutable std::mutex mutex_;
    std::condition_variable released_;
    bool held_ = false;
    Counts counts_;
    std::vector<std::chrono::steady_clock::time_point> roundCalls_;
};

/// Calls the EMS continuously on a separate thread: two calls, then a pause.
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
    /// Return the duration of each pair of calls since the last query.
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

/// One NMS of the process: its session object, and its log-in at the EMS while it is logged in.
class PeerNms {
  public:
    /// The object is reached at the address of number `endpoint` among those on which the ORB
    /// listens.
    PeerNms(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, std::size_t endpoint);

    /// Log in, with `otherReference` as the session object's reference if it is not empty.
    void logIn(emsSessionFactory::EmsSessionFactory_I_ptr factory, const std::string& user,
               const std::string& password, const std::string& otherReference = "");

    /// Throws if it has never logged in.
    emsSession::EmsSession_I_ptr session() const;
    std::string ownReference() const { return ownReference_; }

    CountingListener& listener() { return *listener_; }
    std::unique_ptr<Chatter>& chatter() { return chatter_; }
    std::unique_ptr<Follower>& followed() { return followed_; }
    std::unique_ptr<Restless>& restless() { return restless_; }
    /// Throws if it has never logged in.
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
